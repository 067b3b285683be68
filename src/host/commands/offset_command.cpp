// OFFSET: parallel copies of lines, arcs, circles and lightweight polylines, at a distance or through a
// point.
#include <cmath>
#include <optional>

#include "db/database.h"
#include "db/entities/arc.h"
#include "db/entities/circle.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/geometry/plane.h"
#include "host/commands/command_support.h"
#include "host/host.h"
#include "host/system_variables.h"

namespace vela::host::commands {

namespace {

using P2 = db::Point2d;

P2 add(P2 p, double x, double y) {
    return P2(p.x + x, p.y + y);
}
double dist(P2 a, P2 b) {
    return std::hypot(b.x - a.x, b.y - a.y);
}

/// One segment of a polyline as plain geometry: straight from a to b, or an arc about `center`.
struct Segment {
    P2 a, b;
    bool arc = false;
    P2 center;
    double radius = 0;
    bool ccw = true;
};

Segment segmentOf(const db::Polyline& pl, std::size_t i) {
    const auto& v = pl.vertices();
    Segment s{v[i].point, v[(i + 1) % v.size()].point};
    const double bulge = v[i].bulge;
    if (std::abs(bulge) < 1e-12) return s;
    s.arc = true;
    s.ccw = bulge > 0;
    const double chord = dist(s.a, s.b);
    const double sweep = 4 * std::atan(bulge);
    s.radius = chord / (2 * std::sin(std::abs(sweep) / 2));
    // The center lies off the chord's midpoint, to the left for a counter-clockwise arc under a half turn.
    const P2 mid((s.a.x + s.b.x) / 2, (s.a.y + s.b.y) / 2);
    const double h = s.radius * std::cos(sweep / 2) * (sweep > 0 ? 1 : -1);
    const double ux = (s.b.x - s.a.x) / chord, uy = (s.b.y - s.a.y) / chord;
    s.center = add(mid, -uy * h, ux * h);
    return s;
}

/// The point of the segment nearest to p, and the direction of travel there.
std::pair<P2, P2> nearestOn(const Segment& s, P2 p) {
    if (!s.arc) {
        const double dx = s.b.x - s.a.x, dy = s.b.y - s.a.y, len2 = dx * dx + dy * dy;
        const double t = std::clamp(((p.x - s.a.x) * dx + (p.y - s.a.y) * dy) / len2, 0.0, 1.0);
        return {P2(s.a.x + t * dx, s.a.y + t * dy), P2(dx, dy)};
    }
    double a0 = std::atan2(s.a.y - s.center.y, s.a.x - s.center.x),
           a1 = std::atan2(s.b.y - s.center.y, s.b.x - s.center.x);
    if (!s.ccw) std::swap(a0, a1);
    const double ap = std::atan2(p.y - s.center.y, p.x - s.center.x);
    P2 q;
    if (db::angleOnSweep(db::normalizeAngle(ap), db::normalizeAngle(a0), db::normalizeAngle(a1)))
        q = P2(s.center.x + s.radius * std::cos(ap), s.center.y + s.radius * std::sin(ap));
    else
        q = dist(p, s.a) < dist(p, s.b) ? s.a : s.b;
    const double aq = std::atan2(q.y - s.center.y, q.x - s.center.x);
    const P2 tangent = s.ccw ? P2(-std::sin(aq), std::cos(aq)) : P2(std::sin(aq), -std::cos(aq));
    return {q, tangent};
}

/// The segment moved `d` to its left (negative: right). Nothing when an arc would shrink to nothing.
std::optional<Segment> shifted(const Segment& s, double d) {
    Segment o = s;
    if (!s.arc) {
        const double len = dist(s.a, s.b);
        const double nx = -(s.b.y - s.a.y) / len * d, ny = (s.b.x - s.a.x) / len * d;
        o.a = add(s.a, nx, ny), o.b = add(s.b, nx, ny);
        return o;
    }
    // The center of a counter-clockwise arc is on its left.
    o.radius = s.radius + (s.ccw ? -d : d);
    if (o.radius <= 1e-12) return std::nullopt;
    auto out = [&](P2 p) {
        const double k = o.radius / s.radius;
        return P2(s.center.x + (p.x - s.center.x) * k, s.center.y + (p.y - s.center.y) * k);
    };
    o.a = out(s.a), o.b = out(s.b);
    return o;
}

/// Where two shifted neighbours meet, nearest to `near`: lines as infinite lines, arcs as whole circles.
std::optional<P2> meet(const Segment& s, const Segment& t, P2 near) {
    std::vector<P2> found;
    auto lineLine = [&](const Segment& l, const Segment& m) {
        const double d1x = l.b.x - l.a.x, d1y = l.b.y - l.a.y, d2x = m.b.x - m.a.x, d2y = m.b.y - m.a.y;
        const double den = d1x * d2y - d1y * d2x;
        if (std::abs(den) < 1e-12 * std::hypot(d1x, d1y) * std::hypot(d2x, d2y)) return;
        const double u = ((m.a.x - l.a.x) * d2y - (m.a.y - l.a.y) * d2x) / den;
        found.push_back(P2(l.a.x + u * d1x, l.a.y + u * d1y));
    };
    auto lineCircle = [&](const Segment& l, const Segment& c) {
        const double dx = l.b.x - l.a.x, dy = l.b.y - l.a.y, len = std::hypot(dx, dy);
        const double ux = dx / len, uy = dy / len;
        const double t0 = (c.center.x - l.a.x) * ux + (c.center.y - l.a.y) * uy;
        const P2 foot(l.a.x + t0 * ux, l.a.y + t0 * uy);
        const double h2 = c.radius * c.radius - std::pow(dist(foot, c.center), 2);
        if (h2 < 0) return;
        const double h = std::sqrt(h2);
        found.push_back(add(foot, ux * h, uy * h));
        found.push_back(add(foot, -ux * h, -uy * h));
    };
    auto circleCircle = [&](const Segment& c1, const Segment& c2) {
        const double d = dist(c1.center, c2.center);
        if (d < 1e-12 || d > c1.radius + c2.radius || d < std::abs(c1.radius - c2.radius)) return;
        const double a = (c1.radius * c1.radius - c2.radius * c2.radius + d * d) / (2 * d);
        const double h = std::sqrt(std::max(0.0, c1.radius * c1.radius - a * a));
        const double ux = (c2.center.x - c1.center.x) / d, uy = (c2.center.y - c1.center.y) / d;
        const P2 m = add(c1.center, ux * a, uy * a);
        found.push_back(add(m, -uy * h, ux * h));
        found.push_back(add(m, uy * h, -ux * h));
    };
    if (!s.arc && !t.arc)
        lineLine(s, t);
    else if (!s.arc)
        lineCircle(s, t);
    else if (!t.arc)
        lineCircle(t, s);
    else
        circleCircle(s, t);
    if (found.empty()) return std::nullopt;
    return *std::min_element(found.begin(), found.end(),
                             [&](P2 x, P2 y) { return dist(x, near) < dist(y, near); });
}

double bulgeOf(const Segment& s) {
    if (!s.arc) return 0;
    double a0 = std::atan2(s.a.y - s.center.y, s.a.x - s.center.x),
           a1 = std::atan2(s.b.y - s.center.y, s.b.x - s.center.x);
    const double sweep = s.ccw ? db::sweepAngle(a0, a1) : db::sweepAngle(a1, a0);
    return std::tan(sweep / 4) * (s.ccw ? 1 : -1);
}

/// The polyline's vertices moved `d` to the left of its direction of travel (negative: right), joined where
/// the moved segments meet. Nothing when a segment would vanish.
std::optional<std::vector<db::Polyline::Vertex>> offsetPolyline(const db::Polyline& pl, double d) {
    const std::size_t n = pl.numSegments();
    std::vector<Segment> moved;
    for (std::size_t i = 0; i < n; ++i) {
        const Segment s = segmentOf(pl, i);
        if (dist(s.a, s.b) < 1e-12) continue;
        std::optional<Segment> o = shifted(s, d);
        if (!o) return std::nullopt;
        moved.push_back(*o);
    }
    if (moved.empty()) return std::nullopt;
    const bool closed = pl.isClosed();
    for (std::size_t i = 0; i < moved.size(); ++i) {
        if (!closed && i + 1 == moved.size()) break;
        Segment& s = moved[i];
        Segment& t = moved[(i + 1) % moved.size()];
        if (dist(s.b, t.a) < 1e-9) continue;  // tangent neighbours already meet
        if (const std::optional<P2> m = meet(s, t, P2((s.b.x + t.a.x) / 2, (s.b.y + t.a.y) / 2)))
            s.b = t.a = *m;
    }
    std::vector<db::Polyline::Vertex> v;
    for (const Segment& s : moved) {
        // Neighbours that do not meet (a line that misses the next arc's circle) are joined straight.
        if (v.empty() || dist(v.back().point, s.a) > 1e-9) v.push_back({s.a});
        v.back().bulge = bulgeOf(s);
        v.push_back({s.b});
    }
    if (closed && v.size() > 1 && dist(v.back().point, v.front().point) < 1e-9) v.pop_back();
    return v;
}

/// Which side of the entity p is on (+1 left of its direction, -1 right) and how far it is.
std::pair<int, double> sideOf(const db::Entity& e, const db::Point3d& p3) {
    const P2 p(p3.x, p3.y);
    auto side = [&](P2 q, P2 t) {
        const double cross = t.x * (p.y - q.y) - t.y * (p.x - q.x);
        return std::pair(cross >= 0 ? 1 : -1, dist(p, q));
    };
    if (const auto* line = db::objectCast<db::Line>(&e)) {
        const Segment s{P2(line->startPoint().x, line->startPoint().y),
                        P2(line->endPoint().x, line->endPoint().y)};
        // Beyond the ends the distance is measured square to the line, as the copy runs parallel to it.
        const double len = dist(s.a, s.b);
        const double across = ((s.b.x - s.a.x) * (p.y - s.a.y) - (s.b.y - s.a.y) * (p.x - s.a.x)) / len;
        return {across >= 0 ? 1 : -1, std::abs(across)};
    }
    const auto& pl = static_cast<const db::Polyline&>(e);
    std::pair<P2, P2> best;
    double bestDistance = INFINITY;
    for (std::size_t i = 0; i < pl.numSegments(); ++i) {
        const Segment s = segmentOf(pl, i);
        if (dist(s.a, s.b) < 1e-12) continue;
        const auto near = nearestOn(s, p);
        if (dist(near.first, p) < bestDistance) bestDistance = dist(near.first, p), best = near;
    }
    return side(best.first, best.second);
}

/// A copy of `source` offset by `distance` towards `side` (or through it when `distance` < 0). Null when the
/// object cannot be offset so.
db::ObjectId offsetOne(CommandContext& context, db::ObjectId source, double distance,
                       const db::Point3d& side) {
    auto e = db::openObject<db::Entity>(source, db::OpenMode::ForRead);
    if (!e) return {};
    const bool through = distance < 0;
    if (const auto* c = db::objectCast<db::Circle>(e.get()); c || db::objectCast<db::Arc>(e.get())) {
        const db::Point3d center = c ? c->center() : db::objectCast<db::Arc>(e.get())->center();
        const double r = c ? c->radius() : db::objectCast<db::Arc>(e.get())->radius();
        const double toSide = std::hypot(side.x - center.x, side.y - center.y);
        const double newRadius = through ? toSide : (toSide < r ? r - distance : r + distance);
        if (newRadius <= 1e-12) return {};
        e.close();
        std::vector<db::ObjectId> copy = copyEntities(context, {source});
        if (copy.empty()) return {};
        auto w = db::openObject<db::Entity>(copy[0], db::OpenMode::ForWrite);
        if (auto* cw = db::objectCast<db::Circle>(w.get()))
            cw->setRadius(newRadius);
        else
            static_cast<db::Arc*>(w.get())->setRadius(newRadius);
        return copy[0];
    }
    const auto* line = db::objectCast<db::Line>(e.get());
    const auto* pl = db::objectCast<db::Polyline>(e.get());
    if (!line && !pl) return {};
    if (pl && !pl->normal().isEqualTo(db::Vector3d::zAxis())) return {};
    if (line && (line->endPoint() - line->startPoint()).length() < 1e-12) return {};
    const auto [sign, far] = sideOf(*e, side);
    const double d = sign * (through ? far : distance);
    if (std::abs(d) < 1e-12) return {};
    std::optional<std::vector<db::Polyline::Vertex>> vertices;
    db::Vector3d shift;
    if (pl) {
        vertices = offsetPolyline(*pl, d);
        if (!vertices || vertices->size() < 2) return {};
    } else {
        const db::Vector3d u = (line->endPoint() - line->startPoint()).normalized();
        shift = db::Vector3d(-u.y, u.x, 0) * d;
    }
    e.close();
    std::vector<db::ObjectId> copy = copyEntities(context, {source});
    if (copy.empty()) return {};
    auto w = db::openObject<db::Entity>(copy[0], db::OpenMode::ForWrite);
    if (auto* lw = db::objectCast<db::Line>(w.get())) {
        lw->setStartPoint(lw->startPoint() + shift);
        lw->setEndPoint(lw->endPoint() + shift);
    } else {
        auto* pw = static_cast<db::Polyline*>(w.get());
        // Widths of the source's vertices do not carry over to a reshaped outline; a constant width does.
        pw->setVertices(std::move(*vertices));
    }
    return copy[0];
}

}  // namespace

int offsetCommand(CommandContext& context) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    SystemVariables& variables = systemVariables();
    io.message(QStringLiteral("Current settings: Erase source=No  Layer=Source"));
    const double remembered = variables.offsetDistance();
    double distance = remembered;
    const int r =
        io.getDistance(Prompt(QStringLiteral("Specify offset distance or"))
                           .withKeywords({QStringLiteral("Through")})
                           .withDefault(remembered < 0 ? QStringLiteral("Through") : numberText(remembered))
                           .above(),
                       distance);
    if (r == RTCAN) return RTCAN;
    if (r == RTKWORD) distance = -1;
    variables.set(QStringLiteral("OFFSETDIST"), distance, context.document());
    std::vector<db::ObjectId> made;
    for (;;) {
        db::ObjectId source;
        const int s = pickObject(context,
                                 Prompt(QStringLiteral("Select object to offset or"))
                                     .withKeywords({QStringLiteral("Exit"), QStringLiteral("Undo")})
                                     .withDefault(QStringLiteral("Exit")),
                                 source);
        if (s == RTCAN) return RTCAN;
        if (s == RTKWORD && io.keyword() == QLatin1String("Undo")) {
            if (made.empty())
                io.message(QStringLiteral("Nothing to undo."));
            else
                eraseEntity(made.back()), made.pop_back();
            continue;
        }
        if (s != RTNORM) return RTNORM;  // Exit or Enter
        db::Point3d side;
        if (io.getPoint(Prompt(distance < 0 ? QStringLiteral("Specify through point")
                                            : QStringLiteral("Specify point on side to offset")),
                        side) != RTNORM)
            return RTCAN;
        const db::ObjectId copy = offsetOne(context, source, distance, side);
        if (copy.isNull())
            io.message(QStringLiteral("Cannot offset that object."));
        else
            made.push_back(copy);
    }
}

}  // namespace vela::host::commands
