#pragma once

#include <QStringList>
#include <string>
#include <vector>

#include "db/object_extras.h"
#include "host/lisp/value.h"

namespace vela::db {
class DbObject;
}

namespace vela::host::lisp {

class Interpreter;

/// An object's DXF groups as the dialect lists them (entget): (-1 . <Entity name>) first, then the record's
/// groups as a file holds them, each a dotted pair (code . value) or, for points, (code x y z); angles in
/// radians; references as entity names. Extended data of the applications whose names match one of
/// `applications` (wildcards) follows as (-3 ("APP" (1000 . "...") ...) ...). With `only` (sorted codes),
/// just the groups of those codes (and -1).
Value groupList(const db::DbObject& object, const QStringList& applications = {},
                const std::vector<int>* only = nullptr);

/// A group list read back into DXF groups (entmake, entmod).
struct GroupsFromList {
    QString type;                    // group 0
    db::ObjectId object;             // group -1
    std::vector<db::DxfTag> groups;  // the record's own groups, in order (no 0, -1, 5, 330, 67, 410)
    bool hasXdata = false;           // a -3 group was given (possibly empty)
    std::vector<db::DxfTag> xdata;   // from -3: 1001 and the groups of each application
    bool paperSpace = false;         // (67 . 1)
    bool hasMarkers = false;         // 100 groups: a whole definition rather than changes to one
};

/// Reads a group list; throws LispError for a list that is no group list at all ("bad DXF group: ...").
GroupsFromList readGroupList(const Value& list);

/// Applies the groups of `changes` to the list `current`: the n-th group of a code replaces the n-th group
/// of that code, groups of codes `current` lacks are added before its extended data. What entmod does with
/// a list that names only the groups to change.
Value mergeGroupLists(const Value& current, const Value& changes);

}  // namespace vela::host::lisp
