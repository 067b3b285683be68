#include "host/selection_set.h"

#include <algorithm>

namespace vela::host {

void SelectionSet::set(const std::vector<db::ObjectId>& ids) {
    ids_.clear();
    for (db::ObjectId id : ids) add(id);
}

void SelectionSet::add(db::ObjectId id) {
    if (!id.isNull() && !contains(id)) ids_.push_back(id);
}

bool SelectionSet::contains(db::ObjectId id) const { return std::find(ids_.begin(), ids_.end(), id) != ids_.end(); }

}  // namespace vela::host
