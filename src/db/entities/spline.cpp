#include "db/entities/spline.h"

#include <algorithm>
#include <cmath>

#include "db/entities/helix.h"
#include "db/entity_dxf.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Spline, "AcDbSpline", "SPLINE", Curve)

template <class Io, class Self>
void Spline::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbSpline");
    io.vec(210, self.normal_, Vector3d());
    io.i16(70, self.flags_);
    io.i16(71, self.degree_);
    // The counts come first, their lists after the tolerances and tangents.
    const ListCount knots = io.count(72, self.knots_);
    const ListCount points = io.count(73, self.controlPoints_);
    const ListCount fitPoints = io.count(74, self.fitPoints_);
    io.real(42, self.knotTolerance_);
    io.real(43, self.controlPointTolerance_);
    io.optional(!self.fitPoints_.empty(), [&] { io.real(44, self.fitTolerance_); });
    io.optional(!self.startTangent_.isZero(0.0), [&] { io.vec(12, self.startTangent_); });
    io.optional(!self.endTangent_.isZero(0.0), [&] { io.vec(13, self.endTangent_); });
    io.items(
        40, self.knots_, [](auto& io, auto& k) { io.real(40, k); }, knots);
    // One weight per control point, or none for a non-rational spline.
    io.items(
        41, self.weights_, [](auto& io, auto& w) { io.real(41, w); }, points);
    io.items(
        10, self.controlPoints_, [](auto& io, auto& p) { io.point(10, p); }, points);
    io.items(
        11, self.fitPoints_, [](auto& io, auto& p) { io.point(11, p); }, fitPoints);
}

VELA_DB_DEFINE_DXF(Spline)

// A helix writes and reads the groups of its spline before its own.
template void Spline::dxfFields<DxfWriteIo, const Helix>(DxfWriteIo&, const Helix&);
template void Spline::dxfFields<DxfReadIo, Helix>(DxfReadIo&, Helix&);

ErrorStatus Spline::setNurbsData(int degree, std::vector<Point3d> points, std::vector<double> knots,
                                 std::vector<double> weights, bool periodic) {
    if (degree < 1 || points.size() < static_cast<std::size_t>(degree) + 1) return ErrorStatus::InvalidInput;
    if (knots.size() != points.size() + static_cast<std::size_t>(degree) + 1)
        return ErrorStatus::InvalidInput;
    if (!weights.empty() && weights.size() != points.size()) return ErrorStatus::InvalidInput;
    for (std::size_t i = 1; i < knots.size(); ++i)
        if (!(knots[i] >= knots[i - 1])) return ErrorStatus::InvalidInput;
    if (!(knots.back() > knots.front())) return ErrorStatus::InvalidInput;
    for (double w : weights)
        if (!(w > 0.0) || !std::isfinite(w)) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    degree_ = degree;
    controlPoints_ = std::move(points);
    knots_ = std::move(knots);
    weights_ = std::move(weights);
    flags_ = static_cast<std::int16_t>((flags_ & ~(2 | 4)) | (periodic ? 2 : 0) | (weights_.empty() ? 0 : 4));
    return ErrorStatus::Ok;
}

void Spline::setFitData(std::vector<Point3d> fitPoints, const Vector3d& startTangent,
                        const Vector3d& endTangent, double fitTolerance) {
    assertWriteEnabled();
    fitPoints_ = std::move(fitPoints);
    startTangent_ = startTangent;
    endTangent_ = endTangent;
    fitTolerance_ = fitTolerance;
}

void Spline::setTolerances(double knot, double controlPoint, double fit) {
    assertWriteEnabled();
    knotTolerance_ = knot, controlPointTolerance_ = controlPoint, fitTolerance_ = fit;
}

