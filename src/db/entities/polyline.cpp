#include "db/entities/polyline.h"

#include <cmath>

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"
#include "db/geometry/plane_map.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Polyline, "AcDbPolyline", "LWPOLYLINE", Curve)

template <class Io, class Self>
void Polyline::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbPolyline");
    const ListCount count = io.count(90, self.vertices_);
    io.bits(70, {{1, self.closed_}, {128, self.plinegen_}});
    io.real(43, self.constantWidth_, 0.0);
    io.real(38, self.elevation_, 0.0);
    io.real(39, self.thickness_, 0.0);
    // Each vertex starts with its point; id, widths and bulge follow in any order.
    io.items(
        10, self.vertices_,
        [](auto& io, auto& v) {
            io.point2(10, v.point);
            io.i32(91, v.id, 0u);
            io.optional(v.startWidth != 0.0 || v.endWidth != 0.0, [&] {
                io.real(40, v.startWidth);
                io.real(41, v.endWidth);
            });
            io.real(42, v.bulge, 0.0);
        },
        count);
    io.vec(210, self.normal_, Vector3d::zAxis());
}

VELA_DB_DEFINE_DXF(Polyline)

void Polyline::addVertexAt(std::size_t index, const Point2d& point, double bulge, double startWidth,
                           double endWidth) {
    assertWriteEnabled();
    const Vertex v{point, bulge, startWidth, endWidth, 0};
    if (index >= vertices_.size())
        vertices_.push_back(v);
    else
        vertices_.insert(vertices_.begin() + static_cast<std::ptrdiff_t>(index), v);
}

ErrorStatus Polyline::removeVertexAt(std::size_t index) {
    if (index >= vertices_.size()) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    vertices_.erase(vertices_.begin() + static_cast<std::ptrdiff_t>(index));
    return ErrorStatus::Ok;
}

ErrorStatus Polyline::setBulgeAt(std::size_t index, double bulge) {
    if (index >= vertices_.size() || !std::isfinite(bulge)) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    vertices_[index].bulge = bulge;
    return ErrorStatus::Ok;
}

Point3d Polyline::pointAt(std::size_t index) const {
    if (index >= vertices_.size()) return {};
    const Point2d& p = vertices_[index].point;
    return ocsToWcs(Point3d(p.x, p.y, elevation_), normal_);
}

std::size_t Polyline::numSegments() const {
    if (vertices_.size() < 2) return 0;
    return closed_ ? vertices_.size() : vertices_.size() - 1;
}

double Polyline::length() const {
    double total = 0.0;
    const std::size_t n = vertices_.size();
    for (std::size_t i = 0; i < numSegments(); ++i) {
        const Vertex& v = vertices_[i];
        const Point2d& a = v.point;
        const Point2d& b = vertices_[(i + 1) % n].point;
        const double chord = std::hypot(b.x - a.x, b.y - a.y);
        if (v.bulge == 0.0 || chord == 0.0) {
            total += chord;
        } else {
            const double sweep = 4.0 * std::atan(std::abs(v.bulge));
            total += chord / (2.0 * std::sin(sweep / 2.0)) * sweep;
        }
    }
    return total;
}

double Polyline::area() const {
    const std::size_t n = vertices_.size();
    if (n < 2) return 0.0;
    double twice = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        const Point2d& a = vertices_[i].point;
        const Point2d& b = vertices_[(i + 1) % n].point;
        twice += a.x * b.y - b.x * a.y;
    }
    double area = twice / 2.0;
    // Each bulged segment adds (or removes) its circular segment between chord and arc.
    for (std::size_t i = 0; i < n; ++i) {
        const double bulge = vertices_[i].bulge;
        if (bulge == 0.0 || (!closed_ && i == n - 1)) continue;
        const Point2d& a = vertices_[i].point;
        const Point2d& b = vertices_[(i + 1) % n].point;
        const double chord = std::hypot(b.x - a.x, b.y - a.y);
        if (chord == 0.0) continue;
        const double sweep = 4.0 * std::atan(std::abs(bulge));
        const double r = chord / (2.0 * std::sin(sweep / 2.0));
        const double segment = r * r * (sweep - std::sin(sweep)) / 2.0;
        area += bulge > 0 ? segment : -segment;
    }
    return std::abs(area);
}

ErrorStatus Polyline::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    if (vertices_.empty()) return ErrorStatus::InvalidInput;
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
    const std::size_t n = vertices_.size();
    for (std::size_t i = 0; i < n; ++i) extents.addPoint(pointAt(i));
    for (std::size_t i = 0; i < numSegments(); ++i) {
        const Vertex& v = vertices_[i];
        const Point2d& a = v.point;
        const Point2d& b = vertices_[(i + 1) % n].point;
        if (v.bulge == 0.0 || (a.x == b.x && a.y == b.y)) continue;
        const BulgeArc arc = bulgeToArc(a, b, v.bulge);
        const Point3d c = ocsToWcs(Point3d(arc.center.x, arc.center.y, elevation_), normal_);
        addEllipticArcExtents(extents, c, ax * arc.radius, ay * arc.radius, arc.startAngle, arc.endAngle);
    }
    if (thickness_ != 0.0) {
        const Vector3d up = normal_.normalized() * thickness_;
        const Extents3d base = extents;
        extents.addPoint(base.minPoint() + up).addPoint(base.maxPoint() + up);
    }
    return ErrorStatus::Ok;
}

ErrorStatus Polyline::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    bool hasArcsOrWidths = constantWidth_ != 0.0;
    for (const Vertex& v : vertices_)
        hasArcsOrWidths = hasArcsOrWidths || v.bulge != 0.0 || v.startWidth != 0.0 || v.endWidth != 0.0;
    const ErrorStatus uniform = checkUniformTransform(m);
    if (uniform == ErrorStatus::CannotTransform) return uniform;
    if (uniform != ErrorStatus::Ok && hasArcsOrWidths) return uniform;

    // The image of the plane: its axes map to u, v; the new normal keeps the direction of travel unless the
    // map reflects the plane, in which case we keep the normal's own image and mirror the bulges instead.
    const Vector3d u = m.apply(ocsXAxis(normal_)), v = m.apply(ocsYAxis(normal_));
    Vector3d n = u.cross(v);
    if (n.isZero(1e-300)) return ErrorStatus::CannotTransform;
    n = n.normalized();
    const Vector3d imageOfNormal = m.apply(normal_);
    const bool flip = !imageOfNormal.isZero() && imageOfNormal.dot(n) < 0;
    if (flip) n = -n;

    std::vector<Vertex> moved = vertices_;
    double elevation = elevation_;
    for (std::size_t i = 0; i < moved.size(); ++i) {
        const Point3d p = wcsToOcs(m.apply(pointAt(i)), n);
        moved[i].point = {p.x, p.y};
        if (i == 0) elevation = p.z;
        if (flip) moved[i].bulge = -moved[i].bulge;
    }
    const double s = uniform == ErrorStatus::Ok ? m.scaleFactor() : 1.0;
    assertWriteEnabled();
    for (Vertex& vx : moved) vx.startWidth *= s, vx.endWidth *= s;
    vertices_ = std::move(moved);
    constantWidth_ *= s;
    thickness_ *= imageOfNormal.length();
    elevation_ =
        vertices_.empty() ? wcsToOcs(m.apply(ocsToWcs(Point3d(0, 0, elevation_), normal_)), n).z : elevation;
    normal_ = n;
    return ErrorStatus::Ok;
}

}  // namespace vela::db
