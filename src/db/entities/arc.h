#pragma once

#include "db/entities/curve.h"

namespace vela::db {

/// A circular arc, counter-clockwise about its normal from the start angle to the end angle. Angles are in
/// radians in the arc's object coordinate system, kept in [0, 2pi).
class Arc : public Curve {
    VELA_DB_DECLARE_CLASS(Arc)
public:
    Arc() = default;
    Arc(const Point3d& center, double radius, double startAngle, double endAngle);

    /// Center in world coordinates.
    Point3d center() const;
    void setCenter(const Point3d& p);
    double radius() const { return radius_; }
    ErrorStatus setRadius(double r);
    double startAngle() const { return startAngle_; }
    void setStartAngle(double a);
    double endAngle() const { return endAngle_; }
    void setEndAngle(double a);
    double thickness() const { return thickness_; }
    void setThickness(double t) { assertWriteEnabled(), thickness_ = t; }
    const Vector3d& normal() const { return normal_; }
    /// Tilts the arc's plane about its center.
    void setNormal(const Vector3d& n);

    Point3d pointAtAngle(double angle) const;
    Point3d startPoint() const { return pointAtAngle(startAngle_); }
    Point3d endPoint() const { return pointAtAngle(endAngle_); }
    /// Swept angle in (0, 2pi].
    double totalAngle() const;
    double length() const { return radius_ * totalAngle(); }

    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

private:
    // Kept in the object coordinate system, as files hold it, so that reading and writing are exact.
    Point3d center_;
    double radius_ = 1.0;
    double startAngle_ = 0.0;
    double endAngle_ = 0.0;
    double thickness_ = 0.0;
    Vector3d normal_ = Vector3d::zAxis();
};

}  // namespace vela::db
