#pragma once

#include <cstdint>
#include <memory>

#include "db/error_status.h"
#include "db/handle.h"
#include "db/object_extras.h"
#include "db/object_id.h"
#include "db/rx_class.h"

namespace vela::db {

class Database;
class DxfInput;
class DxfOutput;

enum class OpenMode : std::uint8_t { ForRead, ForWrite };

struct OpenOptions {
    bool openErased = false;
    bool openOnLockedLayer = false;
};

class DbObject;
namespace detail {
ErrorStatus openImpl(DbObject* object, const RxClass* cls, OpenMode mode, OpenOptions options);
void closeImpl(DbObject* object, OpenMode mode);
}  // namespace detail

/// The base of everything stored in a drawing database.
///
/// An object outside a database is free: it can be changed at will. Once added it belongs to the database, which
/// gives it a handle; from then on it is changed only while open for write, so that the database can record the
/// state before the change for undo and tell its reactors. The first change in an open fires "opened for modify",
/// closing a changed object fires "modified".
class DbObject {
public:
    virtual ~DbObject() = default;

    static const RxClass* desc();
    virtual const RxClass* isA() const = 0;
    bool isKindOf(const RxClass* cls) const { return isA()->isDerivedFrom(cls); }

    /// A free copy of this object: same contents and owner, no database, no handle.
    virtual std::unique_ptr<DbObject> clone() const = 0;

    /// Writes the object's own DXF groups (its subclass sections, without the record's type, handle and owner,
    /// which the file structure gives) through the declaration of its class.
    virtual void dxfOutFields(DxfOutput& out) const = 0;
    /// Reads the object's own groups; groups it does not model are kept and written back.
    virtual void dxfInFields(DxfInput& in) = 0;

    Database* database() const { return database_; }
    ObjectId objectId() const { return database_ ? ObjectId(const_cast<DbObject*>(this)) : ObjectId(); }
    Handle handle() const { return handle_; }
    ObjectId ownerId() const { return ObjectId(owner_); }
    void setOwnerId(ObjectId owner);

    bool isErased() const { return (flags_ & kErased) != 0; }
    /// Erases (true) or un-erases (false) the object; it must be open for write.
    ErrorStatus erase(bool erasing = true);

    bool isReadEnabled() const { return database_ == nullptr || openCount_ > 0; }
    bool isWriteEnabled() const { return database_ == nullptr || writeCount_ > 0; }
    /// Called by every setter before it changes anything. Throws DbError(NotOpenForWrite) when the object is in a
    /// database but not open for write.
    void assertWriteEnabled();

    const ObjectExtras* extras() const { return extras_.get(); }
    ObjectExtras& editExtras();
    /// Names `reactor` among the objects that follow this one (an associative hatch follows its boundary),
    /// once. A link, not a change of the object: undone and redone with the step that made it, but no
    /// modification is recorded or announced. The object must be open for write.
    void addPersistentReactor(ObjectId reactor);

    /// Puts back the contents of a copy made with clone() before a change that is given up. The object must be
    /// open for write; the class must be the copy's.
    void restoreContents(const DbObject& saved) {
        assertWriteEnabled();
        copyContentsFrom(saved);
    }

protected:
    DbObject() = default;
    /// Copies contents (owner and extras) but not identity: the copy is free.
    DbObject(const DbObject& other);
    /// Assigns contents but keeps identity (database, handle, flags, open state).
    DbObject& operator=(const DbObject& other);
    /// Replaces this object's contents with those of `other` (same class); used by undo.
    virtual void copyContentsFrom(const DbObject& other) = 0;

private:
    friend class Database;
    friend class UndoManager;
    friend ErrorStatus detail::openImpl(DbObject*, const RxClass*, OpenMode, OpenOptions);
    friend void detail::closeImpl(DbObject*, OpenMode);

    void prepareChange(bool contents);
    ObjectExtras& editLinks();  // the extras, for links that are no change of contents

    static constexpr std::uint8_t kErased = 1;
    static constexpr std::uint8_t kChangedInOpen = 2;

    Database* database_ = nullptr;
    Handle handle_;
    DbObject* owner_ = nullptr;
    std::unique_ptr<ObjectExtras> extras_;
    std::uint32_t undoMark_ = 0;  // serial of the undo group that last recorded this object's state
    std::uint16_t openCount_ = 0;
    std::uint8_t writeCount_ = 0;
    std::uint8_t flags_ = 0;
};

/// The object as a T when it is one, else null.
template <class T>
T* objectCast(DbObject* object) {
    return object && object->isKindOf(T::desc()) ? static_cast<T*>(object) : nullptr;
}
template <class T>
const T* objectCast(const DbObject* object) {
    return object && object->isKindOf(T::desc()) ? static_cast<const T*>(object) : nullptr;
}

/// A new empty object of class `cls` as a T: null when there is no class, when it cannot be made (see
/// RxClass::canCreate) or when it is not a T.
template <class T>
std::unique_ptr<T> createObject(const RxClass* cls) {
    if (!cls || !cls->isDerivedFrom(T::desc())) return nullptr;
    return std::unique_ptr<T>(static_cast<T*>(cls->create().release()));
}

}  // namespace vela::db
