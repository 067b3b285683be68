#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "db/entities/hatch.h"
#include "db/entities/spline.h"
#include "db/geometry/vector.h"

namespace vela::render {

/// Curves become chains of points whose chords stay within `tolerance` (drawing units) of the curve.

/// Segments for an arc of this radius and sweep (radians): at least 1, at most 4096.
int arcSegments(double radius, double sweep, double tolerance);

/// Appends the points after `a` of the segment from `a` to `b` with this bulge (tan of a quarter of the
/// signed sweep): `b` alone for a straight segment.
void appendBulgeSegment(std::vector<db::Point2d>& out, const db::Point2d& a, const db::Point2d& b,
                        double bulge, double tolerance);

/// The points of the curve of a spline from its first knot to its last; its fit points when it has no
/// control points.
std::vector<db::Point3d> flattenSpline(const db::Spline& spline, double tolerance);

/// A hatch boundary loop as a closed chain of points in the hatch's object coordinate system (the first point
/// not repeated at the end).
std::vector<db::Point2d> flattenLoop(const db::HatchLoop& loop, double tolerance);

/// The dashes of one family of pattern lines that lie inside the loops by the even-odd rule (so that an
/// island inside an outer loop stays empty). Empty with `tooMany` set when it would take more than `limit`
/// lines across the loops, so that the caller can shade the area instead.
std::vector<std::pair<db::Point2d, db::Point2d>> patternSegments(
    const db::HatchPatternLine& line, const std::vector<std::vector<db::Point2d>>& loops, std::size_t limit,
    bool* tooMany);

}  // namespace vela::render
