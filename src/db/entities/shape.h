#pragma once

#include <string>

#include "db/entity.h"

namespace vela::db {

/// A shape from a shape file (DXF "SHAPE"), placed by name. Its strokes live in the shape file, which a
/// drawing does not carry: it has no box of its own here.
class Shape : public Entity {
    VELA_DB_DECLARE_CLASS(Shape)
  public:
    Shape() = default;

    const std::string& name() const { return name_; }
    /// Insertion point in world coordinates.
    const Point3d& position() const { return position_; }
    double size() const { return size_; }
    /// Rotation about the normal, radians, measured in the object coordinate system.
    double rotation() const { return rotation_; }
    double widthFactor() const { return xScale_; }
    double oblique() const { return oblique_; }
    double thickness() const { return thickness_; }
    const Vector3d& normal() const { return normal_; }

    /// InvalidInput: the strokes are in a shape file the drawing does not carry.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// A uniform scale with rotation, reflection and translation (CannotScaleNonUniformly otherwise).
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    std::string name_;
    Point3d position_;
    double size_ = 1.0;
    double rotation_ = 0.0;
    double xScale_ = 1.0;
    double oblique_ = 0.0;
    double thickness_ = 0.0;
    Vector3d normal_ = Vector3d::zAxis();
};

}  // namespace vela::db
