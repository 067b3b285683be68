#include "db/geometry/plane.h"

#include <cmath>

#include "db/error_status.h"

namespace vela::db {

Vector3d ocsXAxis(const Vector3d& normalIn) {
    const Vector3d n = normalIn.normalized();
    constexpr double kLimit = 1.0 / 64.0;
    const Vector3d ax = (std::abs(n.x) < kLimit && std::abs(n.y) < kLimit) ? Vector3d::yAxis().cross(n)
                                                                           : Vector3d::zAxis().cross(n);
    return ax.normalized();
}

Vector3d ocsToWcs(const Vector3d& v, const Vector3d& normal) {
    if (normal.x == 0.0 && normal.y == 0.0 && normal.z > 0.0) return v;
    const Vector3d n = normal.normalized(), ax = ocsXAxis(n), ay = n.cross(ax);
    return ax * v.x + ay * v.y + n * v.z;
}

Vector3d wcsToOcs(const Vector3d& v, const Vector3d& normal) {
    if (normal.x == 0.0 && normal.y == 0.0 && normal.z > 0.0) return v;
    const Vector3d n = normal.normalized(), ax = ocsXAxis(n), ay = n.cross(ax);
    return {v.dot(ax), v.dot(ay), v.dot(n)};
}

Point3d ocsToWcs(const Point3d& p, const Vector3d& normal) {
    const Vector3d v = ocsToWcs(p.asVector(), normal);
    return {v.x, v.y, v.z};
}

Point3d wcsToOcs(const Point3d& p, const Vector3d& normal) {
    const Vector3d v = wcsToOcs(p.asVector(), normal);
    return {v.x, v.y, v.z};
}

double normalizeAngle(double a) {
    if (!std::isfinite(a)) return 0.0;
    a = std::fmod(a, kTwoPi);
    if (a < 0) a += kTwoPi;
    if (a >= kTwoPi) a = 0.0;
    return a;
}

double sweepAngle(double start, double end) {
    const double s = normalizeAngle(end - start);
    return s <= 1e-12 ? kTwoPi : s;
}

bool angleOnSweep(double angle, double start, double end) {
    const double sweep = sweepAngle(start, end);
    const double offset = normalizeAngle(angle - start);
    return offset <= sweep + 1e-12 || offset >= kTwoPi - 1e-12;
}

void addEllipticArcExtents(Extents3d& box, const Point3d& c, const Vector3d& u, const Vector3d& v, double start,
                           double end) {
    auto at = [&](double t) { return c + u * std::cos(t) + v * std::sin(t); };
    box.addPoint(at(start));
    box.addPoint(at(start + sweepAngle(start, end)));
    // Along each world axis the coordinate is u_i cos t + v_i sin t, extreme where tan t = v_i / u_i.
    const double comps[3][2] = {{u.x, v.x}, {u.y, v.y}, {u.z, v.z}};
    for (const auto& comp : comps) {
        if (comp[0] == 0.0 && comp[1] == 0.0) continue;
        const double t0 = std::atan2(comp[1], comp[0]);
        for (double t : {t0, t0 + kPi})
            if (angleOnSweep(t, start, end)) box.addPoint(at(t));
    }
}

ErrorStatus checkUniformTransform(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    const double det = m.determinant();
    if (!std::isfinite(det) || std::abs(det) < 1e-300) return ErrorStatus::CannotTransform;
    if (!m.isUniformScaledOrthogonal()) return ErrorStatus::CannotScaleNonUniformly;
    return ErrorStatus::Ok;
}

}  // namespace vela::db
