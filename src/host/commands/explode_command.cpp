// EXPLODE: block references into their entities, lightweight polylines into lines and arcs.
#include <cmath>

#include "db/database.h"
#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/geometry/plane.h"
#include "db/records/block_table_record.h"
#include "host/commands/command_support.h"
#include "host/entity_transform.h"

namespace vela::host::commands {

namespace {

/// The new entity takes the exploded one's layer, color, linetype, lineweight, linetype scale and
/// transparency.
void takeProperties(db::Entity& to, const db::Entity& from) {
    to.setLayerId(from.layerId());
    to.setColor(from.color());
    to.setLinetypeId(from.linetypeId());
    to.setLineWeight(from.lineWeight());
    to.setLinetypeScale(from.linetypeScale());
    to.setTransparency(from.transparency());
}

bool explodePolyline(CommandContext& context, const db::Polyline& pl, bool& lostWidth) {
    if (!pl.normal().isEqualTo(db::Vector3d::zAxis())) return false;
    const auto& v = pl.vertices();
    std::vector<std::unique_ptr<db::Entity>> parts;
    for (std::size_t i = 0; i < pl.numSegments(); ++i) {
        const db::Point3d a = pl.pointAt(i), b = pl.pointAt((i + 1) % v.size());
        if (a.isEqualTo(b)) continue;
        if (v[i].startWidth != 0 || v[i].endWidth != 0 || pl.constantWidth() != 0) lostWidth = true;
        const double bulge = v[i].bulge;
        if (std::abs(bulge) < 1e-12) {
            parts.push_back(std::make_unique<db::Line>(a, b));
            continue;
        }
        const double sweep = 4 * std::atan(bulge);
        const double chord = (b - a).length();
        const double radius = chord / (2 * std::sin(std::abs(sweep) / 2));
        const db::Vector3d u = (b - a) / chord;
        const double h = radius * std::cos(sweep / 2) * (sweep > 0 ? 1 : -1);
        const db::Point3d center = a + (b - a) * 0.5 + db::Vector3d(-u.y, u.x, 0) * h;
        double a0 = std::atan2(a.y - center.y, a.x - center.x),
               a1 = std::atan2(b.y - center.y, b.x - center.x);
        if (sweep < 0) std::swap(a0, a1);  // arcs run counter-clockwise
        parts.push_back(
            std::make_unique<db::Arc>(center, radius, db::normalizeAngle(a0), db::normalizeAngle(a1)));
    }
    for (auto& part : parts) {
        takeProperties(*part, pl);
        db::ObjectId id;
        context.database()->appendEntity(pl.ownerId(), std::move(part), &id);
    }
    return !parts.empty();
}

/// The reference's block entities as entities of the space, where the reference shows them. False (and
/// nothing made) when one of them cannot take the reference's transformation.
bool explodeReference(CommandContext& context, const db::BlockReference& ref) {
    auto* block = db::objectCast<db::BlockTableRecord>(ref.blockTableRecord().peek());
    if (!block || !block->isExplodable() || ref.columnCount() > 1 || ref.rowCount() > 1) return false;
    const std::vector<db::ObjectId> copies = copyEntities(context, block->entityIds());
    const db::Matrix3d m = ref.blockTransform();
    for (db::ObjectId id : copies) {
        const EntityTransform done = transformEntity(id, {&m, 1});
        if (!done.ok()) {
            for (db::ObjectId c : copies) eraseEntity(c);
            return false;
        }
    }
    return true;
}

}  // namespace

int explodeCommand(CommandContext& context) {
    std::vector<db::ObjectId> ids;
    const int r = selectObjects(context, ids);
    if (r != RTNORM) return r == RTNONE ? RTNORM : r;
    std::size_t refused = 0;
    bool lostWidth = false;
    for (db::ObjectId id : ids) {
        auto e = db::openObject<db::Entity>(id, db::OpenMode::ForRead);
        if (!e) continue;
        bool exploded = false;
        if (const auto* ref = db::objectCast<db::BlockReference>(e.get()))
            exploded = explodeReference(context, *ref);
        else if (const auto* pl = db::objectCast<db::Polyline>(e.get()))
            exploded = explodePolyline(context, *pl, lostWidth);
        e.close();
        if (exploded)
            eraseEntity(id);
        else
            ++refused;
    }
    if (lostWidth)
        context.userIO().message(QStringLiteral("Exploding this polyline has lost width information."));
    if (refused) context.userIO().message(QStringLiteral("%1 object(s) could not be exploded.").arg(refused));
    return RTNORM;
}

}  // namespace vela::host::commands
