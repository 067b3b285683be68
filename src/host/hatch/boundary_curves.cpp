#include "host/hatch/boundary_curves.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "db/database.h"
#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/ellipse.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/entities/spline.h"
#include "db/entities/vertex_polyline.h"
#include "db/geometry/plane.h"
#include "db/geometry/plane_map.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/spatial_index.h"

namespace vela::host::hatch {

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;
constexpr int kMaxDepth = 16;

db::Point2d flat(const db::Point3d& p) {
    return {p.x, p.y};
}

db::Point2d point2(const db::Matrix3d& m, const db::Point3d& p) {
    return flat(m.apply(p));
}

bool visible(const db::Entity& e) {
    if (!e.isVisible()) return false;
    auto* layer = db::objectCast<db::LayerTableRecord>(e.layerId().peek());
    return !layer || (!layer->isOff() && !layer->isFrozen());
}

// A circle, arc or elliptic arc center + u cos(t) + v sin(t) as it lies after the transformation: the conic
// through the images of its half axes (an ellipse where the transformation is uneven or the plane tilted;
// nothing where the plane is seen edge on).
void appendConic(const db::Matrix3d& m, const db::Point3d& center, const db::Vector3d& u,
                 const db::Vector3d& v, double start, double sweep, std::size_t source,
                 std::vector<Piece>& out) {
    const db::Vector3d mu = m.apply(u), mv = m.apply(v);
    if (auto piece = Piece::conic(point2(m, center), {mu.x, mu.y}, {mv.x, mv.y}, start, sweep, source))
        out.push_back(*piece);
}

// The segments of a polyline with bulges lying in the plane of `normal` at `elevation`: lines, and arcs of
// sweep 4 atan(bulge), counter-clockwise when the bulge is positive.
void appendBulgedSegments(const std::vector<db::Polyline::Vertex>& v, bool closed, double elevation,
                          const db::Vector3d& normal, const db::Matrix3d& m, std::size_t source,
                          std::vector<Piece>& out) {
    const std::size_t n = v.size();
    const std::size_t segments = closed ? n : (n ? n - 1 : 0);
    auto wcs = [&](const db::Point2d& p) { return db::ocsToWcs(db::Point3d(p.x, p.y, elevation), normal); };
    for (std::size_t i = 0; i < segments; ++i) {
        const db::Point2d& a = v[i].point;
        const db::Point2d& b = v[(i + 1) % n].point;
        if (a == b) continue;
        const double bulge = v[i].bulge;
        if (bulge == 0 || !std::isfinite(bulge)) {
            out.push_back(Piece::line(point2(m, wcs(a)), point2(m, wcs(b)), source));
            continue;
        }
        const db::BulgeArc arc = db::bulgeToArc(a, b, bulge);
        const double a0 = std::atan2(a.y - arc.center.y, a.x - arc.center.x);
        appendConic(m, wcs(arc.center), db::ocsXAxis(normal) * arc.radius, db::ocsYAxis(normal) * arc.radius,
                    a0, 4 * std::atan(bulge), source, out);
    }
}

}  // namespace

