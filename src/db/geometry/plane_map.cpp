#include "db/geometry/plane_map.h"

#include <cmath>

#include "db/geometry/plane.h"

namespace vela::db {

ErrorStatus PlaneMap::make(const Matrix3d& m, const Vector3d& normal, double elevation, PlaneMap& out) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    out.m_ = m;
    out.oldNormal_ = normal.normalized();
    out.oldElevation_ = elevation;
    out.newNormal_ = m.apply(out.oldNormal_).normalized();
    out.scale_ = m.scaleFactor();
    const Vector3d u = m.apply(ocsXAxis(out.oldNormal_)), v = m.apply(ocsYAxis(out.oldNormal_));
    out.reflects_ = u.cross(v).dot(out.newNormal_) < 0;
    out.newElevation_ = wcsToOcs(m.apply(ocsToWcs(Point3d(0, 0, elevation), out.oldNormal_)), out.newNormal_).z;
    return ErrorStatus::Ok;
}

Point2d PlaneMap::point(const Point2d& p) const {
    const Point3d w = m_.apply(ocsToWcs(Point3d(p.x, p.y, oldElevation_), oldNormal_));
    const Point3d o = wcsToOcs(w, newNormal_);
    return {o.x, o.y};
}

Point2d PlaneMap::vector(const Point2d& v) const {
    const Vector3d w = m_.apply(ocsToWcs(Vector3d(v.x, v.y, 0), oldNormal_));
    const Vector3d o = wcsToOcs(w, newNormal_);
    return {o.x, o.y};
}

double PlaneMap::angle(double a) const {
    const Point2d d = vector({std::cos(a), std::sin(a)});
    return normalizeAngle(std::atan2(d.y, d.x));
}

BulgeArc bulgeToArc(const Point2d& a, const Point2d& b, double bulge) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double chord = std::hypot(dx, dy);
    const double sweep = 4.0 * std::atan(std::abs(bulge));
    const double radius = chord / (2.0 * std::sin(sweep / 2.0));
    // Signed distance from the chord's midpoint to the center, to the left of a->b for positive bulges; the
    // cosine turns negative for sweeps above pi, which puts the center on the other side.
    const double offset = radius * std::cos(sweep / 2.0) * (bulge > 0 ? 1.0 : -1.0);
    const Point2d c{(a.x + b.x) / 2 - dy / chord * offset, (a.y + b.y) / 2 + dx / chord * offset};
    double sa = std::atan2(a.y - c.y, a.x - c.x), ea = std::atan2(b.y - c.y, b.x - c.x);
    if (bulge < 0) std::swap(sa, ea);
    return {c, radius, normalizeAngle(sa), normalizeAngle(ea)};
}

AxesTransform::AxesTransform(const Matrix3d& m, const Vector3d& normal) : m_(m), oldNormal_(normal.normalized()) {
    const Vector3d x = m.apply(ocsXAxis(oldNormal_)), y = m.apply(ocsYAxis(oldNormal_));
    newNormal_ = x.cross(y).normalized();
}

Point3d AxesTransform::point(const Point3d& ocs) const {
    return wcsToOcs(m_.apply(ocsToWcs(ocs, oldNormal_)), newNormal_);
}

double AxesTransform::angle(double radians) const {
    const Vector3d d = wcsToOcs(m_.apply(ocsToWcs(Vector3d(std::cos(radians), std::sin(radians), 0.0), oldNormal_)),
                                newNormal_);
    return std::atan2(d.y, d.x);
}

double AxesTransform::thickness(double t) const { return m_.apply(oldNormal_ * t).dot(newNormal_); }

}  // namespace vela::db
