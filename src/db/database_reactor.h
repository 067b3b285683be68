#pragma once

namespace vela::db {

class Database;
class DbObject;

/// Receives a database's object notifications. The database calls its reactors in registration order:
/// appended after an object joins the database; opened-for-modify before the first change while open for write;
/// modified when a changed object is closed; erased when the erase flag flips (erased false for an un-erase).
/// Undo and redo fire the same notifications for what they restore.
class DatabaseReactor {
public:
    virtual ~DatabaseReactor() = default;
    virtual void objectAppended(const Database*, const DbObject*) {}
    virtual void objectOpenedForModify(const Database*, const DbObject*) {}
    virtual void objectModified(const Database*, const DbObject*) {}
    virtual void objectErased(const Database*, const DbObject*, bool /*erased*/) {}
    /// The database is about to go away; reactors should forget it.
    virtual void goodbye(const Database*) {}
};

}  // namespace vela::db