void AppendBoundaryCurves(const db::Entity& entity, const db::Matrix3d& m, std::size_t source,
                          std::vector<Piece>& out, int depth) {
    if (!visible(entity)) return;
    if (auto* line = db::objectCast<db::Line>(&entity)) {
        out.push_back(Piece::line(point2(m, line->startPoint()), point2(m, line->endPoint()), source));
    } else if (auto* arc = db::objectCast<db::Arc>(&entity)) {
        appendConic(m, arc->center(), db::ocsXAxis(arc->normal()) * arc->radius(),
                    db::ocsYAxis(arc->normal()) * arc->radius(), arc->startAngle(), arc->totalAngle(), source,
                    out);
    } else if (auto* circle = db::objectCast<db::Circle>(&entity)) {
        appendConic(m, circle->center(), db::ocsXAxis(circle->normal()) * circle->radius(),
                    db::ocsYAxis(circle->normal()) * circle->radius(), 0, kTwoPi, source, out);
    } else if (auto* ellipse = db::objectCast<db::Ellipse>(&entity)) {
        const double sweep = ellipse->isClosed() ? kTwoPi : ellipse->endParam() - ellipse->startParam();
        appendConic(m, ellipse->center(), ellipse->majorAxis(), ellipse->minorAxis(), ellipse->startParam(),
                    sweep, source, out);
    } else if (auto* spline = db::objectCast<db::Spline>(&entity)) {
        // The control-point form only: a spline given by fit points alone is left out.
        const std::size_t n = spline->controlPoints().size();
        std::vector<db::Point2d> points;
        for (const db::Point3d& p : spline->controlPoints()) points.push_back(point2(m, p));
        std::vector<double> weights =
            spline->weights().size() == n ? spline->weights() : std::vector<double>{};
        if (auto curve = PlanarSpline::make(spline->degree(), spline->knots(), std::move(points),
                                            std::move(weights))) {
            auto shared = std::make_shared<const PlanarSpline>(std::move(*curve));
            out.push_back(Piece::splinePart(shared, shared->first(), shared->last(), source));
        }
    } else if (auto* pl = db::objectCast<db::Polyline>(&entity)) {
        appendBulgedSegments(pl->vertices(), pl->isClosed(), pl->elevation(), pl->normal(), m, source, out);
    } else if (auto* heavy = db::objectCast<db::Polyline2d>(&entity)) {
        // The points of a spline-fit polyline's frame are not on its curve; the fitted vertices are.
        constexpr std::int16_t kFrameControlPoint = 16;
        std::vector<db::Polyline::Vertex> vertices;
        for (const db::Vertex* v : heavy->vertices())
            if (!(v->flags() & kFrameControlPoint))
                vertices.push_back({{v->position().x, v->position().y}, v->bulge()});
        appendBulgedSegments(vertices, heavy->isClosed(), heavy->elevation(), heavy->normal(), m, source,
                             out);
    } else if (auto* polyline3d = db::objectCast<db::Polyline3d>(&entity)) {
        // Straight segments between world points, as they lie seen from above.
        const std::vector<const db::Vertex*> vs = polyline3d->vertices();
        const std::size_t n = vs.size();
        for (std::size_t i = 0; i + 1 < n || (polyline3d->isClosed() && n > 2 && i < n); ++i)
            out.push_back(
                Piece::line(point2(m, vs[i]->position()), point2(m, vs[(i + 1) % n]->position()), source));
    } else if (auto* ref = db::objectCast<db::BlockReference>(&entity)) {
        if (depth >= kMaxDepth) return;
        auto* block = db::objectCast<db::BlockTableRecord>(ref->blockTableRecord().peek());
        if (!block) return;
        const db::Matrix3d inner = m * ref->blockTransform();
        block->forEachEntity([&](db::Entity* e) { AppendBoundaryCurves(*e, inner, source, out, depth + 1); });
    }
}

std::optional<Region> FindRegionAround(const db::SpatialIndex& index, db::ObjectId space,
                                       const db::Point3d& point, double gapTolerance,
                                       std::vector<db::ObjectId>* sources) {
    const db::Extents3d all = index.extents(space);
    if (!all.isValid()) return std::nullopt;
    const double whole = std::max(all.maxPoint().x - all.minPoint().x, all.maxPoint().y - all.minPoint().y);
    for (double half = std::max(whole / 64, 1e-6);; half *= 2) {
        const db::Extents3d window(db::Point3d(point.x - half, point.y - half),
                                   db::Point3d(point.x + half, point.y + half));
        const std::vector<db::ObjectId> near = index.query(space, window);
        std::vector<Piece> curves;
        for (std::size_t i = 0; i < near.size(); ++i)
            if (auto* e = db::objectCast<db::Entity>(near[i].peek()))
                AppendBoundaryCurves(*e, db::Matrix3d(), i, curves);
        std::optional<Region> region = FindRegion(curves, flat(point), gapTolerance);
        const bool coversAll =
            window.minPoint().x <= all.minPoint().x && window.minPoint().y <= all.minPoint().y &&
            window.maxPoint().x >= all.maxPoint().x && window.maxPoint().y >= all.maxPoint().y;
        bool inside = false;
        if (region) {
            inside = true;
            // Well inside, with room for the rounding of the boxes.
            for (const Piece& p : region->outer.pieces) {
                const auto [low, high] = p.box();
                for (const db::Point2d& q : {low, high})
                    inside = inside && std::fabs(q.x - point.x) < 0.9 * half &&
                             std::fabs(q.y - point.y) < 0.9 * half;
            }
        }
        if (inside || coversAll) {
            if (sources) *sources = near;
            return region;
        }
    }
}

