#include "render/flatten.h"

#include <algorithm>
#include <cmath>

#include "db/geometry/plane.h"

namespace vela::render {

using db::Point2d;
using db::Point3d;

int arcSegments(double radius, double sweep, double tolerance) {
    radius = std::abs(radius), sweep = std::abs(sweep);
    if (!(radius > 0) || !(sweep > 0) || !std::isfinite(radius * sweep)) return 1;
    double step = db::kPi / 2;
    if (tolerance > 0 && tolerance < radius) step = std::min(step, 2.0 * std::acos(1.0 - tolerance / radius));
    const double n = std::ceil(sweep / std::max(step, 1e-6));
    return static_cast<int>(std::clamp(n, 1.0, 4096.0));
}

void appendBulgeSegment(std::vector<Point2d>& out, const Point2d& a, const Point2d& b, double bulge,
                        double tolerance) {
    if (bulge == 0.0 || !std::isfinite(bulge)) {
        out.push_back(b);
        return;
    }
    const double chord = std::hypot(b.x - a.x, b.y - a.y);
    if (chord <= 0.0) {
        out.push_back(b);
        return;
    }
    const double sweep = 4.0 * std::atan(bulge);  // signed: positive counter-clockwise
    const double radius = chord / (2.0 * std::sin(std::abs(sweep) / 2.0));
    // The center lies on the chord's perpendicular bisector, on the left for a counter-clockwise arc.
    const double mx = (a.x + b.x) / 2, my = (a.y + b.y) / 2;
    const double ux = (b.x - a.x) / chord, uy = (b.y - a.y) / chord;
    // The center lies on the chord's perpendicular bisector: on the left of the chord for a counter-clockwise
    // sweep under half a turn, on the right beyond it (the tangent's sign says which).
    const double toCenter = (chord / 2.0) / std::tan(sweep / 2.0);
    const double cx = mx - uy * toCenter, cy = my + ux * toCenter;
    const double start = std::atan2(a.y - cy, a.x - cx);
    const int n = arcSegments(radius, sweep, tolerance);
    for (int i = 1; i < n; ++i) {
        const double t = start + sweep * i / n;
        out.push_back({cx + radius * std::cos(t), cy + radius * std::sin(t)});
    }
    out.push_back(b);
}

namespace {

// The B-spline basis functions of degree p that are not zero at u in knot span `span`.
void basisFunctions(std::size_t span, double u, int p, const std::vector<double>& knots,
                    std::vector<double>& n) {
    n.assign(static_cast<std::size_t>(p) + 1, 0.0);
    std::vector<double> left(n.size()), right(n.size());
    n[0] = 1.0;
    for (std::size_t j = 1; j <= static_cast<std::size_t>(p); ++j) {
        left[j] = u - knots[span + 1 - j];
        right[j] = knots[span + j] - u;
        double saved = 0.0;
        for (std::size_t r = 0; r < j; ++r) {
            const double denominator = right[r + 1] + left[j - r];
            const double t = denominator != 0.0 ? n[r] / denominator : 0.0;
            n[r] = saved + right[r + 1] * t;
            saved = left[j - r] * t;
        }
        n[j] = saved;
    }
}

// The tangent direction at the first of three points from the parabola through them, parametrised by chord
// length.
db::Vector3d endTangent(const Point3d& q0, const Point3d& q1, const Point3d& q2) {
    const double h1 = q1.distanceTo(q0), h2 = q2.distanceTo(q1);
    if (!(h1 > 0) || !(h2 > 0)) return (q1 - q0).normalized();
    const db::Vector3d d = (q1 - q0) / h1 * ((2 * h1 + h2) / (h1 + h2)) - (q2 - q1) / h2 * (h1 / (h1 + h2));
    return d.normalized();
}

// The cubic B-spline through the fit points as drawing programs make it: parameters by chord length, the
// parameters themselves as inner knots, and the end tangents the spline gives (estimated when it gives none),
// which makes two control points more than fit points. False when the points do not make one (fewer than
// three distinct ones, or too many to solve for here).
bool interpolateFitPoints(const db::Spline& spline, db::Spline& out) {
    std::vector<Point3d> q;
    for (const Point3d& p : spline.fitPoints())
        if (q.empty() || !q.back().isEqualTo(p)) q.push_back(p);
    if (q.size() < 3 || q.size() > 2000) return false;
    const std::size_t n = q.size() - 1;
    std::vector<double> u(n + 1, 0.0);
    double total = 0.0;
    for (std::size_t k = 1; k <= n; ++k) total += q[k].distanceTo(q[k - 1]);
    for (std::size_t k = 1; k <= n; ++k) u[k] = u[k - 1] + q[k].distanceTo(q[k - 1]) / total;
    u[n] = 1.0;
    std::vector<double> knots{0, 0, 0, 0};
    for (std::size_t k = 1; k < n; ++k) knots.push_back(u[k]);
    knots.insert(knots.end(), {1, 1, 1, 1});
    // Derivatives with respect to the parameter: the tangent's direction times the curve's length.
    db::Vector3d d0 = spline.startTangent(), dn = spline.endTangent();
    d0 = (d0.isZero() ? endTangent(q[0], q[1], q[2]) : d0.normalized()) * total;
    dn = (dn.isZero() ? -endTangent(q[n], q[n - 1], q[n - 2]) : dn.normalized()) * total;
    // Unknowns P0 .. P(n+2); the first two and last two follow from the ends, the others from the inner fit
    // points, one banded row each.
    const std::size_t count = n + 3;
    std::vector<std::vector<double>> a(count, std::vector<double>(count, 0.0));
    std::vector<db::Vector3d> rhs(count);
    a[0][0] = 1, rhs[0] = q[0].asVector();
    a[1][1] = 1, rhs[1] = q[0].asVector() + d0 * (u[1] / 3);
    a[count - 2][count - 2] = 1, rhs[count - 2] = q[n].asVector() - dn * ((1 - u[n - 1]) / 3);
    a[count - 1][count - 1] = 1, rhs[count - 1] = q[n].asVector();
    std::vector<double> basis;
    for (std::size_t k = 1; k < n; ++k) {
        std::size_t span = 3;
        while (span + 1 < count && knots[span + 1] <= u[k]) ++span;
        basisFunctions(span, u[k], 3, knots, basis);
        for (std::size_t j = 0; j <= 3; ++j) a[k + 1][span - 3 + j] = basis[j];
        rhs[k + 1] = q[k].asVector();
    }
    constexpr std::size_t kBand = 4;
    for (std::size_t k = 0; k < count; ++k) {
        const double pivot = a[k][k];
        if (std::abs(pivot) < 1e-12) return false;
        for (std::size_t r = k + 1; r < std::min(count, k + kBand + 1); ++r) {
            const double f = a[r][k] / pivot;
            if (f == 0.0) continue;
            for (std::size_t c = k; c < std::min(count, k + kBand + 1); ++c) a[r][c] -= f * a[k][c];
            rhs[r] = rhs[r] - rhs[k] * f;
        }
    }
    std::vector<Point3d> control(count);
    for (std::size_t k = count; k-- > 0;) {
        db::Vector3d v = rhs[k];
        for (std::size_t c = k + 1; c < std::min(count, k + kBand + 1); ++c)
            v = v - control[c].asVector() * a[k][c];
        v = v / a[k][k];
        control[k] = {v.x, v.y, v.z};
    }
    return out.setNurbsData(3, std::move(control), std::move(knots), {}) == db::ErrorStatus::Ok;
}

}  // namespace

std::vector<Point3d> flattenSpline(const db::Spline& spline, double tolerance) {
    const auto& cps = spline.controlPoints();
    const auto& knots = spline.knots();
    const std::size_t p = static_cast<std::size_t>(std::max(spline.degree(), 1));
    if (cps.empty() || knots.size() != cps.size() + p + 1) {
        // Only fit points: the curve through them.
        db::Spline through;
        if (interpolateFitPoints(spline, through)) return flattenSpline(through, tolerance);
        return spline.fitPoints();
    }
    // Each knot span gets enough stations for the length of its control polygon.
    double polygon = 0.0;
    for (std::size_t i = 1; i < cps.size(); ++i) polygon += cps[i].distanceTo(cps[i - 1]);
    const double lo = knots[p], hi = knots[cps.size()];
    if (!(hi > lo)) return {spline.evaluate(lo)};
    const double perSpan = std::clamp(std::sqrt(polygon / std::max(tolerance, 1e-12)) / 2.0, 4.0, 64.0);
    std::vector<Point3d> out;
    out.push_back(spline.evaluate(lo));
    for (std::size_t k = p; k < cps.size(); ++k) {
        const double a = knots[k], b = knots[k + 1];
        if (!(b > a)) continue;
        const int n = static_cast<int>(perSpan);
        for (int i = 1; i <= n; ++i) out.push_back(spline.evaluate(a + (b - a) * i / n));
    }
    return out;
}

namespace {

void appendEdge(std::vector<Point2d>& out, const db::HatchEdge& e, double tolerance) {
    using Type = db::HatchEdge::Type;
    switch (e.type) {
        case Type::Line:
            out.push_back(e.start), out.push_back(e.end);
            return;
        case Type::CircularArc:
        case Type::EllipticArc: {
            Point2d u, v;
            if (e.type == Type::CircularArc) {
                u = {e.radius, 0}, v = {0, e.radius};
            } else {
                u = e.majorAxis;
                v = {-e.majorAxis.y * e.ratio, e.majorAxis.x * e.ratio};
            }
            // A clockwise edge runs from its start clockwise to its end.
            const double sweep = e.counterClockwise ? db::sweepAngle(e.startAngle, e.endAngle)
                                                    : -db::sweepAngle(e.endAngle, e.startAngle);
            const double radius = std::max(std::hypot(u.x, u.y), std::hypot(v.x, v.y));
            const int n = arcSegments(radius, sweep, tolerance);
            for (int i = 0; i <= n; ++i) {
                const double t = e.startAngle + sweep * i / n;
                out.push_back({e.center.x + u.x * std::cos(t) + v.x * std::sin(t),
                               e.center.y + u.y * std::cos(t) + v.y * std::sin(t)});
            }
            return;
        }
        case Type::Spline: {
            db::Spline s;
            std::vector<Point3d> pts;
            for (const Point2d& q : e.controlPoints) pts.push_back(q.to3d());
            if (s.setNurbsData(e.degree, pts, e.knots, e.rational ? e.weights : std::vector<double>{}) !=
                db::ErrorStatus::Ok) {
                std::vector<Point3d> fit;
                for (const Point2d& q : e.fitPoints) fit.push_back(q.to3d());
                s.setFitData(fit);
            }
            for (const Point3d& q : flattenSpline(s, tolerance)) out.push_back({q.x, q.y});
            return;
        }
    }
}

}  // namespace

std::vector<Point2d> flattenLoop(const db::HatchLoop& loop, double tolerance) {
    std::vector<Point2d> out;
    if (loop.isPolyline()) {
        const std::size_t n = loop.vertices.size();
        if (n == 0) return out;
        out.push_back(loop.vertices[0].point);
        for (std::size_t i = 0; i + 1 < n; ++i)
            appendBulgeSegment(out, loop.vertices[i].point, loop.vertices[i + 1].point,
                               loop.vertices[i].bulge, tolerance);
        // Polyline loops are closed by definition; the last vertex's bulge shapes the closing segment.
        if (n > 2 || loop.vertices[n - 1].bulge != 0.0)
            appendBulgeSegment(out, loop.vertices[n - 1].point, loop.vertices[0].point,
                               loop.vertices[n - 1].bulge, tolerance);
    } else {
        for (const db::HatchEdge& e : loop.edges) {
            std::vector<Point2d> pts;
            appendEdge(pts, e, tolerance);
            // Consecutive edges share their ends; a repeated point adds nothing.
            for (const Point2d& q : pts)
                if (out.empty() || std::hypot(out.back().x - q.x, out.back().y - q.y) > 1e-12)
                    out.push_back(q);
        }
    }
    if (out.size() > 1 && std::hypot(out.front().x - out.back().x, out.front().y - out.back().y) <= 1e-12)
        out.pop_back();
    return out;
}

std::vector<std::pair<Point2d, Point2d>> patternSegments(const db::HatchPatternLine& line,
                                                         const std::vector<std::vector<Point2d>>& loops,
                                                         std::size_t limit, bool* tooMany) {
    std::vector<std::pair<Point2d, Point2d>> out;
    if (tooMany) *tooMany = false;
    const double dx = std::cos(line.angle), dy = std::sin(line.angle);
    const double nx = -dy, ny = dx;
    const Point2d base = line.base;
    double spacing = line.offset.x * nx + line.offset.y * ny;  // distance between neighbouring lines
    double shift = line.offset.x * dx + line.offset.y * dy;    // how far the pattern moves along them
    if (!(std::abs(spacing) > 1e-12) || !std::isfinite(spacing)) return out;
    if (spacing < 0) spacing = -spacing, shift = -shift;
    double lo = INFINITY, hi = -INFINITY;
    for (const auto& loop : loops)
        for (const Point2d& q : loop) {
            const double h = (q.x - base.x) * nx + (q.y - base.y) * ny;
            lo = std::min(lo, h), hi = std::max(hi, h);
        }
    if (!(hi >= lo)) return out;
    const double first = std::ceil(lo / spacing), last = std::floor(hi / spacing);
    if (last - first + 1 > static_cast<double>(limit)) {
        if (tooMany) *tooMany = true;
        return out;
    }
    double period = 0.0;
    for (const double d : line.dashes) period += std::abs(d);
    std::vector<double> crossings;
    for (double k = first; k <= last; ++k) {
        // The line's origin: the base moved k times by the offset, which keeps the dashes' phase.
        const double ox = base.x + nx * spacing * k + dx * shift * k,
                     oy = base.y + ny * spacing * k + dy * shift * k;
        crossings.clear();
        for (const auto& loop : loops) {
            const std::size_t n = loop.size();
            for (std::size_t i = 0; i < n; ++i) {
                const Point2d &p = loop[i], &q = loop[(i + 1) % n];
                const double hp = (p.x - ox) * nx + (p.y - oy) * ny, hq = (q.x - ox) * nx + (q.y - oy) * ny;
                // Half-open test: a vertex lying on the line counts for one of its two edges only.
                if ((hp >= 0) == (hq >= 0)) continue;
                const double tp = (p.x - ox) * dx + (p.y - oy) * dy, tq = (q.x - ox) * dx + (q.y - oy) * dy;
                crossings.push_back(tp + (tq - tp) * hp / (hp - hq));
            }
        }
        std::sort(crossings.begin(), crossings.end());
        auto at = [&](double t) { return Point2d{ox + dx * t, oy + dy * t}; };
        for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
            const double ta = crossings[i], tb = crossings[i + 1];
            if (period <= 0.0 || (tb - ta) / period > 1e5) {
                out.emplace_back(at(ta), at(tb));
                continue;
            }
            double pos = std::floor(ta / period) * period;
            while (pos <= tb) {
                for (const double d : line.dashes) {
                    const double len = std::abs(d);
                    if (d > 0) {
                        const double a = std::max(pos, ta), b = std::min(pos + len, tb);
                        if (b > a) out.emplace_back(at(a), at(b));
                    } else if (d == 0 && pos >= ta && pos <= tb) {
                        out.emplace_back(at(pos), at(pos));
                    }
                    pos += len;
                    if (pos > tb) break;
                }
            }
        }
        if (out.size() > limit * 200) {
            if (tooMany) *tooMany = true;
            out.clear();
            return out;
        }
    }
    return out;
}

}  // namespace vela::render
