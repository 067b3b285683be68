#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "db/drawing_defaults.h"
#include "db/object_id.h"

namespace vela::db {

class Database;
class DbObject;

/// Undo for one database, in groups: a command opens a group, every change inside it is recorded, and undo or
/// redo replays a whole group. A group that recorded nothing is dropped, so read-only commands leave no step.
///
/// What is recorded: the state of an object before its first change in the group (a copy, swapped back and
/// forth by undo and redo), appends (undone by erasing), erase-flag changes and the drawing's current
/// settings before their first change. Objects appended in the group are not copied on change: undoing the
/// append hides them, whatever their contents.
class UndoManager {
public:
    explicit UndoManager(Database& db) : db_(db) {}
    UndoManager(const UndoManager&) = delete;
    UndoManager& operator=(const UndoManager&) = delete;

    /// Opens a group; nested calls join the outermost group.
    void beginGroup(std::string name = {});
    /// Closes the group opened by the matching beginGroup. A group without changes is dropped; a group with
    /// changes becomes the newest undo step and clears the redo steps.
    void endGroup();
    /// Rolls back every change of the outermost open group and drops it (for a command that failed halfway).
    void abortGroup();
    bool isGroupOpen() const { return depth_ > 0; }
    /// A point in the open group to roll back to: work inside a group that may be taken back alone (a command
    /// cancelled while an outer group, begun by the user or a caller, stays open).
    struct Mark {
        std::size_t records = 0;
        bool defaults = false;
    };
    /// Objects changed after the mark are copied again on their first change, even if copied before it.
    Mark mark();
    /// Rolls back what the open group recorded after `mark`; the group stays open.
    void rollbackTo(const Mark& mark);
    /// True while a group is open and changes are being recorded.
    bool isRecording() const { return depth_ > 0 && !replaying_; }

    bool canUndo() const { return !undoStack_.empty(); }
    bool canRedo() const { return !redoStack_.empty(); }
    std::size_t undoCount() const { return undoStack_.size(); }
    std::size_t redoCount() const { return redoStack_.size(); }
    /// Undoes up to `steps` groups; returns how many were undone. Refused (0) while a group is open.
    std::size_t undo(std::size_t steps = 1);
    std::size_t redo(std::size_t steps = 1);
    /// Forgets all steps (after loading a file, for example).
    void clear();

    /// What the undo steps after the first `step` did, as the drawing stands now (`step` is undoCount() as it
    /// was before them; 0: every step kept): entities that were not there and are now, entities that were and
    /// are now erased, and entities that are still there and were changed. Parts of an entity (a polyline's
    /// vertices, a reference's attributes) count as changes of the entity that owns them; objects that are no
    /// entity (layers, blocks) are left out. Each list in the order the entities were first touched.
    struct Changes {
        std::vector<ObjectId> created, changed, erased;
    };
    Changes changesSince(std::size_t step) const;
    /// The same for what the open group has done so far (nothing when no group is open): for work that is
    /// looked at and then rolled back with abortGroup.
    Changes changesInOpenGroup() const;
    const std::string& undoName() const;

private:
    friend class Database;

    struct Record {
        enum class Kind : std::uint8_t { Modified, Appended, EraseFlag, Link };
        Kind kind;
        bool erased = false;  // EraseFlag: the flag before the change
        DbObject* object = nullptr;
        std::unique_ptr<DbObject> otherState;  // Modified: the state to swap in
        ObjectId link;                         // Link: the reactor added to the object
    };
    struct Group {
        std::string name;
        std::vector<Record> records;
        std::optional<DrawingDefaults> defaults;  // the other settings, swapped in by undo and redo
        bool empty() const { return records.empty() && !defaults; }
    };

    // Called by the database as changes happen.
    void recordModify(DbObject* object);
    void recordAppend(DbObject* object);
    void recordEraseFlag(DbObject* object, bool previous);
    void recordLink(DbObject* object, ObjectId reactor);
    void recordDefaults(const DrawingDefaults& before);

    void replay(Group& group, bool backwards);
    static Changes changesOf(const std::vector<const Group*>& groups);

    Database& db_;
    int depth_ = 0;
    bool replaying_ = false;
    std::uint32_t serial_ = 0;
    Group current_;
    std::vector<Group> undoStack_;
    std::vector<Group> redoStack_;
};

}  // namespace vela::db
