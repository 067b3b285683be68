#include "db/undo_manager.h"

#include "db/database.h"

namespace vela::db {

void UndoManager::beginGroup(std::string name) {
    if (depth_++ == 0) {
        current_ = Group{std::move(name), {}};
        // A fresh serial lets each object be copied once per group without a per-group set of objects.
        if (++serial_ == 0) ++serial_;
    }
}

void UndoManager::endGroup() {
    if (depth_ == 0) return;
    if (--depth_ > 0) return;
    if (current_.records.empty()) return;
    undoStack_.push_back(std::move(current_));
    current_ = Group{};
    redoStack_.clear();
}

void UndoManager::abortGroup() {
    if (depth_ == 0) return;
    depth_ = 0;
    replay(current_, true);
    current_ = Group{};
}

std::size_t UndoManager::undo(std::size_t steps) {
    if (depth_ > 0) return 0;
    std::size_t done = 0;
    for (; done < steps && !undoStack_.empty(); ++done) {
        Group group = std::move(undoStack_.back());
        undoStack_.pop_back();
        replay(group, true);
        redoStack_.push_back(std::move(group));
    }
    return done;
}

std::size_t UndoManager::redo(std::size_t steps) {
    if (depth_ > 0) return 0;
    std::size_t done = 0;
    for (; done < steps && !redoStack_.empty(); ++done) {
        Group group = std::move(redoStack_.back());
        redoStack_.pop_back();
        replay(group, false);
        undoStack_.push_back(std::move(group));
    }
    return done;
}

void UndoManager::clear() {
    undoStack_.clear();
    redoStack_.clear();
}

const std::string& UndoManager::undoName() const {
    static const std::string none;
    return undoStack_.empty() ? none : undoStack_.back().name;
}

void UndoManager::recordModify(DbObject* object) {
    if (object->undoMark_ == serial_) return;
    object->undoMark_ = serial_;
    current_.records.push_back(Record{Record::Kind::Modified, false, object, object->clone()});
}

void UndoManager::recordAppend(DbObject* object) {
    // Marked so that changes to a new object in the same group are not copied: undoing the append hides it.
    object->undoMark_ = serial_;
    current_.records.push_back(Record{Record::Kind::Appended, false, object, nullptr});
}

void UndoManager::recordEraseFlag(DbObject* object, bool previous) {
    current_.records.push_back(Record{Record::Kind::EraseFlag, previous, object, nullptr});
}

void UndoManager::replay(Group& group, bool backwards) {
    replaying_ = true;
    auto apply = [&](Record& r) {
        switch (r.kind) {
            case Record::Kind::Modified: {
                db_.fireOpenedForModify(r.object);
                std::unique_ptr<DbObject> now = r.object->clone();
                r.object->copyContentsFrom(*r.otherState);
                r.otherState = std::move(now);
                db_.contentsRestored(r.object);
                db_.fireModified(r.object);
                break;
            }
            case Record::Kind::Appended:
                db_.setErasedFlag(r.object, backwards, false);
                break;
            case Record::Kind::EraseFlag:
                // Backwards restores the flag before the change; forwards sets it again.
                db_.setErasedFlag(r.object, backwards ? r.erased : !r.erased, false);
                break;
        }
    };
    if (backwards)
        for (auto it = group.records.rbegin(); it != group.records.rend(); ++it) apply(*it);
    else
        for (auto& r : group.records) apply(r);
    replaying_ = false;
}

}  // namespace vela::db
