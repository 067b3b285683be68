#pragma once

#include <functional>
#include <vector>

#include "db/object_id.h"
#include "db/records/block_table_record.h"
#include "host/property_protocol/property_protocol.h"

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
    /// Searches every class of the protocol at once for one condition: `propertyOf(cls)` gives the class's
    /// property (null for a class without it, whose entities are passed over). Calls add(classIndex, id) for
    /// each match, classIndex being the class's place in PropertyProtocol::classes(), in drawing order;
    /// returns how many it found in all. One pass over the space, however many classes there are.
    template <class PropertyOf, class Add>
    static int selectAcrossClasses(const db::Database& database, db::ObjectId space, SearchOperator op,
                                   const PropertyValue& value, PropertyOf&& propertyOf, Add&& add);
    /// One comparison, as the search makes it (exposed for the property panel and for tests).
    static bool matches(const PropertyValue& entityValue, PropertyType type, SearchOperator op,
                        const PropertyValue& query);
};

namespace detail {
bool matchesFast(const db::Entity& entity, const PropertyDescriptor& property, SearchOperator op,
                 const PropertyValue& value);
const db::BlockTableRecord* spaceOf(const db::Database& database, db::ObjectId space);

/// Runs scan(from, to, hits) over the entity slots of a block, split between the machine's cores when the
/// block is large, and hands the hits (a class index and an id each) to take() in drawing order. A search
/// over a large drawing is bound by reading entities from memory, which two readers do faster than one.
void scanInParallel(const db::BlockTableRecord& block,
                    const std::function<void(std::size_t, std::size_t,
                                             std::vector<std::pair<std::size_t, db::ObjectId>>&)>& scan,
                    const std::function<void(std::size_t, db::ObjectId)>& take);
}  // namespace detail

template <class PropertyOf, class Add>
int SelectionEngine::selectAcrossClasses(const db::Database& database, db::ObjectId space, SearchOperator op,
                                         const PropertyValue& value, PropertyOf&& propertyOf, Add&& add) {
    const db::BlockTableRecord* btr = detail::spaceOf(database, space);
    if (!btr || std::holds_alternative<std::monostate>(value)) return 0;
    // The classes that have the property, and whether they all share one general property: then the test
    // needs no class lookup beyond "is it one of them".
    const auto& classes = PropertyProtocol::instance().classes();
    std::vector<const PropertyDescriptor*> byClass(classes.size(), nullptr);
    const PropertyDescriptor* shared = nullptr;
    bool allShare = true;
    for (std::size_t i = 0; i < classes.size(); ++i) {
        byClass[i] = propertyOf(classes[i]);
        if (!byClass[i]) continue;
        if (!shared) shared = byClass[i];
        allShare = allShare && byClass[i] == shared;
    }
    if (!shared) return 0;
    int found = 0;
    auto visit = [&](auto&& test) {
        detail::scanInParallel(
            *btr,
            [&](std::size_t from, std::size_t to, auto& hits) {
                btr->forEachEntityIn(from, to, [&](db::Entity* e) {
                    const db::RxClass* cls = e->isA();
                    std::size_t i = 0;
                    while (i < classes.size() && classes[i] != cls) ++i;
                    if (i == classes.size() || !byClass[i] || !test(*e, *byClass[i])) return;
                    hits.emplace_back(i, e->objectId());
                });
            },
            [&](std::size_t index, db::ObjectId id) {
                add(index, id);
                ++found;
            });
    };
    const bool equal = op == SearchOperator::Equal, notEqual = op == SearchOperator::NotEqual;
    if (allShare && (equal || notEqual) && shared->type == PropertyType::Layer &&
        std::holds_alternative<db::ObjectId>(value)) {
        const db::ObjectId wanted = std::get<db::ObjectId>(value);
        visit(
            [&](const db::Entity& e, const PropertyDescriptor&) { return (e.layerId() == wanted) == equal; });
    } else if (allShare && (equal || notEqual) && shared->type == PropertyType::Color &&
               std::holds_alternative<db::Color>(value)) {
        const db::Color wanted = std::get<db::Color>(value);
        visit([&](const db::Entity& e, const PropertyDescriptor&) { return (e.color() == wanted) == equal; });
    } else {
        visit([&](const db::Entity& e, const PropertyDescriptor& p) {
            return detail::matchesFast(e, p, op, value);
        });
    }
    return found;
}

}  // namespace vela::host
