#pragma once

#include "db/entities/curve.h"

namespace vela::db {

/// What XLINE and RAY share: a base point and a unit direction in world coordinates. They reach infinitely
/// far, so they have no box.
class ConstructionLine : public Curve {
  public:
    const Point3d& basePoint() const { return base_; }
    void setBasePoint(const Point3d& p) { assertWriteEnabled(), base_ = p; }
    const Vector3d& unitDir() const { return direction_; }
    /// InvalidInput for a zero or non-finite direction; others are kept at length 1.
    ErrorStatus setUnitDir(const Vector3d& d);

    /// InvalidInput: an infinite line has no box.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Any affine map that keeps the direction from collapsing.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  protected:
    ConstructionLine() = default;
    template <class Io, class Self>
    static void lineFields(Io& io, Self& self, const char* marker);

  private:
    Point3d base_;
    Vector3d direction_ = Vector3d::xAxis();
};

/// A line infinite both ways (DXF "XLINE").
class Xline : public ConstructionLine {
    VELA_DB_DECLARE_CLASS(Xline)
  public:
    Xline() = default;
};

/// A line from its base point to infinity (DXF "RAY").
class Ray : public ConstructionLine {
    VELA_DB_DECLARE_CLASS(Ray)
  public:
    Ray() = default;
};

}  // namespace vela::db
