#include "host/hatch/boundary_search.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <numeric>
#include <unordered_map>

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

double normalized(double a) {
    a = std::fmod(a, kTwoPi);
    return a < 0 ? a + kTwoPi : a;
}

bool isClosed(const Piece& p) {
    return p.kind == Piece::Kind::Arc && std::fabs(p.sweep) >= kTwoPi - 1e-12;
}

// The parameter (0 at the start, 1 at the end) of a point known to lie on the piece's line or circle; outside
// [0, 1] when it is beyond the piece.
double parameterOf(const Piece& p, Point2d q) {
    if (p.kind == Piece::Kind::Line) {
        const Point2d d = minus(p.end, p.start);
        const double length2 = dot(d, d);
        return length2 > 0 ? dot(minus(q, p.start), d) / length2 : 0;
    }
    const double angle = std::atan2(q.y - p.center.y, q.x - p.center.x);
    const double along = normalized(angle - p.startAngle);  // arcs are counter-clockwise here
    const double t = along / p.sweep;
    // Just before the start reads as just below 0, not as far beyond the end.
    if (t > 1 && (kTwoPi - along) * p.radius < 1e-9 * std::max(1.0, p.radius))
        return -(kTwoPi - along) / p.sweep;
    return t;
}

// Where two pieces meet, as parameters on each (points of touching included; overlapping stretches give their
// ends).
void meet(const Piece& a, const Piece& b, double eps, std::vector<double>& ta, std::vector<double>& tb) {
    auto add = [&](Point2d q) {
        const double s = parameterOf(a, q), t = parameterOf(b, q);
        const double sa = a.kind == Piece::Kind::Line ? distance(a.start, a.end) : a.radius * a.sweep;
        const double sb = b.kind == Piece::Kind::Line ? distance(b.start, b.end) : b.radius * b.sweep;
        const double ea = sa > 0 ? eps / sa : 0, eb = sb > 0 ? eps / sb : 0;
        if (s < -ea || s > 1 + ea || t < -eb || t > 1 + eb) return;
        ta.push_back(std::clamp(s, 0.0, 1.0));
        tb.push_back(std::clamp(t, 0.0, 1.0));
    };
    // Ends lying on the other piece (touching, overlapping).
    for (Point2d q : {a.start, a.end}) {
        const bool on = b.kind == Piece::Kind::Line
                            ? std::fabs(cross(minus(b.end, b.start), minus(q, b.start))) <=
                                  eps * std::max(1e-300, distance(b.start, b.end))
                            : std::fabs(distance(q, b.center) - b.radius) <= eps;
        if (on) add(q);
    }
    for (Point2d q : {b.start, b.end}) {
        const bool on = a.kind == Piece::Kind::Line
                            ? std::fabs(cross(minus(a.end, a.start), minus(q, a.start))) <=
                                  eps * std::max(1e-300, distance(a.start, a.end))
                            : std::fabs(distance(q, a.center) - a.radius) <= eps;
        if (on) add(q);
    }
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
    const Piece& line = a.kind == Piece::Kind::Line ? a : b;
    const Piece& arc = a.kind == Piece::Kind::Line ? b : a;
    const Point2d d = minus(line.end, line.start), f = minus(line.start, arc.center);
    const double qa = dot(d, d), qb = 2 * dot(f, d), qc = dot(f, f) - arc.radius * arc.radius;
    if (qa <= 0) return;
    double disc = qb * qb - 4 * qa * qc;
    // A line that touches the circle within the tolerance meets it once.
    const double touch = 2 * eps * std::sqrt(qa) * 2 * arc.radius;
    if (disc < -touch) return;
    disc = std::max(0.0, disc);
    for (double sign : {-1.0, 1.0}) {
        const double t = (-qb + sign * std::sqrt(disc)) / (2 * qa);
        add({line.start.x + t * d.x, line.start.y + t * d.y});
        if (disc == 0) break;
    }
}

Piece part(const Piece& p, double t0, double t1) {
    if (p.kind == Piece::Kind::Line) {
        Piece q = p;
        q.start = p.pointAt(t0), q.end = p.pointAt(t1);
        return q;
    }
    return Piece::arc(p.center, p.radius, p.startAngle + t0 * p.sweep, (t1 - t0) * p.sweep, p.source);
}