Point3d Spline::evaluate(double t) const {
    const std::size_t n = controlPoints_.size();
    const int p = degree_;
    if (n == 0 || knots_.size() != n + static_cast<std::size_t>(p) + 1) {
        if (fitPoints_.empty()) return {};
        return fitPoints_.front();
    }
    const double lo = knots_[static_cast<std::size_t>(p)], hi = knots_[n];
    t = std::clamp(t, lo, hi);
    // Find span k with knots[k] <= t < knots[k+1], k in [p, n-1].
    std::size_t k = static_cast<std::size_t>(p);
    while (k + 1 < n && knots_[k + 1] <= t) ++k;
    // De Boor on homogeneous coordinates.
    struct H {
        double x, y, z, w;
    };
    std::vector<H> d(static_cast<std::size_t>(p) + 1);
    // Weights count only when there is one per point; a file may give another number of them.
    const bool weighted = weights_.size() == n;
    for (int j = 0; j <= p; ++j) {
        const std::size_t i = k - static_cast<std::size_t>(p) + static_cast<std::size_t>(j);
        const double w = weighted ? weights_[i] : 1.0;
        d[static_cast<std::size_t>(j)] = {controlPoints_[i].x * w, controlPoints_[i].y * w,
                                          controlPoints_[i].z * w, w};
    }
    for (int r = 1; r <= p; ++r) {
        for (int j = p; j >= r; --j) {
            const std::size_t i = k - static_cast<std::size_t>(p) + static_cast<std::size_t>(j);
            const double denom =
                knots_[i + static_cast<std::size_t>(p) + 1 - static_cast<std::size_t>(r)] - knots_[i];
            const double a = denom == 0.0 ? 0.0 : (t - knots_[i]) / denom;
            H& cur = d[static_cast<std::size_t>(j)];
            const H& prev = d[static_cast<std::size_t>(j) - 1];
            cur = {(1 - a) * prev.x + a * cur.x, (1 - a) * prev.y + a * cur.y, (1 - a) * prev.z + a * cur.z,
                   (1 - a) * prev.w + a * cur.w};
        }
    }
    const H& h = d[static_cast<std::size_t>(p)];
    return h.w == 0.0 ? Point3d(h.x, h.y, h.z) : Point3d(h.x / h.w, h.y / h.w, h.z / h.w);
}

ErrorStatus Spline::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    const std::size_t n = controlPoints_.size();
    if (n == 0 || knots_.size() != n + static_cast<std::size_t>(degree_) + 1) {
        if (fitPoints_.empty()) return ErrorStatus::InvalidInput;
        for (const Point3d& p : fitPoints_) extents.addPoint(p);
        return ErrorStatus::Ok;
    }
    constexpr int kSamples = 32;
    for (std::size_t k = static_cast<std::size_t>(degree_); k < n; ++k) {
        const double a = knots_[k], b = knots_[k + 1];
        if (!(b > a)) continue;
        std::vector<Point3d> pts(kSamples + 1);
        for (int i = 0; i <= kSamples; ++i)
            pts[static_cast<std::size_t>(i)] = evaluate(a + (b - a) * i / kSamples);
        for (const Point3d& p : pts) extents.addPoint(p);
        // Refine interior extremes per axis by golden-section search around each sampled local extreme.
        for (int axis = 0; axis < 3; ++axis) {
            auto coord = [&](const Point3d& p) { return axis == 0 ? p.x : axis == 1 ? p.y : p.z; };
            for (int i = 1; i < kSamples; ++i) {
                const double c0 = coord(pts[static_cast<std::size_t>(i) - 1]),
                             c1 = coord(pts[static_cast<std::size_t>(i)]),
                             c2 = coord(pts[static_cast<std::size_t>(i) + 1]);
                const bool isMax = c1 >= c0 && c1 >= c2 && (c1 > c0 || c1 > c2);
                const bool isMin = c1 <= c0 && c1 <= c2 && (c1 < c0 || c1 < c2);
                if (!isMax && !isMin) continue;
                double lo = a + (b - a) * (i - 1) / kSamples, hi = a + (b - a) * (i + 1) / kSamples;
                const double sign = isMax ? -1.0 : 1.0;
                for (int it = 0; it < 60; ++it) {
                    const double m1 = lo + (hi - lo) * 0.381966, m2 = hi - (hi - lo) * 0.381966;
                    if (sign * coord(evaluate(m1)) < sign * coord(evaluate(m2)))
                        hi = m2;
                    else
                        lo = m1;
                }
                extents.addPoint(evaluate((lo + hi) / 2));
            }
        }
    }
    return ErrorStatus::Ok;
}

ErrorStatus Spline::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    for (Point3d& p : controlPoints_) p = m.apply(p);
    for (Point3d& p : fitPoints_) p = m.apply(p);
    startTangent_ = m.apply(startTangent_);
    endTangent_ = m.apply(endTangent_);
    if (!normal_.isZero()) {
        const Vector3d n = m.apply(normal_);
        if (!n.isZero()) normal_ = n.normalized();
    }
    return ErrorStatus::Ok;
}

}  // namespace vela::db
