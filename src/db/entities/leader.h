#pragma once

#include <vector>

#include "db/entity.h"

namespace vela::db {

/// A leader: a path of straight segments (or a spline through its vertices) from an arrowhead to an
/// annotation, which is an entity of its own (a text, a tolerance frame, a block reference) that the leader
/// refers to. Its arrowhead, hook line and gap sizes come from its dimension style.
class Leader : public Entity {
    VELA_DB_DECLARE_CLASS(Leader)
  public:
    enum class AnnotationType : std::int16_t { Text = 0, Tolerance = 1, BlockReference = 2, None = 3 };

    Leader() = default;

    /// The path's vertices in world coordinates, from the arrowhead on.
    const std::vector<Point3d>& vertices() const { return vertices_; }
    void setVertices(std::vector<Point3d> vertices) { assertWriteEnabled(), vertices_ = std::move(vertices); }
    bool hasArrowHead() const { return hasArrowHead_; }
    void setHasArrowHead(bool on) { assertWriteEnabled(), hasArrowHead_ = on; }
    /// True for a spline through the vertices, false for straight segments.
    bool isSplined() const { return splined_; }
    AnnotationType annotationType() const { return annotationType_; }
    /// The entity the leader points out (null when none).
    ObjectId annotation() const { return annotation_; }
    void setAnnotation(ObjectId id) { assertWriteEnabled(), annotation_ = id; }
    ObjectId dimensionStyle() const { return style_; }
    std::string dimensionStyleName() const;
    const Vector3d& normal() const { return normal_; }

    /// The box of the straight path through the vertices. The arrowhead and hook line are left out (their
    /// sizes are the dimension style's); a splined path is refused (InvalidInput), as is a path without
    /// vertices.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Moves the vertices and turns the plane; a non-uniform transformation is refused, since the arrowhead
    /// and hook line keep their proportions.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    ObjectId style_;
    std::vector<Point3d> vertices_;
    ObjectId annotation_;
    Vector3d normal_ = Vector3d::zAxis();
    Vector3d horizontalDirection_ = Vector3d::xAxis();
    AnnotationType annotationType_ = AnnotationType::None;
    bool hasArrowHead_ = true;
    bool splined_ = false;
};

}  // namespace vela::db
