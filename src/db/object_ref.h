#pragma once

#include <utility>

#include "db/object.h"

namespace vela::db {

/// An object opened for read or write; closes it when it goes out of scope. A failed open holds no object and
/// tells why through status().
template <class T>
class ObjectRef {
public:
    ObjectRef() = default;
    explicit ObjectRef(ErrorStatus status) : status_(status) {}
    ObjectRef(T* object, OpenMode mode) : object_(object), mode_(mode) {}
    ObjectRef(const ObjectRef&) = delete;
    ObjectRef& operator=(const ObjectRef&) = delete;
    ObjectRef(ObjectRef&& o) noexcept
        : object_(std::exchange(o.object_, nullptr)), mode_(o.mode_), status_(o.status_) {}
    ObjectRef& operator=(ObjectRef&& o) noexcept {
        if (this != &o) {
            close();
            object_ = std::exchange(o.object_, nullptr), mode_ = o.mode_, status_ = o.status_;
        }
        return *this;
    }
    ~ObjectRef() { close(); }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }
    ErrorStatus status() const { return status_; }
    OpenMode mode() const { return mode_; }

    /// Closes early; a changed object fires its "modified" notification now.
    void close();

private:
    T* object_ = nullptr;
    OpenMode mode_ = OpenMode::ForRead;
    ErrorStatus status_ = ErrorStatus::Ok;
};

/// Opens the object `id` names as a T. Fails with NullObjectId, WasErased, NotThatKindOfClass or, for write
/// opens of an entity on a locked layer, OnLockedLayer.
template <class T = DbObject>
ObjectRef<T> openObject(ObjectId id, OpenMode mode, OpenOptions options = {});

template <class T>
void ObjectRef<T>::close() {
    if (object_) detail::closeImpl(std::exchange(object_, nullptr), mode_);
}

template <class T>
ObjectRef<T> openObject(ObjectId id, OpenMode mode, OpenOptions options) {
    DbObject* object = id.peek();
    const ErrorStatus es = detail::openImpl(object, T::desc(), mode, options);
    if (es != ErrorStatus::Ok) return ObjectRef<T>(es);
    return ObjectRef<T>(static_cast<T*>(object), mode);
}

}  // namespace vela::db
