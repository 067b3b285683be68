#pragma once

#include <array>

#include "db/entity.h"

namespace vela::db {

/// What SOLID and TRACE share: four corners in the object coordinate system (each with its own height above
/// the plane, as files hold them), drawn in the order 0, 1, 3, 2; a triangle repeats its third corner. Any
/// affine transformation is taken: the corners are points.
class OcsQuadrilateral : public Entity {
  public:
    /// Corner i (0 to 3) in world coordinates.
    Point3d corner(std::size_t i) const;
    /// Sets corner i from world coordinates.
    void setCorner(std::size_t i, const Point3d& p);
    double thickness() const { return thickness_; }
    void setThickness(double t) { assertWriteEnabled(), thickness_ = t; }
    const Vector3d& normal() const { return normal_; }
    bool isTriangle() const { return corners_[3] == corners_[2]; }

    /// The box of the corners (the thickness is not part of it).
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

  protected:
    OcsQuadrilateral() = default;
    template <class Io, class Self>
    static void quadFields(Io& io, Self& self);

  private:
    std::array<Point3d, 4> corners_{};
    double thickness_ = 0.0;
    Vector3d normal_ = Vector3d::zAxis();
};

/// A filled quadrilateral or triangle (DXF "SOLID").
class Solid : public OcsQuadrilateral {
    VELA_DB_DECLARE_CLASS(Solid)
  public:
    Solid() = default;
};

/// A wide line segment (DXF "TRACE"), held like a solid.
class Trace : public OcsQuadrilateral {
    VELA_DB_DECLARE_CLASS(Trace)
  public:
    Trace() = default;
};

/// A three- or four-sided face in space (DXF "3DFACE"): corners in world coordinates, each edge visible or
/// not.
class Face : public Entity {
    VELA_DB_DECLARE_CLASS(Face)
  public:
    Face() = default;
    const Point3d& corner(std::size_t i) const { return corners_[i & 3]; }
    void setCorner(std::size_t i, const Point3d& p) { assertWriteEnabled(), corners_[i & 3] = p; }
    /// Whether edge i (from corner i to the next) is drawn.
    bool isEdgeVisible(std::size_t i) const { return (invisible_ & (1 << (i & 3))) == 0; }
    std::int16_t invisibleEdges() const { return invisible_; }
    bool isTriangle() const { return corners_[3] == corners_[2]; }

    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    std::array<Point3d, 4> corners_{};
    std::int16_t invisible_ = 0;  // bit i: edge i is hidden
};

}  // namespace vela::db
