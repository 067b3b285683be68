#pragma once

#include <optional>
#include <vector>

#include "db/entities/hatch.h"
#include "db/geometry/matrix.h"
#include "db/object_id.h"
#include "host/hatch/boundary_search.h"

namespace vela::db {
class Entity;
class SpatialIndex;
}  // namespace vela::db

namespace vela::host::hatch {

/// Appends the curves of an entity as they lie in the drawing's XY plane after `transform`: lines, arcs,
/// circles and ellipses (elliptic arcs where the transformation or the entity's plane makes circles
/// ellipses), splines given by control points, lightweight and old-style 2D polylines (their bulges as arcs),
/// the straight segments of 3D polylines seen from above, and the entities of block references (transformed,
/// to a nesting depth of 16). Entities on layers that are off or frozen and invisible entities add nothing;
/// so do kinds without boundary curves here (meshes, splines given by fit points alone) and curves whose
/// plane is seen edge on. `source` is the number of the entity of the space the curves come from.
void AppendBoundaryCurves(const db::Entity& entity, const db::Matrix3d& transform, std::size_t source,
                          std::vector<Piece>& out, int depth = 0);

/// The area around `point` bounded by the visible entities of `space`, looking only at entities near it: a
/// window around the point grows until the area found lies inside it (everything that could cut the area
/// then lies in the window too) or covers the whole space. `sources` receives the entities looked at: a
/// piece's `source` is its entity's place there.
std::optional<Region> FindRegionAround(const db::SpatialIndex& index, db::ObjectId space,
                                       const db::Point3d& point, double gapTolerance,
                                       std::vector<db::ObjectId>* sources = nullptr);

/// The loops of a hatch filling the region, the outer one first, each with the entities it was made from
/// (`sources` as FindRegionAround gives them), for an associative hatch: a loop of lines and circular arcs is
/// a polyline loop (arcs as bulges), one holding elliptic arcs or splines a loop of edges.
std::vector<db::HatchLoop> HatchLoops(const Region& region, const std::vector<db::ObjectId>& sources);

/// The hatch edge of a piece, running as the piece runs; a part of a spline becomes a spline of its own.
db::HatchEdge HatchEdgeOf(const Piece& piece);

}  // namespace vela::host::hatch
