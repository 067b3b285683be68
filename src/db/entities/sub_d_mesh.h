#pragma once

#include <vector>

#include "db/entity.h"

namespace vela::db {

/// A subdivision mesh: vertices in world coordinates and faces that list vertex indexes, with the edges that
/// carry creases. Only the control mesh (level 0) is stored; the smoothing level says how often a drawing
/// program subdivides it for display. Overrides of sub-entities' properties are kept as the file gave them.
class SubDMesh : public Entity {
    VELA_DB_DECLARE_CLASS(SubDMesh)
  public:
    struct Edge {
        std::int32_t from = 0, to = 0;
        bool operator==(const Edge&) const = default;
    };

    SubDMesh() = default;

    const std::vector<Point3d>& vertices() const { return vertices_; }
    const std::vector<std::vector<std::int32_t>>& faces() const { return faces_; }
    const std::vector<Edge>& edges() const { return edges_; }
    /// The crease of each edge (one value per edge).
    const std::vector<double>& creases() const { return creases_; }
    /// Replaces the control mesh. InvalidInput for a face of fewer than three vertices or an index out of
    /// range; edges and creases are cleared.
    ErrorStatus setMesh(std::vector<Point3d> vertices, std::vector<std::vector<std::int32_t>> faces);
    /// InvalidInput for an index out of range or a count of creases other than the count of edges.
    ErrorStatus setEdges(std::vector<Edge> edges, std::vector<double> creases);
    std::int32_t smoothLevel() const { return subdivisionLevels_; }
    ErrorStatus setSmoothLevel(std::int32_t level);
    bool blendCrease() const { return blendCrease_; }

    /// The box of the vertices.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Any non-degenerate affine transformation: it moves the vertices and the faces follow.
    ErrorStatus transformBy(const Matrix3d& transform) override;

  private:
    std::vector<Point3d> vertices_;
    std::vector<std::vector<std::int32_t>> faces_;
    std::vector<Edge> edges_;
    std::vector<double> creases_;
    std::int16_t version_ = 2;
    bool blendCrease_ = false;
    std::int32_t subdivisionLevels_ = 0;
};

}  // namespace vela::db
