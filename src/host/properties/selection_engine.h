#pragma once

#include <vector>

#include "db/object_id.h"
#include "host/properties/property_protocol.h"

namespace vela::db {
class Database;
}

namespace vela::host {

/// Operators of a property search.
enum class SearchOperator { Equal = 1, NotEqual = 2, Less = 3, Greater = 4, SelectAll = 6 };

/// One search of the property-based selection engine: entities of a class (or of every class) whose property
/// compares with a value by an operator, or all of them.
struct SearchItem {
    enum class Kind { Ordinary = 0, BlockReference = 1, ExternalReference = 2 };
    const db::RxClass* cls = nullptr;  // null: entities of every class
    const PropertyDescriptor* property = nullptr;
    SearchOperator op = SearchOperator::SelectAll;
    PropertyValue value;
    /// ExternalReference: the block references of external drawings (op SelectAll).
    Kind kind = Kind::Ordinary;
};

/// Finds entities by property in one space of a drawing. It reads entities where they lie, without opening
/// them, since a search over a large drawing touches every entity.
class SelectionEngine {
public:
    /// Appends the live entities of `space` that match to `out`, in drawing order; returns how many it found.
    /// Searches with a property but no value, or with an operator the type cannot order by, find nothing.
    static int selectItems(const db::Database& database, db::ObjectId space, const SearchItem& item,
                           std::vector<db::ObjectId>& out);
    /// One comparison, as the search makes it (exposed for the property panel and for tests).
    static bool matches(const PropertyValue& entityValue, PropertyType type, SearchOperator op,
                        const PropertyValue& query);
};

}  // namespace vela::host
