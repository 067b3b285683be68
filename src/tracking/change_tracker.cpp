#include "tracking/change_tracker.h"

#include <QCoreApplication>
#include <QTimer>
#include <chrono>
#include <cmath>

#include "db/database.h"
#include "db/entity.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"
#include "db/records/simple_records.h"
#include "db/records/text_style_table_record.h"
#include "host/document.h"
#include "host/host.h"
#include "host/text/color_text.h"
#include "properties/lineweight_text.h"

namespace vela::tracking {

namespace {

// By layer and by block count as opaque, as alpha 255 does.
double opacityOf(db::Transparency t) {
    return (t.isByAlpha() ? t.alpha() : 255) / 255.0;
}

QString flag(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString text(const std::string& s) {
    return QString::fromStdString(s);
}

// The name of the record an id leads to, without copying it; empty when it leads nowhere.
const std::string& recordName(db::ObjectId id) {
    static const std::string none;
    const auto* record = db::objectCast<db::SymbolTableRecord>(id.peek());
    return record ? record->name() : none;
}

const std::string& linetypeNameOf(const db::LayerTableRecord& layer) {
    static const std::string none;
    const auto* linetype = db::objectCast<db::LinetypeTableRecord>(layer.linetypeId().peek());
    return linetype ? linetype->name() : none;
}

void compare(std::vector<PropertyChange>& out, const char* property, const QString& before,
             const QString& now) {
    out.push_back({QString::fromLatin1(property), before, now});
}

}  // namespace

ChangeCategory ClassifyObject(const db::DbObject* object) {
    if (!object || object->isKindOf(db::BlockTableRecord::desc())) return ChangeCategory::Other;
    if (object->isKindOf(db::Entity::desc())) {
        // Entities inside block definitions are part of the block, which is not tracked.
        const auto* block = db::objectCast<db::BlockTableRecord>(object->ownerId().peek());
        return block && !block->isLayout() ? ChangeCategory::Other : ChangeCategory::Entity;
    }
    if (object->isKindOf(db::LayerTableRecord::desc())) return ChangeCategory::Layer;
    if (object->isKindOf(db::LinetypeTableRecord::desc())) return ChangeCategory::Linetype;
    if (object->isKindOf(db::TextStyleTableRecord::desc())) return ChangeCategory::TextStyle;
    if (object->isKindOf(db::DimStyleTableRecord::desc())) return ChangeCategory::DimStyle;
    return ChangeCategory::Other;
}

QString ObjectDisplayName(const db::DbObject* object) {
    // Every record class the tracker names is a symbol table record; most notifications are about entities.
    if (!object || !object->isKindOf(db::SymbolTableRecord::desc())) return QString();
    for (const db::RxClass* cls : {db::LayerTableRecord::desc(), db::LinetypeTableRecord::desc(),
                                   db::TextStyleTableRecord::desc(), db::DimStyleTableRecord::desc(),
                                   db::BlockTableRecord::desc()})
        if (object->isKindOf(cls)) return text(static_cast<const db::SymbolTableRecord*>(object)->name());
    return QString();
}

CJxV3ChangeTracker::CJxV3ChangeTracker() = default;
CJxV3ChangeTracker::~CJxV3ChangeTracker() = default;

CJxV3ChangeTracker* GetV3ChangeTracker() {
    static CJxV3ChangeTracker tracker;
    return &tracker;
}

std::int64_t CJxV3ChangeTracker::now() const {
    if (clock_) return clock_();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void CJxV3ChangeTracker::setClock(Clock clock) {
    clock_ = std::move(clock);
}

bool CJxV3ChangeTracker::idleTooLong() const {
    return (now() - lastReportTime_) / 60'000'000'000 >= kIdleResetMinutes;
}

void CJxV3ChangeTracker::resetWhenIdle() {
    if (idleTooLong()) Reset();
}

void CJxV3ChangeTracker::Start() {
    if (started_) return;
    started_ = true;
    lastReportTime_ = now();
    host::Host* h = host::Host::instance();
    if (h) {
        host::DocumentManager& documents = h->documents();
        documents.addReactor(this);
        for (int i = 0; i < documents.count(); ++i) documentCreated(documents.at(i));
    }
    // A timer needs an event loop; a host without one (a script, a test) relies on the reset at report time.
    if (QCoreApplication::instance()) {
        cleanupTimer_ = std::make_unique<QTimer>();
        cleanupTimer_->setInterval(kCleanupIntervalMs);
        QObject::connect(cleanupTimer_.get(), &QTimer::timeout, [this] { resetWhenIdle(); });
        cleanupTimer_->start();
    }
}

void CJxV3ChangeTracker::Stop() {
    if (!started_) return;
    cleanupTimer_.reset();
    if (host::Host* h = host::Host::instance()) {
        host::DocumentManager& documents = h->documents();
        for (int i = 0; i < documents.count(); ++i) documentToBeDestroyed(documents.at(i));
        documents.removeReactor(this);
    }
    started_ = false;
    Reset();
}

void CJxV3ChangeTracker::Reset() {
    lastOwner_ = nullptr;
    changesByDatabase_.clear();
    entitySnapshots_.clear();
    layerSnapshots_.clear();
    names_.clear();
    lastReportTime_ = now();
}

CJxV3ChangeTracker::State CJxV3ChangeTracker::TakeState() {
    State state;
    state.changesByDatabase = std::move(changesByDatabase_);
    state.names = std::move(names_);  // the snapshots point into its nodes, which move with it
    state.entitySnapshots = std::move(entitySnapshots_);
    state.layerSnapshots = std::move(layerSnapshots_);
    state.lastReportTime = lastReportTime_;
    changesByDatabase_.clear();
    names_.clear();
    entitySnapshots_.clear();
    layerSnapshots_.clear();
    lastOwner_ = nullptr;
    return state;
}

void CJxV3ChangeTracker::RestoreState(State state) {
    changesByDatabase_ = std::move(state.changesByDatabase);
    names_ = std::move(state.names);
    entitySnapshots_ = std::move(state.entitySnapshots);
    layerSnapshots_ = std::move(state.layerSnapshots);
    lastReportTime_ = state.lastReportTime;
    lastOwner_ = nullptr;
}

void CJxV3ChangeTracker::documentCreated(host::Document* document) {
    if (!document || !document->database()) return;
    // A closed drawing's unreported changes stay until the next reset, under its address; a new drawing that
    // gets the same address has none of them.
    changesByDatabase_.erase(document->database());
    lastOwner_ = nullptr;
    document->database()->addReactor(this);
}

void CJxV3ChangeTracker::documentToBeDestroyed(host::Document* document) {
    lastOwner_ = nullptr;
    if (document && document->database()) document->database()->removeReactor(this);
}

ChangeCategory CJxV3ChangeTracker::classify(const db::DbObject* object) {
    // Entities of one space follow each other in notifications; the verdict on their owner (a name
    // comparison) is kept for the next one. Block records own nothing but entities, so an object of the same
    // owner is one too. Owners live as long as their drawing, and the verdict is dropped when drawings come
    // and go.
    if (!object) return ChangeCategory::Other;
    const db::DbObject* owner = object->ownerId().peek();
    if (owner && owner == lastOwner_) return lastOwnerCategory_;
    const ChangeCategory category = ClassifyObject(object);
    if (owner && object->isKindOf(db::Entity::desc())) {
        lastOwner_ = owner;
        lastOwnerCategory_ = category;
    }
    return category;
}

ChangedObjectRecord CJxV3ChangeTracker::recordOf(const db::DbObject* object, ChangeCategory category) const {
    return {object->handle(), object->isA()->name(), category, ObjectDisplayName(object)};
}

void CJxV3ChangeTracker::objectAppended(const db::Database* database, const db::DbObject* object) {
    const ChangeCategory category = classify(object);
    if (category == ChangeCategory::Other) return;
    changesByDatabase_[database].created.insert_or_assign(object->handle(), recordOf(object, category));
}

void CJxV3ChangeTracker::objectOpenedForModify(const db::Database*, const db::DbObject* object) {
    const ChangeCategory category = classify(object);
    if (category == ChangeCategory::Entity) {
        // One lookup: most objects opened for modify have no snapshot yet, or keep the one they have.
        auto [snapshot, added] = entitySnapshots_.tryEmplace(object->handle());
        if (!added) return;
        const auto& e = static_cast<const db::Entity&>(*object);
        *snapshot = EntitySnapshot{intern(recordName(e.layerId())), intern(recordName(e.linetypeId())),
                                   opacityOf(e.transparency()), e.color(), e.lineWeight()};
    } else if (category == ChangeCategory::Layer) {
        auto [snapshot, added] = layerSnapshots_.tryEmplace(object->handle());
        if (!added) return;
        const auto& l = static_cast<const db::LayerTableRecord&>(*object);
        *snapshot = LayerSnapshot{l.name(),  l.color(),    linetypeNameOf(l), l.lineWeight(),
                                  l.isOff(), l.isFrozen(), l.isLocked()};
    }
}

void CJxV3ChangeTracker::objectModified(const db::Database* database, const db::DbObject* object) {
    const ChangeCategory category = classify(object);
    std::vector<PropertyChange> changes;
    using host::ColorToText;
    using properties::LineWeightToText;
    if (category == ChangeCategory::Entity) {
        const EntitySnapshot* snapshot = entitySnapshots_.find(object->handle());
        if (!snapshot) return;
        const EntitySnapshot& before = *snapshot;
        const auto& e = static_cast<const db::Entity&>(*object);
        if (before.color != e.color())
            compare(changes, "Color", host::ColorToText(before.color), host::ColorToText(e.color()));
        if (const std::string& layer = recordName(e.layerId()); *before.layer != layer)
            compare(changes, "Layer", text(*before.layer), text(layer));
        if (const std::string& linetype = recordName(e.linetypeId()); *before.linetype != linetype)
            compare(changes, "Linetype", text(*before.linetype), text(linetype));
        if (before.lineweight != e.lineWeight())
            compare(changes, "Lineweight", LineWeightToText(before.lineweight),
                    LineWeightToText(e.lineWeight()));
        const double opacity = opacityOf(e.transparency());
        if (std::fabs(before.opacity - opacity) > 1e-10)
            compare(changes, "Transparency", QString::number(before.opacity, 'f', 1),
                    QString::number(opacity, 'f', 1));
    } else if (category == ChangeCategory::Layer) {
        const LayerSnapshot* snapshot = layerSnapshots_.find(object->handle());
        if (!snapshot) return;
        const LayerSnapshot& before = *snapshot;
        const auto& l = static_cast<const db::LayerTableRecord&>(*object);
        if (before.name != l.name()) compare(changes, "Name", text(before.name), text(l.name()));
        if (before.color != l.color())
            compare(changes, "Color", host::ColorToText(before.color), host::ColorToText(l.color()));
        if (const std::string& linetype = linetypeNameOf(l); before.linetype != linetype)
            compare(changes, "Linetype", text(before.linetype), text(linetype));
        if (before.lineweight != l.lineWeight())
            compare(changes, "Lineweight", LineWeightToText(before.lineweight),
                    LineWeightToText(l.lineWeight()));
        if (before.isOff != l.isOff()) compare(changes, "IsOff", flag(before.isOff), flag(l.isOff()));
        if (before.isFrozen != l.isFrozen())
            compare(changes, "IsFrozen", flag(before.isFrozen), flag(l.isFrozen()));
        if (before.isLocked != l.isLocked())
            compare(changes, "IsLocked", flag(before.isLocked), flag(l.isLocked()));
    }
    if (changes.empty()) return;
    auto [record, added] = changesByDatabase_[database].modified.try_emplace(object->handle());
    if (added) static_cast<ChangedObjectRecord&>(record->second) = recordOf(object, category);
    record->second.changes.insert(record->second.changes.end(), std::make_move_iterator(changes.begin()),
                                  std::make_move_iterator(changes.end()));
}

void CJxV3ChangeTracker::objectErased(const db::Database* database, const db::DbObject* object, bool erased) {
    const ChangeCategory category = classify(object);
    if (category == ChangeCategory::Other) return;
    if (erased)
        changesByDatabase_[database].erased.try_emplace(object->handle(), recordOf(object, category));
    else if (auto it = changesByDatabase_.find(database); it != changesByDatabase_.end())
        it->second.erased.erase(object->handle());
}

DatabaseChanges CJxV3ChangeTracker::TakeChanges(const db::Database* database) {
    if (idleTooLong()) Reset();
    DatabaseChanges result;
    const auto entry = changesByDatabase_.find(database);
    if (entry != changesByDatabase_.end()) {
        DatabaseChanges& pending = entry->second;
        for (auto& [handle, record] : pending.created)
            if (!pending.erased.contains(handle)) result.created.emplace(handle, std::move(record));
        for (auto& [handle, record] : pending.modified)
            if (!pending.erased.contains(handle)) result.modified.emplace(handle, std::move(record));
        for (auto& [handle, record] : pending.erased)
            if (!pending.created.contains(handle)) result.erased.emplace(handle, std::move(record));
        changesByDatabase_.erase(entry);
    }
    lastReportTime_ = now();
    return result;
}

}  // namespace vela::tracking
