#pragma once

#include "db/error_status.h"
#include "db/geometry/extents.h"
#include "db/geometry/matrix.h"
#include "db/geometry/vector.h"

namespace vela::db {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kTwoPi = 2.0 * kPi;

/// The X axis of the object coordinate system for a plane with this normal (the "arbitrary axis" rule of
/// DWG/DXF drawings): planar entities store 2D data relative to it.
Vector3d ocsXAxis(const Vector3d& normal);
inline Vector3d ocsYAxis(const Vector3d& normal) { return normal.normalized().cross(ocsXAxis(normal)); }
Point3d ocsToWcs(const Point3d& p, const Vector3d& normal);
Point3d wcsToOcs(const Point3d& p, const Vector3d& normal);
Vector3d ocsToWcs(const Vector3d& v, const Vector3d& normal);
Vector3d wcsToOcs(const Vector3d& v, const Vector3d& normal);

/// A point given in the object coordinate system of `from`, given in that of `to` instead (the point stays where
/// it is in the world): what a planar entity does to its stored points when its plane is tilted.
inline Point3d reexpressInPlane(const Point3d& ocs, const Vector3d& from, const Vector3d& to) {
    return wcsToOcs(ocsToWcs(ocs, from), to);
}

/// The angle in [0, 2pi).
double normalizeAngle(double angle);
/// True when `angle` lies on the counter-clockwise sweep from `start` to `end` (both ends included).
bool angleOnSweep(double angle, double start, double end);
/// The sweep from start to end counter-clockwise, in (0, 2pi]; equal angles make a full turn.
double sweepAngle(double start, double end);

/// Adds the exact box of the elliptic arc P(t) = center + cos(t) u + sin(t) v for t from `start` to `end`
/// (counter-clockwise, radians); a circle is the case |u| = |v|, u perpendicular to v.
void addEllipticArcExtents(Extents3d& box, const Point3d& center, const Vector3d& u, const Vector3d& v,
                           double start, double end);

/// Checks that `m` maps planar curves with arcs onto such curves: affine, non-degenerate, one scale factor.
ErrorStatus checkUniformTransform(const Matrix3d& m);

}  // namespace vela::db
