#pragma once

#include "db/entities/curve.h"

namespace vela::db {

class Line : public Curve {
    VELA_DB_DECLARE_CLASS(Line)
public:
    Line() = default;
    Line(const Point3d& start, const Point3d& end) : start_(start), end_(end) {}

    const Point3d& startPoint() const { return start_; }
    void setStartPoint(const Point3d& p) { assertWriteEnabled(), start_ = p; }
    const Point3d& endPoint() const { return end_; }
    void setEndPoint(const Point3d& p) { assertWriteEnabled(), end_ = p; }
    double thickness() const { return thickness_; }
    void setThickness(double t) { assertWriteEnabled(), thickness_ = t; }
    const Vector3d& normal() const { return normal_; }
    void setNormal(const Vector3d& n) { assertWriteEnabled(), normal_ = n; }
    double length() const { return start_.distanceTo(end_); }

    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

private:
    Point3d start_, end_;
    double thickness_ = 0.0;
    Vector3d normal_ = Vector3d::zAxis();
};

}  // namespace vela::db