db::HatchEdge HatchEdgeOf(const Piece& p) {
    db::HatchEdge e;
    // Arcs and elliptic arcs run from the angle (parameter) of their start to that of their end, either way
    // round; a whole turn stays a whole turn.
    auto angles = [&] {
        const double start = db::normalizeAngle(p.startAngle);
        e.startAngle = start;
        e.endAngle = std::fabs(p.sweep) >= kTwoPi - 1e-12 ? start + (p.sweep > 0 ? kTwoPi : -kTwoPi)
                                                          : db::normalizeAngle(p.startAngle + p.sweep);
        e.counterClockwise = p.sweep > 0;
    };
    switch (p.kind) {
        case Piece::Kind::Line:
            e.type = db::HatchEdge::Type::Line, e.start = p.start, e.end = p.end;
            break;
        case Piece::Kind::Arc:
            e.type = db::HatchEdge::Type::CircularArc, e.center = p.center, e.radius = p.radius;
            angles();
            break;
        case Piece::Kind::Ellipse:
            e.type = db::HatchEdge::Type::EllipticArc, e.center = p.center, e.majorAxis = p.majorAxis;
            e.ratio = p.ratio;
            angles();
            break;
        case Piece::Kind::Spline: {
            // Exactly the stretch of the spline the piece covers, in the direction it runs.
            const double u0 = p.startAngle, u1 = p.startAngle + p.sweep;
            const PlanarSpline own = p.sweep > 0 ? p.spline->part(u0, u1) : p.spline->part(u1, u0).reversed();
            e.type = db::HatchEdge::Type::Spline, e.degree = own.degree(), e.rational = own.rational();
            e.knots = own.knots(), e.controlPoints = own.points(), e.weights = own.weights();
            break;
        }
    }
    return e;
}

std::vector<db::HatchLoop> HatchLoops(const Region& region, const std::vector<db::ObjectId>& sources) {
    std::vector<db::HatchLoop> loops;
    auto add = [&](const Loop& loop, std::int32_t flags) {
        db::HatchLoop out;
        // Lines and circular arcs make a polyline loop with bulges; elliptic arcs and splines need edges.
        const bool polyline = std::all_of(loop.pieces.begin(), loop.pieces.end(), [](const Piece& p) {
            return p.kind == Piece::Kind::Line || p.kind == Piece::Kind::Arc;
        });
        out.flags = polyline ? flags | db::HatchLoop::kPolyline : flags;
        for (const Piece& p : loop.pieces) {
            if (polyline)
                out.vertices.push_back({p.start, p.kind == Piece::Kind::Arc ? std::tan(p.sweep / 4) : 0.0});
            else
                out.edges.push_back(HatchEdgeOf(p));
            if (p.source < sources.size() && std::find(out.sourceObjects.begin(), out.sourceObjects.end(),
                                                       sources[p.source]) == out.sourceObjects.end())
                out.sourceObjects.push_back(sources[p.source]);
        }
        loops.push_back(std::move(out));
    };
    add(region.outer, db::HatchLoop::kExternal | db::HatchLoop::kDerived);
    for (const Loop& island : region.islands) add(island, db::HatchLoop::kDerived);
    return loops;
}

}  // namespace vela::host::hatch
