#pragma once

#include <vector>

#include "db/object_id.h"

namespace vela::host {

/// The objects the user has selected in a document, in the order they were picked.
class SelectionSet {
public:
    const std::vector<db::ObjectId>& ids() const { return ids_; }
    bool isEmpty() const { return ids_.empty(); }
    void clear() { ids_.clear(); }
    /// Replaces the selection; an id given twice is kept once, at its first place.
    void set(const std::vector<db::ObjectId>& ids);
    /// Adds an id unless it is selected already.
    void add(db::ObjectId id);
    bool contains(db::ObjectId id) const;

private:
    std::vector<db::ObjectId> ids_;
};

}  // namespace vela::host
