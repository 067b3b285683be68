#include "db/undo_manager.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "db/database.h"
#include "db/entity.h"

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
    if (current_.empty()) return;
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

UndoManager::Mark UndoManager::mark() {
    if (++serial_ == 0) ++serial_;
    return Mark{current_.records.size(), current_.defaults.has_value()};
}

void UndoManager::rollbackTo(const Mark& mark) {
    if (depth_ == 0 || mark.records > current_.records.size()) return;
    Group tail;
    tail.records.assign(std::make_move_iterator(current_.records.begin() + mark.records),
                        std::make_move_iterator(current_.records.end()));
    current_.records.resize(mark.records);
    if (!mark.defaults && current_.defaults) tail.defaults = std::exchange(current_.defaults, std::nullopt);
    replay(tail, true);
    // Objects copied after the mark may change again in this group and must then be copied again.
    if (++serial_ == 0) ++serial_;
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

UndoManager::Changes UndoManager::changesSince(std::size_t step) const {
    std::vector<const Group*> groups;
    for (std::size_t g = step; g < undoStack_.size(); ++g) groups.push_back(&undoStack_[g]);
    return changesOf(groups);
}

UndoManager::Changes UndoManager::changesInOpenGroup() const {
    if (depth_ == 0) return {};
    return changesOf({&current_});
}

UndoManager::Changes UndoManager::changesOf(const std::vector<const Group*>& groups) {
    // For each entity touched, whether it was there before the first step looked at, and whether anything
    // but its appearance or disappearance changed.
    struct Seen {
        bool before = true;
        bool modified = false;
        std::size_t first = 0;
    };
    std::unordered_map<DbObject*, Seen> seen;
    std::size_t order = 0;
    for (const Group* group : groups)
        for (const Record& r : group->records) {
            if (r.kind == Record::Kind::Link) continue;  // a link between objects changes neither
            // A part of an entity stands for the entity that owns it.
            DbObject* object = r.object;
            bool part = false;
            for (DbObject* owner = object->ownerId().peek(); objectCast<Entity>(owner);
                 owner = owner->ownerId().peek())
                object = owner, part = true;
            if (!objectCast<Entity>(object)) continue;
            auto [it, added] = seen.try_emplace(object);
            if (added) {
                it->second.first = order++;
                it->second.before = part || (r.kind == Record::Kind::Modified) ||
                                    (r.kind == Record::Kind::EraseFlag && !r.erased);
            }
            if (r.kind == Record::Kind::Modified || part) it->second.modified = true;
        }
    std::vector<std::pair<std::size_t, DbObject*>> ordered;
    for (const auto& [object, s] : seen) ordered.emplace_back(s.first, object);
    std::sort(ordered.begin(), ordered.end());
    Changes changes;
    for (const auto& [first, object] : ordered) {
        const Seen& s = seen.at(object);
        const bool now = !object->isErased();
        if (!s.before && now)
            changes.created.push_back(object->objectId());
        else if (s.before && !now)
            changes.erased.push_back(object->objectId());
        else if (s.before && now && s.modified)
            changes.changed.push_back(object->objectId());
    }
    return changes;
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

void UndoManager::recordLink(DbObject* object, ObjectId reactor) {
    current_.records.push_back(Record{Record::Kind::Link, false, object, nullptr, reactor});
}

void UndoManager::recordDefaults(const DrawingDefaults& before) {
    if (isRecording() && !current_.defaults) current_.defaults = before;
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
            case Record::Kind::Link: {
                std::vector<ObjectId>& reactors = r.object->editLinks().persistentReactors;
                if (backwards)
                    reactors.erase(std::remove(reactors.begin(), reactors.end(), r.link), reactors.end());
                else
                    reactors.push_back(r.link);
                break;
            }
        }
    };
    if (backwards)
        for (auto it = group.records.rbegin(); it != group.records.rend(); ++it) apply(*it);
    else
        for (auto& r : group.records) apply(r);
    if (group.defaults) std::swap(*group.defaults, db_.defaults_);
    replaying_ = false;
}

}  // namespace vela::db
