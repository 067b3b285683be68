// Object selection inside commands, as CAD users answer "Select objects:".
#include "host/commands/object_selection.h"

#include <algorithm>
#include <unordered_set>

#include "db/database.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "host/commands/command_support.h"
#include "host/document.h"

namespace vela::host::commands {

namespace {

thread_local PickFirst* g_current = nullptr;

// As for every question: a front end that keeps answering what cannot be read is not asked forever.
constexpr int kMaxInvalid = 200;

db::LayerTableRecord* layerOf(const db::Entity& e) {
    return db::objectCast<db::LayerTableRecord>(e.layerId().peek());
}

bool onFrozenLayer(const db::Entity& e) {
    const db::LayerTableRecord* layer = layerOf(e);
    return layer && layer->isFrozen();
}

/// The live entity of the active space a handle text names.
db::ObjectId entityOfHandle(CommandContext& context, const QString& text) {
    const std::optional<db::Handle> handle = db::Handle::fromText(text.trimmed().toStdString());
    if (!handle) return {};
    const db::ObjectId id = context.database()->getObjectId(*handle);
    const auto* entity = db::objectCast<db::Entity>(id.peek());
    if (!entity || entity->ownerId() != activeSpace(context)) return {};
    return id;
}

/// The last live entity of the active space not on a frozen layer: what "L" (last) means.
db::ObjectId lastEntity(CommandContext& context) {
    auto* space = db::objectCast<db::BlockTableRecord>(activeSpace(context).peek());
    db::ObjectId last;
    if (space)
        space->forEachEntity([&](db::Entity* e) {
            if (!onFrozenLayer(*e)) last = e->objectId();
        });
    return last;
}

bool segmentMeetsBox(const db::Point3d& a, const db::Point3d& b, double x0, double y0, double x1, double y1) {
    // Liang-Barsky clipping of the segment against the box, in X and Y.
    double t0 = 0, t1 = 1;
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {a.x - x0, x1 - a.x, a.y - y0, y1 - a.y};
    for (int i = 0; i < 4; ++i) {
        if (p[i] == 0) {
            if (q[i] < 0) return false;
        } else {
            const double t = q[i] / p[i];
            if (p[i] < 0)
                t0 = std::max(t0, t);
            else
                t1 = std::min(t1, t);
            if (t0 > t1) return false;
        }
    }
    return true;
}

QString countText(std::size_t found, std::size_t duplicates, std::size_t total, bool removing) {
    QString t = QStringLiteral("%1 found").arg(found);
    if (duplicates) t += QStringLiteral(" (%1 duplicate)").arg(duplicates);
    if (removing) t += QStringLiteral(", %1 removed").arg(found - duplicates);
    return t + QStringLiteral(", %1 total").arg(total);
}

}  // namespace

std::vector<db::ObjectId> windowSelection(db::ObjectId spaceId, const db::Point3d& c1, const db::Point3d& c2,
                                          bool crossing) {
    const double x0 = std::min(c1.x, c2.x), x1 = std::max(c1.x, c2.x);
    const double y0 = std::min(c1.y, c2.y), y1 = std::max(c1.y, c2.y);
    std::vector<db::ObjectId> found;
    auto* space = db::objectCast<db::BlockTableRecord>(spaceId.peek());
    if (!space) return found;
    space->forEachEntity([&](db::Entity* e) {
        if (onFrozenLayer(*e)) return;
        db::Extents3d box;
        if (e->getGeomExtents(box) != db::ErrorStatus::Ok || !box.isValid()) return;
        const db::Point3d& lo = box.minPoint();
        const db::Point3d& hi = box.maxPoint();
        const bool inside = lo.x >= x0 && hi.x <= x1 && lo.y >= y0 && hi.y <= y1;
        bool take = inside;
        if (!take && crossing && lo.x <= x1 && hi.x >= x0 && lo.y <= y1 && hi.y >= y0) {
            // Straight geometry is tested exactly; other kinds count as crossing when their box does.
            take = true;
            if (const auto* line = db::objectCast<db::Line>(e)) {
                take = segmentMeetsBox(line->startPoint(), line->endPoint(), x0, y0, x1, y1);
            } else if (const auto* pl = db::objectCast<db::Polyline>(e)) {
                const auto& v = pl->vertices();
                const bool straight =
                    std::all_of(v.begin(), v.end(), [](const auto& x) { return x.bulge == 0; });
                if (straight && pl->normal().isEqualTo(db::Vector3d::zAxis())) {
                    take = false;
                    for (std::size_t i = 0; i < pl->numSegments() && !take; ++i)
                        take =
                            segmentMeetsBox(pl->pointAt(i), pl->pointAt((i + 1) % v.size()), x0, y0, x1, y1);
                }
            }
        }
        if (take) found.push_back(e->objectId());
    });
    return found;
}

PickFirst::PickFirst(CommandContext& context) : document_(context.document()), outer_(g_current) {
    if (document_) ids_ = document_->selection().ids();
    g_current = this;
}

PickFirst::~PickFirst() {
    g_current = outer_;
    if (taken_ && document_) document_->selection().clear();
}

std::optional<std::vector<db::ObjectId>> PickFirst::take() {
    PickFirst* current = g_current;
    if (!current || current->taken_ || current->ids_.empty()) return std::nullopt;
    current->taken_ = true;
    return std::move(current->ids_);
}

int selectObjects(CommandContext& context, std::vector<db::ObjectId>& ids, const QString& prompt) {
    ids.clear();
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    std::vector<db::ObjectId> chosen;
    std::unordered_set<db::ObjectId> members;
    std::size_t lockedSkipped = 0;
    // Adds or removes what one answer found; entities on locked layers are not taken for editing.
    auto apply = [&](const std::vector<db::ObjectId>& found, bool removing) {
        std::size_t duplicates = 0;
        for (db::ObjectId id : found) {
            const auto* e = db::objectCast<db::Entity>(id.peek());
            if (!e || e->isErased()) continue;
            if (removing) {
                if (members.erase(id))
                    std::erase(chosen, id);
                else
                    ++duplicates;
                continue;
            }
            const db::LayerTableRecord* layer = layerOf(*e);
            if (layer && layer->isLocked()) {
                ++lockedSkipped;
                continue;
            }
            if (members.insert(id).second)
                chosen.push_back(id);
            else
                ++duplicates;
        }
        io.message(countText(found.size(), duplicates, chosen.size(), removing));
    };

    if (std::optional<std::vector<db::ObjectId>> first = PickFirst::take()) {
        apply(*first, false);
    } else {
        bool removing = false;
        for (;;) {
            QString answer;
            const int r = io.getText(Prompt(removing ? QStringLiteral("Remove objects") : prompt).orNone(),
                                     false, answer);
            if (r == RTCAN) return RTCAN;
            if (r == RTNONE) break;
            const QString word = answer.trimmed().toUpper();
            auto is = [&](const char* shortForm, const char* longForm) {
                return word == QLatin1String(shortForm) || word == QLatin1String(longForm);
            };
            if (word == QLatin1String("ALL")) {
                std::vector<db::ObjectId> all;
                if (auto* space = db::objectCast<db::BlockTableRecord>(activeSpace(context).peek()))
                    space->forEachEntity([&](db::Entity* e) {
                        if (!onFrozenLayer(*e)) all.push_back(e->objectId());
                    });
                apply(all, removing);
            } else if (is("L", "LAST")) {
                const db::ObjectId last = lastEntity(context);
                apply(last.isNull() ? std::vector<db::ObjectId>{} : std::vector<db::ObjectId>{last},
                      removing);
            } else if (is("P", "PREVIOUS")) {
                apply(context.document()->previousSelection(), removing);
            } else if (is("W", "WINDOW") || is("C", "CROSSING")) {
                db::Point3d c1, c2;
                if (io.getPoint(Prompt(QStringLiteral("Specify first corner")), c1) != RTNORM) return RTCAN;
                if (io.getPoint(Prompt(QStringLiteral("Specify opposite corner")).from(c1), c2) != RTNORM)
                    return RTCAN;
                apply(windowSelection(activeSpace(context), c1, c2, word.startsWith(QLatin1Char('C'))),
                      removing);
            } else if (is("R", "REMOVE")) {
                removing = true;
            } else if (is("A", "ADD")) {
                removing = false;
            } else if (const db::ObjectId id = entityOfHandle(context, answer); !id.isNull()) {
                apply({id}, removing);
            } else {
                io.message(QStringLiteral("*Invalid selection*"));
                io.message(
                    QStringLiteral("Expects the handle of an entity of this space, or "
                                   "Window/Last/Crossing/ALL/Previous/Add/Remove"));
            }
        }
    }
    if (lockedSkipped) io.message(QStringLiteral("%1 were on a locked layer.").arg(lockedSkipped));
    context.document()->previousSelection() = chosen;
    ids = std::move(chosen);
    return ids.empty() ? RTNONE : RTNORM;
}

int pickObject(CommandContext& context, const Prompt& prompt, db::ObjectId& id) {
    if (!haveDrawing(context)) return RTERROR;
    UserIO& io = context.userIO();
    for (int invalid = 0; invalid < kMaxInvalid; ++invalid) {
        QString answer;
        const int r = io.getText(prompt, false, answer);
        if (r != RTNORM) return r;
        const QString word = answer.trimmed().toUpper();
        id = (word == QLatin1String("L") || word == QLatin1String("LAST")) ? lastEntity(context)
                                                                           : entityOfHandle(context, answer);
        if (!id.isNull()) return RTNORM;
        io.message(QStringLiteral("*Invalid selection*"));
        io.message(QStringLiteral("Expects the handle of an entity of this space, or Last"));
    }
    return RTCAN;
}

}  // namespace vela::host::commands
