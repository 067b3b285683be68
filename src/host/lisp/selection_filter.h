#pragma once

#include <QHash>
#include <memory>
#include <vector>

#include "db/object_id.h"
#include "host/lisp/value.h"

namespace vela::db {
class Database;
class Entity;
class RxClass;
}  // namespace vela::db

namespace vela::host::lisp {

/// A selection filter list as ssget takes it: groups an entity must have ((0 . "LINE") (8 . "Walls*")), names
/// with wildcards compared without regard to case, relational tests (-4 . ">=") applied to the group after
/// them (points coordinate by coordinate: (-4 . ">,>,*")), bit tests "&" and "&=", and the groupings
/// "<AND" ... "AND>", "<OR" "OR>", "<XOR" "XOR>", "<NOT" "NOT>". Groups every entity has (type, layer,
/// linetype, color) are tested where the entity lies; the others through the entity's group list.
class SelectionFilter {
  public:
    /// Reads a filter list; throws LispError for one that is malformed.
    SelectionFilter(const db::Database& database, const Value& filter);
    ~SelectionFilter();
    bool matches(const db::Entity& entity) const;

    struct Node;

  private:
    std::unique_ptr<Node> root_;
    std::vector<int> listCodes_;  // the codes tests read from group lists, sorted
};

}  // namespace vela::host::lisp
