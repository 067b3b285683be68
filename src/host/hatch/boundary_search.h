#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "db/geometry/vector.h"

namespace vela::host::hatch {

/// A piece of curve in the plane: a line from `start` to `end`, or a circular arc around `center` of `radius`
/// from angle `startAngle` through `sweep` radians (positive: counter-clockwise), whose ends are `start` and
/// `end`. `source` says which input curve it is (a part of).
struct Piece {
    enum class Kind { Line, Arc };
    Kind kind = Kind::Line;
    db::Point2d start, end;
    db::Point2d center;
    double radius = 0, startAngle = 0, sweep = 0;
    std::size_t source = 0;

    static Piece line(db::Point2d a, db::Point2d b, std::size_t source = 0);
    /// An arc; a sweep of 2 pi or more is a whole circle.
    static Piece arc(db::Point2d center, double radius, double startAngle, double sweep,
                     std::size_t source = 0);
    db::Point2d pointAt(double t) const;  // t in [0, 1] along the piece
};

/// A closed boundary: pieces end to end, counter-clockwise for an area's outer loop.
struct Loop {
    std::vector<Piece> pieces;
    double area = 0;  // signed: positive counter-clockwise
};

/// The area around a point: its outer loop and the loops of the islands inside it (outer boundaries of
/// whatever lies inside, islands within islands included, so that an even-odd fill alternates as CAD
/// programs' "normal" style does).
struct Region {
    Loop outer;
    std::vector<Loop> islands;
};

/// Finds the smallest closed area around `inside` that the curves bound, as a CAD program's "pick internal
/// point" does: curves are cut where they cross or touch, pieces that lead nowhere are left out, ends closer
/// than `gapTolerance` to another piece's end are joined. The loops keep the curves' exact geometry. Nothing
/// when no closed area holds the point.
std::optional<Region> FindRegion(const std::vector<Piece>& curves, const db::Point2d& inside,
                                 double gapTolerance = 0);

}  // namespace vela::host::hatch
