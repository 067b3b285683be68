#pragma once

#include "db/entities/curve.h"

namespace vela::db {

class Circle : public Curve {
    VELA_DB_DECLARE_CLASS(Circle)
public:
    Circle() = default;
    Circle(const Point3d& center, double radius) : center_(center), radius_(radius) {}  // normal is Z: OCS = WCS

    /// Center in world coordinates.
    Point3d center() const;
    void setCenter(const Point3d& p);
    double radius() const { return radius_; }
    /// InvalidInput for a radius that is not a positive finite number.
    ErrorStatus setRadius(double r);
    double thickness() const { return thickness_; }
    void setThickness(double t) { assertWriteEnabled(), thickness_ = t; }
    const Vector3d& normal() const { return normal_; }
    /// Tilts the circle's plane about its center (the center stays where it is).
    void setNormal(const Vector3d& n);
    double diameter() const { return 2 * radius_; }
    double circumference() const;
    double area() const;

    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

private:
    // Kept in the object coordinate system, as files hold it, so that reading and writing are exact.
    Point3d center_;
    double radius_ = 1.0;
    double thickness_ = 0.0;
    Vector3d normal_ = Vector3d::zAxis();
};

}  // namespace vela::db
