#include "host/selection_set.h"


namespace vela::host {

void SelectionSet::set(const std::vector<db::ObjectId>& ids) {
    clear();
    ids_.reserve(ids.size());
    members_.reserve(ids.size());
    for (db::ObjectId id : ids) add(id);
}

void SelectionSet::assignDistinct(std::vector<db::ObjectId> ids) {
    ids_ = std::move(ids);
    members_.clear();
    membersValid_ = false;
    ++version_;
}

void SelectionSet::buildMembers() const {
    if (membersValid_) return;
    members_.clear();
    members_.reserve(ids_.size());
    for (db::ObjectId id : ids_) members_.insert(id);
    membersValid_ = true;
}

void SelectionSet::add(db::ObjectId id) {
    buildMembers();
    if (!id.isNull() && members_.insert(id).second) ids_.push_back(id), ++version_;
}

bool SelectionSet::contains(db::ObjectId id) const {
    buildMembers();
    return members_.count(id) != 0;
}

}  // namespace vela::host
