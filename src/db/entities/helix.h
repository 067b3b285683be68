#pragma once

#include "db/entities/spline.h"

namespace vela::db {

/// A helix (DXF "HELIX"): a spline that follows a spiral about an axis, kept with the figures that made it
/// (axis, start point, radius at the top, turns, turn height, handedness) so that it can be told apart from
/// any spline.
class Helix : public Spline {
    VELA_DB_DECLARE_CLASS(Helix)
  public:
    Helix() = default;

    const Point3d& axisBasePoint() const { return axisBase_; }
    const Point3d& startPoint() const { return start_; }
    const Vector3d& axisVector() const { return axis_; }
    /// Radius at the base (the start point's distance from the axis's base point) and at the top.
    double baseRadius() const { return start_.distanceTo(axisBase_); }
    double topRadius() const { return topRadius_; }
    double turns() const { return turns_; }
    double turnHeight() const { return turnHeight_; }
    double height() const { return turns_ * turnHeight_; }
    /// Right-handed: counter-clockwise about the axis seen from its top.
    bool isRightHanded() const { return rightHanded_; }

    /// The box of the spline that draws it.
    using Spline::getGeomExtents;
    /// A uniform scale with rotation, reflection (which swaps the handedness) and translation; a helix scaled
    /// unevenly is no helix: CannotScaleNonUniformly.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    std::int32_t majorRelease_ = 29, maintenanceRelease_ = 63;
    Point3d axisBase_;
    Point3d start_{1, 0, 0};
    Vector3d axis_ = Vector3d::zAxis();
    double topRadius_ = 1.0;
    double turns_ = 1.0;
    double turnHeight_ = 1.0;
    bool rightHanded_ = true;
    std::int16_t constrain_ = 1;  // what stays when the helix is edited: 0 turn height, 1 turns, 2 height
};

}  // namespace vela::db
