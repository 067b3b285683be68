#pragma once

#include "db/entity.h"

namespace vela::db {

class PointEntity : public Entity {
    VELA_DB_DECLARE_CLASS(PointEntity)
public:
    PointEntity() = default;
    explicit PointEntity(const Point3d& position) : position_(position) {}

    const Point3d& position() const { return position_; }
    void setPosition(const Point3d& p) { assertWriteEnabled(), position_ = p; }
    double thickness() const { return thickness_; }
    void setThickness(double t) { assertWriteEnabled(), thickness_ = t; }
    const Vector3d& normal() const { return normal_; }
    void setNormal(const Vector3d& n) { assertWriteEnabled(), normal_ = n.normalized(); }
    /// Angle of the X axis used to draw the point's symbol (radians).
    double ecsRotation() const { return ecsRotation_; }
    void setEcsRotation(double a) { assertWriteEnabled(), ecsRotation_ = a; }

    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

private:
    Point3d position_;
    double thickness_ = 0.0;
    double ecsRotation_ = 0.0;
    Vector3d normal_ = Vector3d::zAxis();
};

}  // namespace vela::db
