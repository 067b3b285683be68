#include "db/database.h"

#include <algorithm>

#include "db/object_ref.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"
#include "db/records/simple_records.h"
#include "db/records/text_style_table_record.h"

namespace vela::db {

Database::Database(Empty) {}

Database::Database() { addMissingFramework(); }

Database::~Database() {
    for (DatabaseReactor* r : std::vector<DatabaseReactor*>(reactors_)) r->goodbye(this);
    undo_.clear();
    handles_.forEach([](DbObject* o) { delete o; });
}

void Database::addMissingFramework() {
    auto table = [&](ObjectId& id, auto make) {
        if (!objectCast<SymbolTable>(id.peek())) id = addTable(make());
    };
    table(layerTable_, [] { return std::make_unique<LayerTable>(); });
    table(linetypeTable_, [] { return std::make_unique<LinetypeTable>(); });
    table(textStyleTable_, [] { return std::make_unique<TextStyleTable>(); });
    table(dimStyleTable_, [] { return std::make_unique<DimStyleTable>(); });
    table(blockTable_, [] { return std::make_unique<BlockTable>(); });
    table(viewportTable_, [] { return std::make_unique<ViewportTable>(); });
    table(viewTable_, [] { return std::make_unique<ViewTable>(); });
    table(ucsTable_, [] { return std::make_unique<UcsTable>(); });
    table(regAppTable_, [] { return std::make_unique<RegAppTable>(); });

    auto record = [&](ObjectId tableId, std::string_view name, auto make) {
        auto* t = objectCast<SymbolTable>(tableId.peek());
        const ObjectId found = t->getAt(name);
        return found.isNull() ? addDefaultRecord(tableId, make()) : found;
    };
    record(linetypeTable_, "ByBlock", [] { return std::make_unique<LinetypeTableRecord>("ByBlock"); });
    record(linetypeTable_, "ByLayer", [] { return std::make_unique<LinetypeTableRecord>("ByLayer"); });
    const ObjectId continuous = record(linetypeTable_, "Continuous", [] {
        auto lt = std::make_unique<LinetypeTableRecord>("Continuous");
        lt->setComments("Solid line");
        return lt;
    });
    record(layerTable_, "0", [&] {
        auto zero = std::make_unique<LayerTableRecord>("0");
        zero->setLinetypeId(continuous);
        return zero;
    });
    record(textStyleTable_, "Standard", [] { return std::make_unique<TextStyleTableRecord>("Standard"); });
    record(dimStyleTable_, "Standard", [] { return std::make_unique<DimStyleTableRecord>("Standard"); });
    record(regAppTable_, "ACAD", [] { return std::make_unique<RegAppTableRecord>("ACAD"); });
    record(viewportTable_, "*Active", [] { return std::make_unique<ViewportTableRecord>("*Active"); });
    record(blockTable_, BlockTableRecord::kModelSpace,
           [] { return std::make_unique<BlockTableRecord>(BlockTableRecord::kModelSpace); });
    record(blockTable_, BlockTableRecord::kPaperSpace,
           [] { return std::make_unique<BlockTableRecord>(BlockTableRecord::kPaperSpace); });
    if (!defaults_.layer.isValid()) defaults_.layer = layerZeroId();
    if (!defaults_.linetype.isValid()) defaults_.linetype = linetypeByLayerId();
}

Handle Database::allocateHandle() {
    while (handles_.find(nextHandle_)) ++nextHandle_;
    return Handle(nextHandle_++);
}

ObjectId Database::addTable(std::unique_ptr<SymbolTable> table) {
    ObjectId id;
    addObject(std::move(table), ObjectId(), &id);
    return id;
}

ObjectId Database::addDefaultRecord(ObjectId table, std::unique_ptr<SymbolTableRecord> record) {
    ObjectId id;
    addRecord(table, std::move(record), &id, Handle(), true);
    return id;
}

ErrorStatus Database::setTableId(ObjectId table) {
    const DbObject* object = table.peek();
    if (!object || object->database() != this) return ErrorStatus::NotInDatabase;
    const RxClass* cls = object->isA();
    ObjectId* slot = cls == LayerTable::desc()       ? &layerTable_
                     : cls == LinetypeTable::desc()  ? &linetypeTable_
                     : cls == TextStyleTable::desc() ? &textStyleTable_
                     : cls == DimStyleTable::desc()  ? &dimStyleTable_
                     : cls == BlockTable::desc()     ? &blockTable_
                     : cls == ViewportTable::desc()  ? &viewportTable_
                     : cls == ViewTable::desc()      ? &viewTable_
                     : cls == UcsTable::desc()       ? &ucsTable_
                     : cls == RegAppTable::desc()    ? &regAppTable_
                                                     : nullptr;
    if (!slot) return ErrorStatus::NotThatKindOfClass;
    *slot = table;
    return ErrorStatus::Ok;
}

// ---- Handles and ids ----------------------------------------------------------------------------------------

ObjectId Database::getObjectId(Handle handle, bool includeErased) const {
    DbObject* o = handles_.find(handle.value());
    if (!o || (o->isErased() && !includeErased)) return ObjectId();
    return ObjectId(o);
}

void Database::raiseHandseed(Handle seed) { nextHandle_ = std::max(nextHandle_, seed.value()); }

ErrorStatus Database::registerObject(DbObject* object, DbObject* owner, Handle handle) {
    if (object->database_) return ErrorStatus::AlreadyInDb;
    std::uint64_t h = handle.value();
    if (h == 0) {
        // Handles are never reused: skip any taken by objects read from a file above the seed.
        while (handles_.find(nextHandle_)) ++nextHandle_;
        h = nextHandle_++;
    } else if (handles_.find(h)) {
        return ErrorStatus::DuplicateRecordName;
    }
    if (h >= nextHandle_) nextHandle_ = h + 1;
    object->database_ = this;
    object->handle_ = Handle(h);
    if (owner) object->owner_ = owner;
    handles_.insert(h, object);
    return ErrorStatus::Ok;
}

ErrorStatus Database::addObject(std::unique_ptr<DbObject> object, ObjectId owner, ObjectId* id, Handle handle) {
    if (!object) return ErrorStatus::InvalidInput;
    DbObject* raw = object.get();
    if (ErrorStatus es = registerObject(raw, owner.peek(), handle); es != ErrorStatus::Ok) return es;
    object.release();
    if (undo_.isRecording()) undo_.recordAppend(raw);
    fireAppended(raw);
    if (id) *id = ObjectId(raw);
    return ErrorStatus::Ok;
}

ErrorStatus Database::appendEntity(ObjectId block, std::unique_ptr<Entity> entity, ObjectId* id, Handle handle) {
    if (!entity) return ErrorStatus::InvalidInput;
    auto* btr = objectCast<BlockTableRecord>(block.peek());
    if (!btr || btr->database() != this) return ErrorStatus::NotThatKindOfClass;
    if (btr->isErased()) return ErrorStatus::WasErased;
    if (entity->layerId().isNull()) entity->layer_ = layerZeroId();
    if (entity->linetypeId().isNull()) entity->linetype_ = linetypeByLayerId();
    Entity* raw = entity.get();
    if (ErrorStatus es = registerObject(raw, btr, handle); es != ErrorStatus::Ok) return es;
    entity.release();
    btr->entities_.push_back(raw);
    if (undo_.isRecording()) undo_.recordAppend(raw);
    if (!reactors_.empty()) fireAppended(raw);
    if (id) *id = ObjectId(raw);
    return ErrorStatus::Ok;
}

ErrorStatus Database::addRecord(ObjectId tableId, std::unique_ptr<SymbolTableRecord> record, ObjectId* id,
                                Handle handle, bool fromFile) {
    if (!record) return ErrorStatus::InvalidInput;
    auto* table = objectCast<SymbolTable>(tableId.peek());
    if (!table || table->database() != this) return ErrorStatus::NotThatKindOfClass;
    if (!record->isKindOf(table->recordClass())) return ErrorStatus::NotThatKindOfClass;
    if (record->name().empty() || (!fromFile && !isValidSymbolName(record->name())))
        return ErrorStatus::InvalidSymbolTableName;
    if (table->has(record->name())) return ErrorStatus::DuplicateRecordName;
    SymbolTableRecord* raw = record.get();
    if (ErrorStatus es = registerObject(raw, table, handle); es != ErrorStatus::Ok) return es;
    record.release();
    table->appendRecord(raw);
    if (undo_.isRecording()) undo_.recordAppend(raw);
    fireAppended(raw);
    if (id) *id = ObjectId(raw);
    return ErrorStatus::Ok;
}

// ---- Tables -------------------------------------------------------------------------------------------------

SymbolTable* Database::layerTable() const { return objectCast<SymbolTable>(layerTable_.peek()); }
SymbolTable* Database::linetypeTable() const { return objectCast<SymbolTable>(linetypeTable_.peek()); }
SymbolTable* Database::textStyleTable() const { return objectCast<SymbolTable>(textStyleTable_.peek()); }
SymbolTable* Database::dimStyleTable() const { return objectCast<SymbolTable>(dimStyleTable_.peek()); }
SymbolTable* Database::blockTable() const { return objectCast<SymbolTable>(blockTable_.peek()); }

namespace {
ObjectId recordIn(const SymbolTable* table, std::string_view name) {
    return table ? table->getAt(name) : ObjectId();
}
}  // namespace

ObjectId Database::modelSpaceId() const { return recordIn(blockTable(), BlockTableRecord::kModelSpace); }
ObjectId Database::paperSpaceId() const { return recordIn(blockTable(), BlockTableRecord::kPaperSpace); }
ObjectId Database::layerZeroId() const { return recordIn(layerTable(), "0"); }
ObjectId Database::linetypeByLayerId() const { return recordIn(linetypeTable(), "ByLayer"); }
ObjectId Database::linetypeByBlockId() const { return recordIn(linetypeTable(), "ByBlock"); }
ObjectId Database::linetypeContinuousId() const { return recordIn(linetypeTable(), "Continuous"); }

// ---- Current defaults ---------------------------------------------------------------------------------------

ObjectId Database::currentLayer() const {
    return defaults_.layer.isValid() ? defaults_.layer : layerZeroId();
}

ErrorStatus Database::setCurrentLayer(ObjectId layer) {
    auto* rec = objectCast<LayerTableRecord>(layer.peek());
    if (!rec || rec->database() != this) return ErrorStatus::NotThatKindOfClass;
    if (rec->isErased()) return ErrorStatus::WasErased;
    changeDefaults([&](DrawingDefaults& d) { d.layer = layer; });
    return ErrorStatus::Ok;
}

ObjectId Database::currentLinetype() const {
    return defaults_.linetype.isValid() ? defaults_.linetype : linetypeByLayerId();
}

ErrorStatus Database::setCurrentLinetype(ObjectId linetype) {
    auto* rec = objectCast<LinetypeTableRecord>(linetype.peek());
    if (!rec || rec->database() != this) return ErrorStatus::NotThatKindOfClass;
    if (rec->isErased()) return ErrorStatus::WasErased;
    changeDefaults([&](DrawingDefaults& d) { d.linetype = linetype; });
    return ErrorStatus::Ok;
}

// ---- Reactors -----------------------------------------------------------------------------------------------

void Database::addReactor(DatabaseReactor* reactor) {
    if (reactor && std::find(reactors_.begin(), reactors_.end(), reactor) == reactors_.end())
        reactors_.push_back(reactor);
}

void Database::removeReactor(DatabaseReactor* reactor) {
    reactors_.erase(std::remove(reactors_.begin(), reactors_.end(), reactor), reactors_.end());
}

// A reactor may add or remove reactors while it is notified, so several are called from a copy of the list. A
// lone reactor (the usual case: the change tracker) is called directly, sparing every notification a copy.
#define VELA_DB_FIRE(call)                                                         \
    if (reactors_.empty()) return;                                                 \
    if (reactors_.size() == 1) {                                                   \
        reactors_.front()->call;                                                   \
        return;                                                                    \
    }                                                                              \
    const std::vector<DatabaseReactor*> reactors(reactors_);                       \
    for (DatabaseReactor* r : reactors)                                            \
        if (std::find(reactors_.begin(), reactors_.end(), r) != reactors_.end()) r->call;

void Database::fireAppended(const DbObject* o) const { VELA_DB_FIRE(objectAppended(this, o)) }
void Database::fireOpenedForModify(const DbObject* o) const { VELA_DB_FIRE(objectOpenedForModify(this, o)) }
void Database::fireModified(const DbObject* o) const { VELA_DB_FIRE(objectModified(this, o)) }
void Database::fireErased(const DbObject* o, bool erased) const { VELA_DB_FIRE(objectErased(this, o, erased)) }

#undef VELA_DB_FIRE

// ---- Change protocol ----------------------------------------------------------------------------------------

void Database::objectWillChange(DbObject* object, bool contents, bool firstInOpen) {
    if (contents && undo_.isRecording()) undo_.recordModify(object);
    if (firstInOpen) fireOpenedForModify(object);
}

void Database::objectClosedAfterChange(DbObject* object) { fireModified(object); }

void Database::setErasedFlag(DbObject* object, bool erased, bool record) {
    const bool previous = object->isErased();
    if (previous == erased) return;
    if (record && undo_.isRecording()) undo_.recordEraseFlag(object, previous);
    if (erased)
        object->flags_ |= DbObject::kErased;
    else
        object->flags_ &= static_cast<std::uint8_t>(~DbObject::kErased);
    if (auto* table = objectCast<SymbolTable>(object->owner_)) table->invalidateIndex();
    fireErased(object, erased);
}

void Database::reactorLinked(DbObject* object, ObjectId reactor) {
    if (undo_.isRecording()) undo_.recordLink(object, reactor);
}

void Database::contentsRestored(DbObject* object) {
    if (auto* table = objectCast<SymbolTable>(object->owner_)) table->invalidateIndex();
}

// ---- Services -----------------------------------------------------------------------------------------------

void Database::generateLayerUsageData() {
    SymbolTable* layers = layerTable();
    SymbolTable* blocks = blockTable();
    if (!layers || !blocks) return;
    layers->forEachRecord([](SymbolTableRecord* r) { static_cast<LayerTableRecord*>(r)->inUse_ = false; });
    blocks->forEachRecord([](SymbolTableRecord* r) {
        static_cast<BlockTableRecord*>(r)->forEachEntity([](Entity* e) {
            if (auto* layer = objectCast<LayerTableRecord>(e->layerId().peek())) layer->inUse_ = true;
        });
    });
    if (auto* zero = objectCast<LayerTableRecord>(layerZeroId().peek())) zero->inUse_ = true;
    if (auto* current = objectCast<LayerTableRecord>(currentLayer().peek())) current->inUse_ = true;
}

ErrorStatus Database::deepCloneObjects(const std::vector<ObjectId>& ids, ObjectId owner, IdMapping& mapping) {
    auto* target = objectCast<BlockTableRecord>(owner.peek());
    if (!target || target->database() != this) return ErrorStatus::NotThatKindOfClass;
    if (target->isErased()) return ErrorStatus::WasErased;
    for (const ObjectId& id : ids) {
        const auto* source = objectCast<Entity>(id.peek());
        if (!source || source->isErased() || source->database() != this || mapping.count(id)) continue;
        std::unique_ptr<DbObject> copy = source->clone();
        // The copy is a new object: it shares no extension dictionary or reactor links with its source.
        if (copy->extras_) {
            copy->extras_->extensionDictionary = ObjectId();
            copy->extras_->persistentReactors.clear();
        }
        std::unique_ptr<Entity> entity(static_cast<Entity*>(copy.release()));
        const bool hasFollowers = !source->followers().empty();
        if (hasFollowers) entity->setFollowers({});  // the copy owns copies of them, made below
        ObjectId cloneId;
        if (ErrorStatus es = appendEntity(owner, std::move(entity), &cloneId); es != ErrorStatus::Ok) return es;
        mapping.emplace(id, cloneId);
        if (auto clone = openObject<Entity>(cloneId, OpenMode::ForWrite, {.openOnLockedLayer = true}))
            if (ErrorStatus es = clone->copySharedParts(); es != ErrorStatus::Ok) return es;
        if (!hasFollowers) continue;
        std::vector<ObjectId> followers;
        for (const ObjectId& f : source->followers()) {
            const DbObject* follower = f.peek();
            if (!follower || follower->isErased()) continue;
            std::unique_ptr<DbObject> followerCopy = follower->clone();
            if (followerCopy->extras_) {
                followerCopy->extras_->extensionDictionary = ObjectId();
                followerCopy->extras_->persistentReactors.clear();
            }
            ObjectId copyId;
            if (ErrorStatus es = addObject(std::move(followerCopy), cloneId, &copyId); es != ErrorStatus::Ok)
                return es;
            mapping.emplace(f, copyId);
            followers.push_back(copyId);
        }
        auto clone = openObject<Entity>(cloneId, OpenMode::ForWrite, {.openOnLockedLayer = true});
        if (!clone) return ErrorStatus::NotOpenForWrite;
        clone->setFollowers(std::move(followers));
    }
    return ErrorStatus::Ok;
}

}  // namespace vela::db
