#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "db/geometry/vector.h"
#include "host/hatch/planar_spline.h"

namespace vela::host::hatch {

/// A piece of curve in the plane, whose ends are `start` and `end`:
/// - a line from `start` to `end`;
/// - a circular arc around `center` of `radius` from angle `startAngle` through `sweep` radians (positive:
///   counter-clockwise);
/// - an elliptic arc center + majorAxis cos(a) + minorAxis() sin(a), the minor axis `ratio` times the major
///   one turned a quarter counter-clockwise, for the parameter a from `startAngle` through `sweep`;
/// - a part of a spline, shared with the other parts of it, for its parameter from `startAngle` through
///   `sweep`.
/// `source` says which input curve it is (a part of).
struct Piece {
    enum class Kind { Line, Arc, Ellipse, Spline };
    Kind kind = Kind::Line;
    db::Point2d start, end;
    db::Point2d center;
    double radius = 0, startAngle = 0, sweep = 0;
    db::Point2d majorAxis;
    double ratio = 1;
    std::shared_ptr<const PlanarSpline> spline;
    std::size_t source = 0;

    static Piece line(db::Point2d a, db::Point2d b, std::size_t source = 0);
    /// An arc; a sweep of 2 pi or more is a whole circle.
    static Piece arc(db::Point2d center, double radius, double startAngle, double sweep,
                     std::size_t source = 0);
    /// An elliptic arc from its major axis (relative to the center) and the ratio of its axes (0 < ratio <=
    /// 1); a sweep of 2 pi or more is a whole ellipse.
    static Piece ellipse(db::Point2d center, db::Point2d majorAxis, double ratio, double startParameter,
                         double sweep, std::size_t source = 0);
    /// The curve center + u cos(a) + v sin(a) for a from `startParameter` through `sweep`, for any two
    /// conjugate half diameters u and v, as a transformed circle or ellipse gives them: an arc when it is a
    /// circle, an elliptic arc on the curve's own axes otherwise. Nothing when u and v are parallel (the
    /// curve seen edge on is no curve in the plane).
    static std::optional<Piece> conic(db::Point2d center, db::Point2d u, db::Point2d v, double startParameter,
                                      double sweep, std::size_t source = 0);
    /// The spline from parameter `from` to `to` (running backwards when `to` is less).
    static Piece splinePart(std::shared_ptr<const PlanarSpline> spline, double from, double to,
                            std::size_t source = 0);

    db::Point2d pointAt(double t) const;  // t in [0, 1] along the piece
    /// The first and second derivatives along the piece (for t in [0, 1]).
    void derivatives(double t, db::Point2d& d1, db::Point2d& d2) const;
    db::Point2d minorAxis() const { return {-majorAxis.y * ratio, majorAxis.x * ratio}; }
    /// A box holding the piece: exact for lines and arcs, the control points' for splines.
    std::pair<db::Point2d, db::Point2d> box() const;
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
