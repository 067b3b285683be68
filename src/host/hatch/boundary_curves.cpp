#include "host/hatch/boundary_curves.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "db/database.h"
#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/geometry/plane.h"
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

bool visible(const db::Entity& e) {
    if (!e.isVisible()) return false;
    auto* layer = db::objectCast<db::LayerTableRecord>(e.layerId().peek());
    return !layer || (!layer->isOff() && !layer->isFrozen());
}

// A circular arc given by its centre and three points along it (start, somewhere between, end), as they lie
// after a transformation that keeps circles circles (mirrors turn the arc round).
Piece arcThrough(db::Point2d center, db::Point2d start, db::Point2d mid, db::Point2d end, double radius,
                 double sweep, std::size_t source) {
    const double turn = (mid.x - start.x) * (end.y - mid.y) - (mid.y - start.y) * (end.x - mid.x);
    const double a0 = std::atan2(start.y - center.y, start.x - center.x);
    return Piece::arc(center, radius, a0, turn >= 0 ? sweep : -sweep, source);
}

}  // namespace

void AppendBoundaryCurves(const db::Entity& entity, const db::Matrix3d& m, std::size_t source,
                          std::vector<Piece>& out, int depth) {
    if (!visible(entity)) return;
    auto point = [&](const db::Point3d& p) { return flat(m.apply(p)); };
    const bool keepsCircles = m.isUniformScaledOrthogonal(1e-9);
    if (auto* line = db::objectCast<db::Line>(&entity)) {
        out.push_back(Piece::line(point(line->startPoint()), point(line->endPoint()), source));
    } else if (auto* arc = db::objectCast<db::Arc>(&entity)) {
        if (!keepsCircles) return;
        const double sweep = arc->totalAngle();
        out.push_back(arcThrough(point(arc->center()), point(arc->startPoint()),
                                 point(arc->pointAtAngle(arc->startAngle() + sweep / 2)),
                                 point(arc->endPoint()), arc->radius() * m.scaleFactor(), sweep, source));
    } else if (auto* circle = db::objectCast<db::Circle>(&entity)) {
        if (!keepsCircles) return;
        const db::Point2d c = point(circle->center());
        out.push_back(Piece::arc(c, circle->radius() * m.scaleFactor(), 0, kTwoPi, source));
    } else if (auto* pl = db::objectCast<db::Polyline>(&entity)) {
        const auto& v = pl->vertices();
        const std::size_t n = v.size();
        const std::size_t segments = pl->isClosed() ? n : (n ? n - 1 : 0);
        auto wcs = [&](const db::Point2d& p) {
            return point(db::ocsToWcs(db::Point3d(p.x, p.y, pl->elevation()), pl->normal()));
        };
        for (std::size_t i = 0; i < segments; ++i) {
            const db::Point2d& a = v[i].point;
            const db::Point2d& b = v[(i + 1) % n].point;
            if (a == b) continue;
            const double bulge = v[i].bulge;
            if (bulge == 0 || !std::isfinite(bulge)) {
                out.push_back(Piece::line(wcs(a), wcs(b), source));
                continue;
            }
            if (!keepsCircles) return;
            // The arc of the bulge in the polyline's plane: sweep = 4 atan(bulge), counter-clockwise when
            // positive.
            const double sweep = 4 * std::atan(bulge);
            const double chord = std::hypot(b.x - a.x, b.y - a.y);
            const double radius = chord / (2 * std::sin(std::fabs(sweep) / 2));
            // Left of the chord for a counter-clockwise arc of less than half a circle; the cosine turns the
            // side round for larger ones.
            const double toCenter = radius * std::cos(std::fabs(sweep) / 2) * (bulge > 0 ? 1 : -1);
            const db::Point2d mid{(a.x + b.x) / 2, (a.y + b.y) / 2};
            const db::Point2d normal{-(b.y - a.y) / chord, (b.x - a.x) / chord};
            const db::Point2d center{mid.x + normal.x * toCenter, mid.y + normal.y * toCenter};
            const double a0 = std::atan2(a.y - center.y, a.x - center.x);
            const db::Point2d between{center.x + radius * std::cos(a0 + sweep / 2),
                                      center.y + radius * std::sin(a0 + sweep / 2)};
            out.push_back(arcThrough(wcs(center), wcs(a), wcs(between), wcs(b), radius * m.scaleFactor(),
                                     std::fabs(sweep), source));
        }
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
            // Well inside: the pieces are sampled, and an arc may bulge a little beyond its samples.
            for (const Piece& p : region->outer.pieces)
                for (int k = 0; k <= 16; ++k) {
                    const db::Point2d q = p.pointAt(k / 16.0);
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

std::vector<db::HatchLoop> HatchLoops(const Region& region, const std::vector<db::ObjectId>& sources) {
    std::vector<db::HatchLoop> loops;
    auto add = [&](const Loop& loop, std::int32_t flags) {
        db::HatchLoop out;
        out.flags = flags;
        for (const Piece& p : loop.pieces) {
            out.vertices.push_back({p.start, p.kind == Piece::Kind::Arc ? std::tan(p.sweep / 4) : 0.0});
            if (p.source < sources.size() && std::find(out.sourceObjects.begin(), out.sourceObjects.end(),
                                                       sources[p.source]) == out.sourceObjects.end())
                out.sourceObjects.push_back(sources[p.source]);
        }
        loops.push_back(std::move(out));
    };
    add(region.outer, db::HatchLoop::kExternal | db::HatchLoop::kPolyline | db::HatchLoop::kDerived);
    for (const Loop& island : region.islands) add(island, db::HatchLoop::kPolyline | db::HatchLoop::kDerived);
    return loops;
}

}  // namespace vela::host::hatch