Piece reversed(const Piece& p) {
    Piece q = p;
    std::swap(q.start, q.end);
    if (p.kind == Piece::Kind::Arc) q.startAngle = p.startAngle + p.sweep, q.sweep = -p.sweep;
    return q;
}

// The direction a piece leaves its start in, as an angle, and how it bends (for pieces leaving in one
// direction: the one bending left lies further counter-clockwise).
std::pair<long long, double> leaving(const Piece& p) {
    double angle;
    double bend = 0;
    if (p.kind == Piece::Kind::Line) {
        angle = std::atan2(p.end.y - p.start.y, p.end.x - p.start.x);
    } else {
        angle = p.startAngle + (p.sweep > 0 ? kPi / 2 : -kPi / 2);
        bend = (p.sweep > 0 ? 1 : -1) / p.radius;
    }
    return {std::llround(normalized(angle) * 1e9), bend};
}

// Twice the signed area the piece sweeps seen from the origin (summed over a loop: twice its area).
double areaTerm(const Piece& p) {
    if (p.kind == Piece::Kind::Line) return cross(p.start, p.end);
    const double t0 = p.startAngle, t1 = p.startAngle + p.sweep, r = p.radius;
    return r * p.center.x * (std::sin(t1) - std::sin(t0)) - r * p.center.y * (std::cos(t1) - std::cos(t0)) +
           r * r * p.sweep;
}

// The angle the piece turns through as seen from `q`.
double turn(const Piece& p, Point2d q) {
    const Point2d a = minus(p.start, q), b = minus(p.end, q);
    double angle = std::atan2(cross(a, b), dot(a, b));
    if (p.kind == Piece::Kind::Arc && distance(q, p.center) < p.radius) {
        // Between the chord and the arc the arc goes round the point where the chord does not.
        const double side = cross(minus(p.end, p.start), minus(q, p.start));
        if ((p.sweep > 0 && side < 0) || (p.sweep < 0 && side > 0)) angle += p.sweep > 0 ? kTwoPi : -kTwoPi;
        // A whole circle (start and end at one point) goes round once.
        if (distance(p.start, p.end) == 0) angle = p.sweep > 0 ? kTwoPi : -kTwoPi;
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

db::Point2d Piece::pointAt(double t) const {
    if (kind == Kind::Line) return {start.x + t * (end.x - start.x), start.y + t * (end.y - start.y)};
    const double a = startAngle + t * sweep;
    return {center.x + radius * std::cos(a), center.y + radius * std::sin(a)};
}

std::optional<Region> FindRegion(const std::vector<Piece>& input, const db::Point2d& inside,
                                 double gapTolerance) {
    // Arcs counter-clockwise, so that parameters grow with angles.
    std::vector<Piece> curves;
    double size = 1;
    for (const Piece& c : input) {
        if (c.kind == Piece::Kind::Arc && (c.radius <= 0 || c.sweep == 0)) continue;
        if (c.kind == Piece::Kind::Line && c.start == c.end) continue;
        curves.push_back(c.kind == Piece::Kind::Arc && c.sweep < 0 ? reversed(c) : c);
        for (Point2d p : {curves.back().start, curves.back().end, curves.back().center})
            size = std::max({size, std::fabs(p.x), std::fabs(p.y)});
    }
    const double eps = 1e-9 * size;

    // Cut every curve where others meet it; closed ones also halfway, so that no piece ends where it starts.
    std::vector<std::vector<double>> cuts(curves.size());
    for (std::size_t i = 0; i < curves.size(); ++i) {
        cuts[i] = {0.0, 1.0};
        if (isClosed(curves[i])) cuts[i].push_back(0.5);
    }
    // Pairs whose boxes overlap, found by a sweep along X.
    struct Box {
        double x0, x1, y0, y1;
    };
    std::vector<Box> boxes;
    for (const Piece& c : curves) {
        if (c.kind == Piece::Kind::Line)
            boxes.push_back({std::min(c.start.x, c.end.x), std::max(c.start.x, c.end.x),
                             std::min(c.start.y, c.end.y), std::max(c.start.y, c.end.y)});
        else
            boxes.push_back(
                {c.center.x - c.radius, c.center.x + c.radius, c.center.y - c.radius, c.center.y + c.radius});
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
