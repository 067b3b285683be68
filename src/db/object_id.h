#pragma once

#include <compare>
#include <cstddef>
#include <functional>

#include "db/handle.h"

namespace vela::db {

class Database;
class DbObject;

/// Names a database-resident object for the length of a session. Unlike a handle it is not saved; unlike a pointer
/// it stays valid after the object is erased (the object is kept for undo until the database goes away).
class ObjectId {
public:
    constexpr ObjectId() = default;
    static ObjectId null() { return ObjectId(); }

    bool isNull() const { return object_ == nullptr; }
    explicit operator bool() const { return object_ != nullptr; }
    bool isErased() const;
    /// Not null and not erased.
    bool isValid() const { return object_ && !isErased(); }
    Handle handle() const;
    Database* database() const;

    auto operator<=>(const ObjectId&) const = default;

    /// The object itself without opening it. For code inside the database layer and read-only scans that do not
    /// need the open/close protocol; everything that changes an object goes through opening it for write.
    DbObject* peek() const { return object_; }

private:
    friend class Database;
    friend class DbObject;
    explicit ObjectId(DbObject* object) : object_(object) {}
    DbObject* object_ = nullptr;
};

}  // namespace vela::db

template <>
struct std::hash<vela::db::ObjectId> {
    std::size_t operator()(const vela::db::ObjectId& id) const noexcept {
        return std::hash<const void*>{}(id.peek());
    }
};
