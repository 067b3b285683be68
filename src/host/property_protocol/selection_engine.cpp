#include "host/property_protocol/selection_engine.h"

#include <cmath>
#include <thread>

#include "db/database.h"
#include "db/entities/block_reference.h"
#include "db/records/block_table_record.h"

namespace vela::host {

namespace {

// Reals compare equal when they agree to a relative 1e-9, or when they print the same with six significant
// digits: a query gives values as a user reads them off a properties panel.
bool realsEqual(double a, double b) {
    if (a == b) return true;
    const double scale = std::max({1.0, std::abs(a), std::abs(b)});
    if (std::abs(a - b) <= 1e-9 * scale) return true;
    return QString::number(a, 'g', 6) == QString::number(b, 'g', 6);
}

template <class T>
int order(const T& a, const T& b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

// -1, 0, 1 for less, equal, greater; 2 when the two cannot be compared at all, 3 when they are equal-or-not
// only.
int compare(const PropertyValue& a, PropertyType type, const PropertyValue& b) {
    if (a.index() != b.index() || std::holds_alternative<std::monostate>(a)) return 2;
    switch (type) {
        case PropertyType::Real: {
            const double x = std::get<double>(a), y = std::get<double>(b);
            return realsEqual(x, y) ? 0 : order(x, y);
        }
        case PropertyType::Integer:
            return order(std::get<qint64>(a), std::get<qint64>(b));
        case PropertyType::Text: {
            const int c = QString::compare(std::get<QString>(a), std::get<QString>(b), Qt::CaseInsensitive);
            return c < 0 ? -1 : (c > 0 ? 1 : 0);
        }
        case PropertyType::LineWeight:
            return order(static_cast<int>(std::get<db::LineWeight>(a)),
                         static_cast<int>(std::get<db::LineWeight>(b)));
        case PropertyType::Transparency: {
            const db::Transparency x = std::get<db::Transparency>(a), y = std::get<db::Transparency>(b);
            if (x == y) return 0;
            // Only alphas have an order; by layer and by block are merely different.
            return x.isByAlpha() && y.isByAlpha() ? order(x.alpha(), y.alpha()) : 3;
        }
        case PropertyType::Bool:
            return std::get<bool>(a) == std::get<bool>(b) ? 0 : 3;
        case PropertyType::Color:
            return std::get<db::Color>(a) == std::get<db::Color>(b) ? 0 : 3;
        case PropertyType::Layer:
        case PropertyType::Linetype:
        case PropertyType::TextStyle:
            return std::get<db::ObjectId>(a) == std::get<db::ObjectId>(b) ? 0 : 3;
    }
    return 2;
}

}  // namespace

bool SelectionEngine::matches(const PropertyValue& entityValue, PropertyType type, SearchOperator op,
                              const PropertyValue& query) {
    if (op == SearchOperator::SelectAll) return true;
    const int c = compare(entityValue, type, query);
    switch (op) {
        case SearchOperator::Equal:
            return c == 0;
        case SearchOperator::NotEqual:
            return c != 0 && c != 2;
        case SearchOperator::Less:
            return c == -1;
        case SearchOperator::Greater:
            return c == 1;
        default:
            return false;
    }
}

namespace detail {

// The general properties most queries use are compared where they lie, without building a value.
bool matchesFast(const db::Entity& e, const PropertyDescriptor& property, SearchOperator op,
                 const PropertyValue& value) {
    if (op == SearchOperator::Equal || op == SearchOperator::NotEqual) {
        const bool equalWanted = op == SearchOperator::Equal;
        // Only the general "Layer" property has the layer type.
        if (property.type == PropertyType::Layer && std::holds_alternative<db::ObjectId>(value))
            return (e.layerId() == std::get<db::ObjectId>(value)) == equalWanted;
        if (property.type == PropertyType::Color && std::holds_alternative<db::Color>(value))
            return (e.color() == std::get<db::Color>(value)) == equalWanted;
    }
    return SelectionEngine::matches(property.get(e), property.type, op, value);
}

const db::BlockTableRecord* spaceOf(const db::Database& database, db::ObjectId space) {
    auto* btr = db::objectCast<db::BlockTableRecord>(space.peek());
    return btr && btr->database() == &database ? btr : nullptr;
}

void scanInParallel(const db::BlockTableRecord& block,
                    const std::function<void(std::size_t, std::size_t,
                                             std::vector<std::pair<std::size_t, db::ObjectId>>&)>& scan,
                    const std::function<void(std::size_t, db::ObjectId)>& take) {
    constexpr std::size_t kParallelFrom = 200'000;
    const std::size_t slotCount = block.entitySlotCount();
    const std::size_t threads =
        slotCount < kParallelFrom
            ? 1
            : std::max<std::size_t>(1, std::min<std::size_t>(std::thread::hardware_concurrency(), 8));
    std::vector<std::vector<std::pair<std::size_t, db::ObjectId>>> hits(threads);
    if (threads == 1) {
        scan(0, slotCount, hits[0]);
    } else {
        std::vector<std::thread> workers;
        const std::size_t chunk = (slotCount + threads - 1) / threads;
        for (std::size_t t = 1; t < threads; ++t)
            workers.emplace_back([&, t] { scan(t * chunk, std::min(slotCount, (t + 1) * chunk), hits[t]); });
        scan(0, std::min(slotCount, chunk), hits[0]);
        for (std::thread& w : workers) w.join();
    }
    for (const auto& part : hits)
        for (const auto& [index, id] : part) take(index, id);
}

}  // namespace detail

int SelectionEngine::selectItems(const db::Database& database, db::ObjectId space, const SearchItem& item,
                                 std::vector<db::ObjectId>& out) {
    auto* btr = db::objectCast<db::BlockTableRecord>(space.peek());
    if (!btr || btr->database() != &database) return 0;
    const std::size_t before = out.size();
    if (item.kind == SearchItem::Kind::ExternalReference) {
        btr->forEachEntity([&](db::Entity* e) {
            auto* ref = db::objectCast<db::BlockReference>(e);
            auto* block =
                ref ? db::objectCast<db::BlockTableRecord>(ref->blockTableRecord().peek()) : nullptr;
            if (block && block->isFromExternalReference()) out.push_back(e->objectId());
        });
        return static_cast<int>(out.size() - before);
    }
    if (item.op != SearchOperator::SelectAll &&
        (!item.property || std::holds_alternative<std::monostate>(item.value)))
        return 0;
    const db::RxClass* cls = item.cls;
    // A property of one class reads entities as that class: without a class only the general ones apply.
    if (!cls && item.property && item.op != SearchOperator::SelectAll &&
        !PropertyProtocol::instance().isGeneral(item.property))
        return 0;
    const PropertyDescriptor* property = item.op == SearchOperator::SelectAll ? nullptr : item.property;
    detail::scanInParallel(
        *btr,
        [&](std::size_t from, std::size_t to, auto& hits) {
            btr->forEachEntityIn(from, to, [&](db::Entity* e) {
                if (cls && !e->isKindOf(cls)) return;
                if (property && !detail::matchesFast(*e, *property, item.op, item.value)) return;
                hits.emplace_back(0, e->objectId());
            });
        },
        [&](std::size_t, db::ObjectId id) { out.push_back(id); });
    return static_cast<int>(out.size() - before);
}

}  // namespace vela::host
