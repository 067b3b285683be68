#include "host/hatch/boundary_search.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <numeric>
#include <unordered_map>

#include "db/geometry/plane.h"

namespace vela::host::hatch {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kTwoPi = 2 * std::numbers::pi;

using db::Point2d;

double cross(Point2d a, Point2d b) {
    return a.x * b.y - a.y * b.x;
}
double dot(Point2d a, Point2d b) {
    return a.x * b.x + a.y * b.y;
}
Point2d minus(Point2d a, Point2d b) {
    return {a.x - b.x, a.y - b.y};
}
double distance(Point2d a, Point2d b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

Point2d plus(Point2d a, Point2d b) {
    return {a.x + b.x, a.y + b.y};
}
Point2d times(Point2d a, double k) {
    return {a.x * k, a.y * k};
}
double length(Point2d a) {
    return std::hypot(a.x, a.y);
}

bool isCurved(const Piece& p) {
    return p.kind != Piece::Kind::Line;
}

bool isClosed(const Piece& p, double eps) {
    switch (p.kind) {
        case Piece::Kind::Line:
            return false;
        case Piece::Kind::Arc:
        case Piece::Kind::Ellipse:
            return std::fabs(p.sweep) >= kTwoPi - 1e-12;
        case Piece::Kind::Spline:
            return distance(p.start, p.end) <= eps;
    }
    return false;
}

// A point in the frame where the ellipse is the unit circle around the origin.
Point2d inEllipseFrame(const Piece& p, Point2d q) {
    const Point2d w = minus(q, p.center), n = p.minorAxis();
    const double det = cross(p.majorAxis, n);
    return {cross(w, n) / det, cross(p.majorAxis, w) / det};
}

// The parameters (of the piece, in [0, 1]) where a spline piece's knot spans begin and end.
std::vector<double> splineBreaks(const Piece& p) {
    const double u0 = p.startAngle, u1 = p.startAngle + p.sweep;
    std::vector<double> out;
    for (double u : p.spline->breaks(std::min(u0, u1), std::max(u0, u1)))
        out.push_back(std::clamp((u - u0) / p.sweep, 0.0, 1.0));
    std::sort(out.begin(), out.end());
    return out;
}

// Parameters along the piece close enough together that the piece turns little between two of them.
std::vector<double> stations(const Piece& p) {
    std::vector<double> out;
    if (p.kind == Piece::Kind::Line) return {0.0, 1.0};
    if (p.kind != Piece::Kind::Spline) {
        const int n = std::max(4, static_cast<int>(std::ceil(std::fabs(p.sweep) / kTwoPi * 64)));
        for (int i = 0; i <= n; ++i) out.push_back(static_cast<double>(i) / n);
        return out;
    }
    const std::vector<double> breaks = splineBreaks(p);
    out.push_back(0.0);
    for (std::size_t k = 0; k + 1 < breaks.size(); ++k)
        for (int i = 1; i <= 16; ++i) out.push_back(breaks[k] + (breaks[k + 1] - breaks[k]) * i / 16);
    return out;
}

// How long the piece is, roughly (to turn a distance into a parameter step).
double extent(const Piece& p) {
    switch (p.kind) {
        case Piece::Kind::Line:
            return distance(p.start, p.end);
        case Piece::Kind::Arc:
            return p.radius * std::fabs(p.sweep);
        case Piece::Kind::Ellipse:
            return length(p.minorAxis()) * std::fabs(p.sweep);
        case Piece::Kind::Spline: {
            const std::vector<double> t = stations(p);
            double sum = 0;
            for (std::size_t i = 0; i + 1 < t.size(); ++i)
                sum += distance(p.pointAt(t[i]), p.pointAt(t[i + 1]));
            return sum;
        }
    }
    return 0;
}

// The parameter of the point of the piece nearest `q`: the nearest station, refined by Newton's method on
// the distance's derivative.
double nearestParameter(const Piece& p, Point2d q) {
    const std::vector<double> ts = stations(p);
    double t = 0, best = INFINITY;
    for (double s : ts)
        if (const double d = distance(p.pointAt(s), q); d < best) best = d, t = s;
    for (int iteration = 0; iteration < 40; ++iteration) {
        Point2d d1, d2;
        p.derivatives(t, d1, d2);
        const Point2d r = minus(p.pointAt(t), q);
        const double slope = dot(d1, r), curvature = dot(d1, d1) + dot(d2, r);
        if (!(curvature > 0)) break;
        const double next = std::clamp(t - slope / curvature, 0.0, 1.0);
        const bool still = std::fabs(next - t) < 1e-15;
        t = next;
        if (still) break;
    }
    return t;
}

// The parameter (0 at the start, 1 at the end) of a point known to lie on the piece's line, circle, ellipse
// or spline; outside [0, 1] when it is beyond the piece.
double parameterOf(const Piece& p, Point2d q) {
    if (p.kind == Piece::Kind::Line) {
        const Point2d d = minus(p.end, p.start);
        const double length2 = dot(d, d);
        return length2 > 0 ? dot(minus(q, p.start), d) / length2 : 0;
    }
    if (p.kind == Piece::Kind::Spline) return nearestParameter(p, q);
    double angle, size;
    if (p.kind == Piece::Kind::Arc) {
        angle = std::atan2(q.y - p.center.y, q.x - p.center.x), size = p.radius;
    } else {
        const Point2d f = inEllipseFrame(p, q);
        angle = std::atan2(f.y, f.x), size = length(p.majorAxis);
    }
    const double along = db::normalizeAngle(angle - p.startAngle);  // arcs are counter-clockwise here
    const double t = along / p.sweep;
    // Just before the start reads as just below 0, not as far beyond the end.
    if (t > 1 && (kTwoPi - along) * size < 1e-9 * std::max(1.0, size)) return -(kTwoPi - along) / p.sweep;
    return t;
}

// Whether `q` lies on the piece's line or circle, or on the piece itself for ellipses and splines.
bool onPiece(const Piece& p, Point2d q, double eps) {
    switch (p.kind) {
        case Piece::Kind::Line:
            return std::fabs(cross(minus(p.end, p.start), minus(q, p.start))) <=
                   eps * std::max(1e-300, distance(p.start, p.end));
        case Piece::Kind::Arc:
            return std::fabs(distance(q, p.center) - p.radius) <= eps;
        default:
            return distance(p.pointAt(nearestParameter(p, q)), q) <= eps;
    }
}

// Where two curved pieces meet, at least one of them an elliptic arc or a spline: near each place where their
// flattenings cross or come close, Newton's method on both parameters finds the point they share.
void meetNumerically(const Piece& a, const Piece& b, double eps, std::vector<double>& ta,
                     std::vector<double>& tb) {
    const std::vector<double> sa = stations(a), sb = stations(b);
    std::vector<Point2d> pa, pb;
    for (double s : sa) pa.push_back(a.pointAt(s));
    for (double t : sb) pb.push_back(b.pointAt(t));
    for (std::size_t i = 0; i + 1 < pa.size(); ++i)
        for (std::size_t j = 0; j + 1 < pb.size(); ++j) {
            // Segments near enough that the curves they stand for may meet.
            const double margin =
                0.25 * std::max(distance(pa[i], pa[i + 1]), distance(pb[j], pb[j + 1])) + 4 * eps;
            if (std::min(pa[i].x, pa[i + 1].x) > std::max(pb[j].x, pb[j + 1].x) + margin ||
                std::min(pb[j].x, pb[j + 1].x) > std::max(pa[i].x, pa[i + 1].x) + margin ||
                std::min(pa[i].y, pa[i + 1].y) > std::max(pb[j].y, pb[j + 1].y) + margin ||
                std::min(pb[j].y, pb[j + 1].y) > std::max(pa[i].y, pa[i + 1].y) + margin)
                continue;
            // Start where the segments cross, or from their middles.
            double u = 0.5, v = 0.5;
            const Point2d d1 = minus(pa[i + 1], pa[i]), d2 = minus(pb[j + 1], pb[j]);
            if (const double den = cross(d1, d2); den != 0) {
                u = std::clamp(cross(minus(pb[j], pa[i]), d2) / den, 0.0, 1.0);
                v = std::clamp(cross(minus(pb[j], pa[i]), d1) / den, 0.0, 1.0);
            }
            double s = sa[i] + u * (sa[i + 1] - sa[i]), t = sb[j] + v * (sb[j + 1] - sb[j]);
            Point2d gap = minus(a.pointAt(s), b.pointAt(t));
            for (int iteration = 0; iteration < 60 && length(gap) > 1e-3 * eps; ++iteration) {
                Point2d da, db, unused;
                a.derivatives(s, da, unused);
                b.derivatives(t, db, unused);
                const double det = -cross(da, db);
                if (std::fabs(det) <= 1e-300) break;
                s = std::clamp(s + cross(gap, db) / det, 0.0, 1.0);
                t = std::clamp(t + cross(gap, da) / det, 0.0, 1.0);
                gap = minus(a.pointAt(s), b.pointAt(t));
            }
            if (length(gap) <= eps) ta.push_back(s), tb.push_back(t);
        }
}

// Where two pieces meet, as parameters on each (points of touching included; overlapping stretches give their
// ends).
void meet(const Piece& a, const Piece& b, double eps, std::vector<double>& ta, std::vector<double>& tb) {
    const double sa = extent(a), sb = extent(b);
    const double ea = sa > 0 ? eps / sa : 0, eb = sb > 0 ? eps / sb : 0;
    auto add = [&](Point2d q) {
        const double s = parameterOf(a, q), t = parameterOf(b, q);
        if (s < -ea || s > 1 + ea || t < -eb || t > 1 + eb) return;
        ta.push_back(std::clamp(s, 0.0, 1.0));
        tb.push_back(std::clamp(t, 0.0, 1.0));
    };
    // Ends lying on the other piece (touching, overlapping).
    for (Point2d q : {a.start, a.end})
        if (onPiece(b, q, eps)) add(q);
    for (Point2d q : {b.start, b.end})
        if (onPiece(a, q, eps)) add(q);
    if (a.kind == Piece::Kind::Line && b.kind == Piece::Kind::Line) {
        const Point2d d1 = minus(a.end, a.start), d2 = minus(b.end, b.start);
        const double den = cross(d1, d2);
        if (std::fabs(den) <= 1e-12 * std::hypot(d1.x, d1.y) * std::hypot(d2.x, d2.y)) return;
        const double t = cross(minus(b.start, a.start), d2) / den;
        add({a.start.x + t * d1.x, a.start.y + t * d1.y});
        return;
    }
    if (a.kind == Piece::Kind::Arc && b.kind == Piece::Kind::Arc) {
        const double d = distance(a.center, b.center);
        if (d <= eps || d > a.radius + b.radius + eps || d < std::fabs(a.radius - b.radius) - eps) return;
        const double along = (a.radius * a.radius - b.radius * b.radius + d * d) / (2 * d);
        const double h = std::sqrt(std::max(0.0, a.radius * a.radius - along * along));
        const Point2d u{(b.center.x - a.center.x) / d, (b.center.y - a.center.y) / d};
        const Point2d m{a.center.x + along * u.x, a.center.y + along * u.y};
        add({m.x - h * u.y, m.y + h * u.x});
        if (h > eps) add({m.x + h * u.y, m.y - h * u.x});
        return;
    }
    const bool oneLine = a.kind == Piece::Kind::Line || b.kind == Piece::Kind::Line;
    const Piece& line = a.kind == Piece::Kind::Line ? a : b;
    const Piece& curve = a.kind == Piece::Kind::Line ? b : a;
    if (!oneLine || curve.kind == Piece::Kind::Spline) {
        meetNumerically(a, b, eps, ta, tb);
        return;
    }
    // A line and a circle, or a line and an ellipse in the frame where the ellipse is a circle (lines stay
    // lines there, and keep their parameters).
    const bool elliptic = curve.kind == Piece::Kind::Ellipse;
    const Point2d from = elliptic ? inEllipseFrame(curve, line.start) : line.start;
    const Point2d to = elliptic ? inEllipseFrame(curve, line.end) : line.end;
    const Point2d centre = elliptic ? Point2d{0, 0} : curve.center;
    const double radius = elliptic ? 1.0 : curve.radius;
    const double tolerance = elliptic ? eps / length(curve.minorAxis()) : eps;
    const Point2d d = minus(to, from), f = minus(from, centre);
    const double qa = dot(d, d), qb = 2 * dot(f, d), qc = dot(f, f) - radius * radius;
    if (qa <= 0) return;
    double disc = qb * qb - 4 * qa * qc;
    // A line that touches the circle within the tolerance meets it once.
    const double touch = 2 * tolerance * std::sqrt(qa) * 2 * radius;
    if (disc < -touch) return;
    disc = std::max(0.0, disc);
    const Point2d world = minus(line.end, line.start);
    for (double sign : {-1.0, 1.0}) {
        const double t = (-qb + sign * std::sqrt(disc)) / (2 * qa);
        add({line.start.x + t * world.x, line.start.y + t * world.y});
        if (disc == 0) break;
    }
}

Piece part(const Piece& p, double t0, double t1) {
    Piece q = p;
    q.start = p.pointAt(t0), q.end = p.pointAt(t1);
    if (isCurved(p)) q.startAngle = p.startAngle + t0 * p.sweep, q.sweep = (t1 - t0) * p.sweep;
    return q;
}

Piece reversed(const Piece& p) {
    Piece q = p;
    std::swap(q.start, q.end);
    if (isCurved(p)) q.startAngle = p.startAngle + p.sweep, q.sweep = -p.sweep;
    return q;
}

// The direction a piece leaves its start in, as an angle, and how it bends (for pieces leaving in one
// direction: the one bending left lies further counter-clockwise).
std::pair<long long, double> leaving(const Piece& p) {
    double angle;
    double bend = 0;
    if (p.kind == Piece::Kind::Line) {
        angle = std::atan2(p.end.y - p.start.y, p.end.x - p.start.x);
    } else if (p.kind == Piece::Kind::Arc) {
        angle = p.startAngle + (p.sweep > 0 ? kPi / 2 : -kPi / 2);
        bend = (p.sweep > 0 ? 1 : -1) / p.radius;
    } else {
        Point2d d1, d2;
        p.derivatives(0, d1, d2);
        angle = std::atan2(d1.y, d1.x);
        bend = cross(d1, d2) / std::pow(length(d1), 3);
    }
    return {std::llround(db::normalizeAngle(angle) * 1e9), bend};
}

// Twice the signed area the piece sweeps seen from the origin (summed over a loop: twice its area).
double areaTerm(const Piece& p) {
    switch (p.kind) {
        case Piece::Kind::Line:
            return cross(p.start, p.end);
        case Piece::Kind::Arc:
        case Piece::Kind::Ellipse: {
            // The integral of x dy - y dx over c + M cos t + N sin t.
            const Point2d m = p.kind == Piece::Kind::Arc ? Point2d{p.radius, 0} : p.majorAxis;
            const Point2d n = p.kind == Piece::Kind::Arc ? Point2d{0, p.radius} : p.minorAxis();
            const double t0 = p.startAngle, t1 = p.startAngle + p.sweep;
            return cross(p.center, m) * (std::cos(t1) - std::cos(t0)) +
                   cross(p.center, n) * (std::sin(t1) - std::sin(t0)) + cross(m, n) * p.sweep;
        }
        case Piece::Kind::Spline: {
            // Gauss-Legendre with eight nodes on each knot span: exact for polynomial splines up to degree 8,
            // and on quarter spans close to exact for rational ones.
            static constexpr double kNodes[] = {0.1834346424956498, 0.5255324099163290, 0.7966664774136267,
                                                0.9602898564975363};
            static constexpr double kWeights[] = {0.3626837833783620, 0.3137066458778873, 0.2223810344533745,
                                                  0.1012285362903763};
            const std::vector<double> breaks = splineBreaks(p);
            const int pieces = p.spline->rational() ? 4 : 1;
            double sum = 0;
            for (std::size_t k = 0; k + 1 < breaks.size(); ++k)
                for (int j = 0; j < pieces; ++j) {
                    const double a = breaks[k] + (breaks[k + 1] - breaks[k]) * j / pieces;
                    const double b = breaks[k] + (breaks[k + 1] - breaks[k]) * (j + 1) / pieces;
                    const double mid = (a + b) / 2, half = (b - a) / 2;
                    for (int i = 0; i < 4; ++i)
                        for (double sign : {-1.0, 1.0}) {
                            const double t = mid + sign * half * kNodes[i];
                            Point2d d1, d2;
                            p.derivatives(t, d1, d2);
                            sum += kWeights[i] * half * cross(p.pointAt(t), d1);
                        }
                }
            return sum;
        }
    }
    return 0;
}

// The angle a straight path from `a` to `b` turns through as seen from `q`.
double chordTurn(Point2d a, Point2d b, Point2d q) {
    const Point2d u = minus(a, q), v = minus(b, q);
    return std::atan2(cross(u, v), dot(u, v));
}

double distanceToSegment(Point2d q, Point2d a, Point2d b) {
    const Point2d d = minus(b, a);
    const double length2 = dot(d, d);
    const double t = length2 > 0 ? std::clamp(dot(minus(q, a), d) / length2, 0.0, 1.0) : 0;
    return distance(q, plus(a, times(d, t)));
}

// The turn of the part of a piece from t0 to t1 seen from `q`: the chord's where the part cannot go round
// the point (a curve of length L stays within L / 2 of its chord), halves of it otherwise.
double curveTurn(const Piece& p, double t0, double t1, Point2d a, Point2d b, Point2d q, int depth) {
    const double tm = (t0 + t1) / 2;
    const Point2d m = p.pointAt(tm);
    const double around = distance(a, m) + distance(m, b);
    if (depth >= 40 || distanceToSegment(q, a, b) > around) return chordTurn(a, b, q);
    return curveTurn(p, t0, tm, a, m, q, depth + 1) + curveTurn(p, tm, t1, m, b, q, depth + 1);
}

// The angle the piece turns through as seen from `q`.
double turn(const Piece& p, Point2d q) {
    double angle = chordTurn(p.start, p.end, q);
    if (p.kind == Piece::Kind::Spline) {
        const std::vector<double> t = stations(p);
        angle = 0;
        for (std::size_t i = 0; i + 1 < t.size(); ++i)
            angle += curveTurn(p, t[i], t[i + 1], p.pointAt(t[i]), p.pointAt(t[i + 1]), q, 0);
        return angle;
    }
    const bool within = p.kind == Piece::Kind::Arc       ? distance(q, p.center) < p.radius
                        : p.kind == Piece::Kind::Ellipse ? length(inEllipseFrame(p, q)) < 1
                                                         : false;
    if (within) {
        // Between the chord and the arc the arc goes round the point where the chord does not.
        const double side = cross(minus(p.end, p.start), minus(q, p.start));
        if ((p.sweep > 0 && side < 0) || (p.sweep < 0 && side > 0)) angle += p.sweep > 0 ? kTwoPi : -kTwoPi;
        // A whole circle (start and end at one point) goes round once.
        if (isClosed(p, 0)) angle = p.sweep > 0 ? kTwoPi : -kTwoPi;
    }
    return angle;
}

int winding(const Loop& loop, Point2d q) {
    double total = 0;
    for (const Piece& p : loop.pieces) total += turn(p, q);
    return static_cast<int>(std::lround(total / kTwoPi));
}

}  // namespace

Piece Piece::line(db::Point2d a, db::Point2d b, std::size_t source) {
    Piece p;
    p.kind = Kind::Line, p.start = a, p.end = b, p.source = source;
    return p;
}

Piece Piece::arc(db::Point2d center, double radius, double startAngle, double sweep, std::size_t source) {
    Piece p;
    p.kind = Kind::Arc, p.center = center, p.radius = radius, p.startAngle = startAngle, p.sweep = sweep;
    p.source = source;
    p.start = {center.x + radius * std::cos(startAngle), center.y + radius * std::sin(startAngle)};
    p.end = {center.x + radius * std::cos(startAngle + sweep),
             center.y + radius * std::sin(startAngle + sweep)};
    return p;
}

Piece Piece::ellipse(db::Point2d center, db::Point2d majorAxis, double ratio, double startParameter,
                     double sweep, std::size_t source) {
    Piece p;
    p.kind = Kind::Ellipse, p.center = center, p.majorAxis = majorAxis, p.ratio = ratio;
    p.startAngle = startParameter, p.sweep = sweep, p.source = source;
    p.start = p.pointAt(0), p.end = p.pointAt(1);
    return p;
}

std::optional<Piece> Piece::conic(db::Point2d center, db::Point2d u, db::Point2d v, double startParameter,
                                  double sweep, std::size_t source) {
    const double uu = dot(u, u), vv = dot(v, v), uv = dot(u, v), turning = cross(u, v);
    const double scale = std::max(uu, vv);
    if (!(std::fabs(turning) > 1e-12 * scale) || !std::isfinite(turning)) return std::nullopt;
    // Seen mirrored (v clockwise from u), the parameter runs the other way round the curve's own frame.
    const double sign = turning > 0 ? 1 : -1;
    if (std::fabs(uv) <= 1e-9 * scale && std::fabs(uu - vv) <= 1e-9 * scale) {
        const double angle = std::atan2(u.y, u.x);
        return arc(center, std::sqrt(uu), angle + sign * startParameter, sign * sweep, source);
    }
    // The major axis lies where |u cos t + v sin t| is greatest: tan 2t = 2 u.v / (|u|^2 - |v|^2).
    const double t0 = std::atan2(2 * uv, uu - vv) / 2;
    const Point2d major = plus(times(u, std::cos(t0)), times(v, std::sin(t0)));
    const Point2d minor = plus(times(u, -std::sin(t0)), times(v, std::cos(t0)));
    return ellipse(center, major, length(minor) / length(major), sign * (startParameter - t0), sign * sweep,
                   source);
}

Piece Piece::splinePart(std::shared_ptr<const PlanarSpline> spline, double from, double to,
                        std::size_t source) {
    Piece p;
    p.kind = Kind::Spline, p.spline = std::move(spline), p.startAngle = from, p.sweep = to - from;
    p.source = source;
    p.start = p.pointAt(0), p.end = p.pointAt(1);
    return p;
}

db::Point2d Piece::pointAt(double t) const {
    const double a = startAngle + t * sweep;
    switch (kind) {
        case Kind::Line:
            return {start.x + t * (end.x - start.x), start.y + t * (end.y - start.y)};
        case Kind::Arc:
            return {center.x + radius * std::cos(a), center.y + radius * std::sin(a)};
        case Kind::Ellipse:
            return plus(center, plus(times(majorAxis, std::cos(a)), times(minorAxis(), std::sin(a))));
        case Kind::Spline:
            return spline->evaluate(a);
    }
    return start;
}

void Piece::derivatives(double t, db::Point2d& d1, db::Point2d& d2) const {
    const double a = startAngle + t * sweep;
    switch (kind) {
        case Kind::Line:
            d1 = minus(end, start), d2 = {0, 0};
            return;
        case Kind::Arc:
        case Kind::Ellipse: {
            const Point2d m = kind == Kind::Arc ? Point2d{radius, 0} : majorAxis;
            const Point2d n = kind == Kind::Arc ? Point2d{0, radius} : minorAxis();
            d1 = times(plus(times(m, -std::sin(a)), times(n, std::cos(a))), sweep);
            d2 = times(plus(times(m, std::cos(a)), times(n, std::sin(a))), -sweep * sweep);
            return;
        }
        case Kind::Spline:
            spline->evaluate(a, &d1, &d2);
            d1 = times(d1, sweep), d2 = times(d2, sweep * sweep);
            return;
    }
}

std::pair<db::Point2d, db::Point2d> Piece::box() const {
    db::Extents3d box;
    switch (kind) {
        case Kind::Line:
            box.addPoint(start.to3d()).addPoint(end.to3d());
            break;
        case Kind::Arc:
        case Kind::Ellipse: {
            const Point2d m = kind == Kind::Arc ? Point2d{radius, 0} : majorAxis;
            const Point2d n = kind == Kind::Arc ? Point2d{0, radius} : minorAxis();
            const double a0 = sweep >= 0 ? startAngle : startAngle + sweep;
            db::addEllipticArcExtents(box, center.to3d(), db::Vector3d(m.x, m.y), db::Vector3d(n.x, n.y), a0,
                                      std::fabs(sweep) >= kTwoPi ? a0 : a0 + std::fabs(sweep));
            break;
        }
        case Kind::Spline: {
            const double u0 = std::min(startAngle, startAngle + sweep),
                         u1 = std::max(startAngle, startAngle + sweep);
            // The curve lies in its control points' hull; those of the part alone hold it more closely.
            const bool whole = u0 <= spline->first() && u1 >= spline->last();
            const PlanarSpline own = whole || !(u1 > u0) ? *spline : spline->part(u0, u1);
            for (const Point2d& q : own.points()) box.addPoint(q.to3d());
            break;
        }
    }
    return {{box.minPoint().x, box.minPoint().y}, {box.maxPoint().x, box.maxPoint().y}};
}

std::optional<Region> FindRegion(const std::vector<Piece>& input, const db::Point2d& inside,
                                 double gapTolerance) {
    // Curves counter-clockwise (splines forwards), so that parameters grow with angles.
    std::vector<Piece> curves;
    double size = 1;
    for (const Piece& c : input) {
        if (c.kind == Piece::Kind::Arc && (c.radius <= 0 || c.sweep == 0)) continue;
        if (c.kind == Piece::Kind::Ellipse && (!(c.ratio > 0) || length(c.majorAxis) == 0 || c.sweep == 0))
            continue;
        if (c.kind == Piece::Kind::Spline && (!c.spline || c.sweep == 0)) continue;
        if (c.kind == Piece::Kind::Line && c.start == c.end) continue;
        curves.push_back(isCurved(c) && c.sweep < 0 ? reversed(c) : c);
        const auto [low, high] = curves.back().box();
        for (Point2d p : {low, high}) size = std::max({size, std::fabs(p.x), std::fabs(p.y)});
    }
    const double eps = 1e-9 * size;

    // Cut every curve where others meet it; closed ones also halfway, so that no piece ends where it starts.
    std::vector<std::vector<double>> cuts(curves.size());
    for (std::size_t i = 0; i < curves.size(); ++i) {
        cuts[i] = {0.0, 1.0};
        if (isClosed(curves[i], eps)) cuts[i].push_back(0.5);
    }
    // Pairs whose boxes overlap, found by a sweep along X.
    struct Box {
        double x0, x1, y0, y1;
    };
    std::vector<Box> boxes;
    for (const Piece& c : curves) {
        const auto [low, high] = c.box();
        boxes.push_back({low.x, high.x, low.y, high.y});
    }
    std::vector<std::size_t> byX(curves.size());
    std::iota(byX.begin(), byX.end(), std::size_t(0));
    std::sort(byX.begin(), byX.end(),
              [&](std::size_t a, std::size_t b) { return boxes[a].x0 < boxes[b].x0; });
    for (std::size_t k = 0; k < byX.size(); ++k) {
        const Box& a = boxes[byX[k]];
        for (std::size_t m = k + 1; m < byX.size() && boxes[byX[m]].x0 <= a.x1 + 4 * eps; ++m) {
            const Box& b = boxes[byX[m]];
            if (b.y0 > a.y1 + 4 * eps || a.y0 > b.y1 + 4 * eps) continue;
            const std::size_t i = byX[k], j = byX[m];
            meet(curves[i], curves[j], eps, cuts[i], cuts[j]);
        }
    }

    // Points closer than the tolerance are one vertex: found through a grid of cells of that size.
    std::vector<Point2d> vertices;
    const double cell = 8 * eps;
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> grid;
    auto key = [](long long cx, long long cy) {
        return (static_cast<std::uint64_t>(cx) << 32) ^ static_cast<std::uint64_t>(cy & 0xFFFFFFFF);
    };
    auto vertexAt = [&](Point2d p) {
        const long long cx = std::llround(std::floor(p.x / cell)), cy = std::llround(std::floor(p.y / cell));
        for (long long dx = -1; dx <= 1; ++dx)
            for (long long dy = -1; dy <= 1; ++dy) {
                auto it = grid.find(key(cx + dx, cy + dy));
                if (it == grid.end()) continue;
                for (std::size_t v : it->second)
                    if (distance(vertices[v], p) <= 4 * eps) return v;
            }
        vertices.push_back(p);
        grid[key(cx, cy)].push_back(vertices.size() - 1);
        return vertices.size() - 1;
    };
    struct Edge {
        Piece piece;
        std::size_t from, to;
        bool live = true;
    };
    std::vector<Edge> edges;
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> between;  // edges by their two vertices
    for (std::size_t i = 0; i < curves.size(); ++i) {
        std::vector<double>& t = cuts[i];
        std::sort(t.begin(), t.end());
        for (std::size_t k = 0; k + 1 < t.size(); ++k) {
            const Piece p = part(curves[i], t[k], t[k + 1]);
            const std::size_t from = vertexAt(p.start), to = vertexAt(p.end);
            if (from == to) continue;  // a cut of no length
            // One stretch given twice (overlapping curves) is one edge.
            const Point2d mid = p.pointAt(0.5);
            std::vector<std::size_t>& same = between[key(static_cast<long long>(std::min(from, to)),
                                                         static_cast<long long>(std::max(from, to)))];
            const bool twice = std::any_of(same.begin(), same.end(), [&](std::size_t e) {
                return edges[e].piece.kind == p.kind && distance(edges[e].piece.pointAt(0.5), mid) <= 4 * eps;
            });
            if (twice) continue;
            same.push_back(edges.size());
            edges.push_back({p, from, to});
        }
    }

    auto degrees = [&] {
        std::vector<int> degree(vertices.size(), 0);
        for (const Edge& e : edges)
            if (e.live) ++degree[e.from], ++degree[e.to];
        return degree;
    };
    // Gaps: an end that leads nowhere is joined to the nearest other end within the tolerance.
    if (gapTolerance > 0) {
        std::vector<int> degree = degrees();
        for (std::size_t v = 0; v < vertices.size(); ++v) {
            if (degree[v] != 1) continue;
            std::size_t best = v;
            double bestDistance = gapTolerance;
            for (std::size_t w = 0; w < vertices.size(); ++w) {
                const double d = distance(vertices[v], vertices[w]);
                if (w == v || degree[w] != 1 || d > bestDistance) continue;
                best = w, bestDistance = d;
            }
            if (best == v) continue;
            edges.push_back({Piece::line(vertices[v], vertices[best], SIZE_MAX), v, best});
            ++degree[v], ++degree[best];
        }
    }
    // Pieces that lead nowhere bound nothing.
    for (bool removed = true; removed;) {
        removed = false;
        const std::vector<int> degree = degrees();
        for (Edge& e : edges)
            if (e.live && (degree[e.from] == 1 || degree[e.to] == 1)) e.live = false, removed = true;
    }

    // Half-edges 2e (from -> to) and 2e + 1 (back), sorted counter-clockwise around the vertex they leave.
    auto halfPiece = [&](std::size_t h) { return h % 2 ? reversed(edges[h / 2].piece) : edges[h / 2].piece; };
    auto origin = [&](std::size_t h) { return h % 2 ? edges[h / 2].to : edges[h / 2].from; };
    std::vector<std::vector<std::size_t>> around(vertices.size());
    for (std::size_t e = 0; e < edges.size(); ++e)
        if (edges[e].live) around[edges[e].from].push_back(2 * e), around[edges[e].to].push_back(2 * e + 1);
    std::vector<std::size_t> position(2 * edges.size(), 0);
    for (auto& list : around) {
        std::sort(list.begin(), list.end(), [&](std::size_t a, std::size_t b) {
            return leaving(halfPiece(a)) < leaving(halfPiece(b));
        });
        for (std::size_t k = 0; k < list.size(); ++k) position[list[k]] = k;
    }
    // Faces: each half-edge has its face on its left; the next half-edge of the face leaves the vertex it
    // reaches clockwise next to its way back.
    auto next = [&](std::size_t h) {
        const std::size_t back = h ^ 1;
        const auto& list = around[origin(back)];
        return list[(position[back] + list.size() - 1) % list.size()];
    };
    std::vector<Loop> faces;
    std::vector<std::size_t> faceOf(2 * edges.size(), SIZE_MAX);
    for (std::size_t start = 0; start < 2 * edges.size(); ++start) {
        if (!edges[start / 2].live || faceOf[start] != SIZE_MAX) continue;
        Loop loop;
        std::size_t h = start;
        for (std::size_t guard = 0; guard <= 2 * edges.size(); ++guard) {
            faceOf[h] = faces.size();
            loop.pieces.push_back(halfPiece(h));
            loop.area += areaTerm(loop.pieces.back()) / 2;
            h = next(h);
            if (h == start) break;
        }
        faces.push_back(std::move(loop));
    }

    // The smallest area around the point.
    std::optional<std::size_t> chosen;
    for (std::size_t f = 0; f < faces.size(); ++f)
        if (faces[f].area > eps * eps && winding(faces[f], inside) != 0 &&
            (!chosen || faces[f].area < faces[*chosen].area))
            chosen = f;
    if (!chosen) return std::nullopt;

    // Islands: the other connected parts inside it, each by its outer boundary (its face of negative area).
    std::vector<std::size_t> component(vertices.size());
    std::iota(component.begin(), component.end(), std::size_t(0));
    auto find = [&](std::size_t v) {
        while (component[v] != v) v = component[v] = component[component[v]];
        return v;
    };
    for (const Edge& e : edges)
        if (e.live) component[find(e.from)] = find(e.to);
    std::size_t chosenPart = SIZE_MAX;
    for (std::size_t h = 0; h < faceOf.size(); ++h)
        if (faceOf[h] == *chosen) chosenPart = find(origin(h));
    Region region;
    region.outer = faces[*chosen];
    std::vector<std::optional<std::size_t>> outerFace(vertices.size());
    for (std::size_t h = 0; h < faceOf.size(); ++h) {
        if (faceOf[h] == SIZE_MAX) continue;
        const std::size_t p = find(origin(h));
        const std::size_t f = faceOf[h];
        if (faces[f].area < 0 && (!outerFace[p] || faces[f].area < faces[*outerFace[p]].area))
            outerFace[p] = f;
    }
    for (std::size_t p = 0; p < vertices.size(); ++p) {
        if (!outerFace[p] || p == chosenPart || find(p) != p) continue;
        const Loop& boundary = faces[*outerFace[p]];
        if (winding(region.outer, boundary.pieces.front().pointAt(0.5)) != 0)
            region.islands.push_back(boundary);
    }
    return region;
}

}  // namespace vela::host::hatch
