#include "db/object.h"

#include <algorithm>

#include "db/database.h"
#include "db/records/layer_table_record.h"

namespace vela::db {

const RxClass* DbObject::desc() {
    static const RxClass cls("AcDbObject", "", nullptr);
    return &cls;
}
static const RxRegistration velaRxRegistrationDbObject(DbObject::desc());

DbObject::DbObject(const DbObject& other)
    : owner_(other.owner_), extras_(other.extras_ ? std::make_unique<ObjectExtras>(*other.extras_) : nullptr) {}

DbObject& DbObject::operator=(const DbObject& other) {
    if (this != &other) {
        owner_ = other.owner_;
        extras_ = other.extras_ ? std::make_unique<ObjectExtras>(*other.extras_) : nullptr;
    }
    return *this;
}

void DbObject::setOwnerId(ObjectId owner) {
    assertWriteEnabled();
    owner_ = owner.peek();
}

ObjectExtras& DbObject::editExtras() {
    assertWriteEnabled();
    return editLinks();
}

void DbObject::addPersistentReactor(ObjectId reactor) {
    if (database_ && writeCount_ == 0) throw DbError(ErrorStatus::NotOpenForWrite);
    if (extras_ && std::find(extras_->persistentReactors.begin(), extras_->persistentReactors.end(),
                             reactor) != extras_->persistentReactors.end())
        return;
    editLinks().persistentReactors.push_back(reactor);
    if (database_) database_->reactorLinked(this, reactor);
}

ObjectExtras& DbObject::editLinks() {
    if (!extras_) extras_ = std::make_unique<ObjectExtras>();
    return *extras_;
}

void DbObject::assertWriteEnabled() { prepareChange(true); }

void DbObject::prepareChange(bool contents) {
    if (!database_) return;
    if (writeCount_ == 0) throw DbError(ErrorStatus::NotOpenForWrite);
    const bool first = (flags_ & kChangedInOpen) == 0;
    flags_ |= kChangedInOpen;
    database_->objectWillChange(this, contents, first);
}

ErrorStatus DbObject::erase(bool erasing) {
    if (isErased() == erasing) return ErrorStatus::Ok;
    if (!database_) return ErrorStatus::NotInDatabase;
    if (erasing) {
        // The drawing's own framework cannot go: tables, model space, layer 0 and the three fixed linetypes.
        const ObjectId id = objectId();
        if (isKindOf(SymbolTable::desc()) || id == database_->modelSpaceId() || id == database_->paperSpaceId() ||
            id == database_->layerZeroId() || id == database_->linetypeByLayerId() ||
            id == database_->linetypeByBlockId() || id == database_->linetypeContinuousId())
            return ErrorStatus::CannotEraseRecord;
    }
    // Erasing flips a flag that undo records on its own; the contents need no copy.
    prepareChange(false);
    database_->setErasedFlag(this, erasing, true);
    // What an entity owns beside it (vertices, attributes) goes and comes back with it; undo records each
    // flag.
    if (auto* entity = objectCast<Entity>(this))
        for (const ObjectId& f : entity->followers())
            if (DbObject* follower = f.peek(); follower && follower->database_ == database_)
                database_->setErasedFlag(follower, erasing, true);
    return ErrorStatus::Ok;
}

bool ObjectId::isErased() const { return object_ && object_->isErased(); }
Handle ObjectId::handle() const { return object_ ? object_->handle() : Handle(); }
Database* ObjectId::database() const { return object_ ? object_->database() : nullptr; }

namespace detail {

ErrorStatus openImpl(DbObject* object, const RxClass* cls, OpenMode mode, OpenOptions options) {
    if (!object) return ErrorStatus::NullObjectId;
    if (object->isErased() && !options.openErased) return ErrorStatus::WasErased;
    if (!object->isKindOf(cls)) return ErrorStatus::NotThatKindOfClass;
    if (mode == OpenMode::ForWrite) {
        if (!options.openOnLockedLayer) {
            if (auto* entity = objectCast<Entity>(object)) {
                if (auto* layer = objectCast<LayerTableRecord>(entity->layerId().peek()); layer && layer->isLocked())
                    return ErrorStatus::OnLockedLayer;
            }
        }
        if (object->writeCount_ == 0xFF) return ErrorStatus::InvalidInput;
        ++object->writeCount_;
    }
    if (object->openCount_ == 0xFFFF) {
        if (mode == OpenMode::ForWrite) --object->writeCount_;
        return ErrorStatus::InvalidInput;
    }
    ++object->openCount_;
    return ErrorStatus::Ok;
}

void closeImpl(DbObject* object, OpenMode mode) {
    if (object->openCount_ > 0) --object->openCount_;
    if (mode != OpenMode::ForWrite || object->writeCount_ == 0) return;
    if (--object->writeCount_ == 0 && (object->flags_ & DbObject::kChangedInOpen)) {
        object->flags_ &= static_cast<std::uint8_t>(~DbObject::kChangedInOpen);
        if (object->database_) object->database_->objectClosedAfterChange(object);
    }
}

}  // namespace detail

}  // namespace vela::db
