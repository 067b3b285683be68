#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "db/object_id.h"

namespace vela::host {

/// The objects the user has selected in a document, in the order they were picked.
class SelectionSet {
public:
    const std::vector<db::ObjectId>& ids() const { return ids_; }
    bool isEmpty() const { return ids_.empty(); }
    void clear() { ids_.clear(), members_.clear(), membersValid_ = true, ++version_; }
    /// Replaces the selection; an id given twice is kept once, at its first place.
    void set(const std::vector<db::ObjectId>& ids);
    /// Replaces the selection with ids the caller knows to be distinct (a search result): no check, so that
    /// selecting a large part of a drawing costs only the copy.
    void assignDistinct(std::vector<db::ObjectId> ids);
    /// Adds an id unless it is selected already.
    void add(db::ObjectId id);
    bool contains(db::ObjectId id) const;
    /// Goes up with every change: whoever shows the selection asks whether it changed without comparing it.
    std::uint64_t version() const { return version_; }

  private:
    std::uint64_t version_ = 0;
    std::vector<db::ObjectId> ids_;
    // Built when first needed: selections can hold a whole drawing, and most are only read.
    mutable std::unordered_set<db::ObjectId> members_;
    mutable bool membersValid_ = true;
    void buildMembers() const;
};

}  // namespace vela::host
