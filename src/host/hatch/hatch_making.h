#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "db/entities/hatch.h"
#include "db/error_status.h"
#include "db/geometry/vector.h"

namespace vela::db {
class Database;
}

namespace vela::host {
class Document;
}

namespace vela::host::hatch {

/// What the host's hatching takes from its settings, read when a hatch is begun.
struct HatchSettings {
    /// The largest gap between boundary entities that a boundary bridges (HPGAPTOL).
    double gapTolerance = 0;

    static HatchSettings current();
};

/// The loops around `point` in the document's active space, as a CAD program's "pick internal point" finds
/// them: the outer loop first, then the islands, each with the entities it was made from. Empty when no
/// closed area holds the point. Only entities near the point are looked at.
std::vector<db::HatchLoop> BoundaryLoopsAround(Document& document, const db::Point3d& point,
                                               const HatchSettings& settings);

/// A new hatch as the host's hatch command makes it, not yet in a drawing: the drawing's current layer,
/// color and the like, normal style, associative, the predefined pattern `pattern` (SOLID, or one of the
/// bundled pattern file of the drawing's unit system, its name compared ignoring case) with its line
/// families written into the hatch, turned by `angle` (radians) and scaled by `scale`. Null, with
/// InvalidInput in `status`, when there is no such pattern, or the scale is not a positive finite number, or
/// the angle is not finite.
std::unique_ptr<db::Hatch> NewPatternHatch(const db::Database& database, std::string_view pattern,
                                           double scale, double angle, db::ErrorStatus* status = nullptr);

/// Appends loops found around `seed` to a hatch, and the point as one of its seed points.
db::ErrorStatus AppendLoops(db::Hatch& hatch, std::vector<db::HatchLoop> loops, const db::Point3d& seed);

/// Appends a hatch to `space`. With `linkBoundary`, when the hatch is associative, each of its boundary
/// entities names it among their reactors, so that the link reads both ways in the file, as CAD programs
/// write it (a preview, soon erased, leaves its boundary alone). Null when the drawing refused the hatch.
db::ObjectId AddHatch(db::Database& database, db::ObjectId space, std::unique_ptr<db::Hatch> hatch,
                      bool linkBoundary = true);

}  // namespace vela::host::hatch
