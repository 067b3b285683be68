#pragma once

#include <string>
#include <vector>

#include "db/entity.h"

namespace vela::db {

/// A multileader (MULTILEADER): leader lines with arrowheads and landings pointing at a content, a text or a
/// block, all held by the entity itself. Files give its geometry in a nested "context" (CONTEXT_DATA{ ...
/// LEADER{ ... LEADER_LINE{ ... } } }) among many style settings; the groups are kept as they came, and the
/// geometry is read from them and transformed in place, so that everything else travels unchanged.
class MLeader : public Entity {
    VELA_DB_DECLARE_CLASS(MLeader)
  public:
    MLeader() = default;

    /// The geometry the context gives, in world coordinates.
    struct Geometry {
        std::vector<std::vector<Point3d>> lines;  // each leader line's vertices, ending at its landing
        std::vector<std::pair<Point3d, Point3d>> landings;
        bool hasText = false, hasBlock = false;
        std::string text;
        Point3d textLocation, blockPosition;
        Vector3d textDirection = Vector3d::xAxis(), textNormal = Vector3d::zAxis();
        double textHeight = 0.0, textWidth = 0.0;
    };
    Geometry geometry() const;

    /// The box of the leader lines, the landings and the content: a text by the estimate of multi-line text,
    /// a block by its position. InvalidInput when the context gives no geometry.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Moves the lines, landings and content and scales the sizes the context holds (arrowheads, gaps, text
    /// height); a non-uniform transformation is refused.
    ErrorStatus transformBy(const Matrix3d& transform) override;
};

}  // namespace vela::db
