#include "db/spatial_index.h"

#include <algorithm>
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/iterator/function_output_iterator.hpp>
#include <cmath>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include "db/database.h"
#include "db/entity.h"
#include "db/records/block_table_record.h"

namespace vela::db {

namespace bg = boost::geometry;
namespace bgi = boost::geometry::index;

namespace {

using BoxPoint = bg::model::point<double, 2, bg::cs::cartesian>;
using Box = bg::model::box<BoxPoint>;
// The box, the entity, and its place in its block's drawing order.
using Value = std::tuple<Box, const DbObject*, std::uint64_t>;

/// The entity's box in X and Y; nothing when it has none or one that is not finite.
std::optional<Box> boxOf(const Entity& entity) {
    Extents3d e;
    if (entity.getGeomExtents(e) != ErrorStatus::Ok || !e.isValid()) return std::nullopt;
    const Point3d &lo = e.minPoint(), &hi = e.maxPoint();
    if (!std::isfinite(lo.x) || !std::isfinite(lo.y) || !std::isfinite(hi.x) || !std::isfinite(hi.y))
        return std::nullopt;
    return Box(BoxPoint(lo.x, lo.y), BoxPoint(hi.x, hi.y));
}

}  // namespace

struct SpatialIndex::Space {
    struct Record {
        std::uint64_t order = 0;
        std::optional<Box> box;  // as it stands in the tree
        bool unbounded = false;  // live but without a box
    };
    bgi::rtree<Value, bgi::rstar<16>> tree;
    std::unordered_map<const DbObject*, Record> records;
    std::unordered_set<const DbObject*> unbounded;
    std::unordered_set<const DbObject*> dirty;
    std::uint64_t nextOrder = 0;

    void build(const BlockTableRecord& block) {
        std::vector<Value> values;
        values.reserve(block.entitySlotCount());
        block.forEachEntity([&](const Entity* e) {
            Record& r = records[e];
            r.order = nextOrder++;
            r.box = boxOf(*e);
            if (r.box)
                values.emplace_back(*r.box, e, r.order);
            else
                r.unbounded = true, unbounded.insert(e);
        });
        // Built from all values at once, the tree is packed: faster to make and to search than one grown
        // entry by entry.
        tree = bgi::rtree<Value, bgi::rstar<16>>(values.begin(), values.end());
    }

    void refresh(const BlockTableRecord& block) {
        for (const DbObject* object : dirty) {
            auto it = records.find(object);
            if (it != records.end()) {
                Record& r = it->second;
                if (r.box) tree.remove(Value(*r.box, object, r.order));
                if (r.unbounded) unbounded.erase(object);
                r.box.reset(), r.unbounded = false;
            }
            const auto* entity = static_cast<const Entity*>(object);
            if (entity->isErased() || entity->ownerId().peek() != &block) continue;
            if (it == records.end()) it = records.emplace(object, Record{nextOrder++, {}, false}).first;
            Record& r = it->second;
            r.box = boxOf(*entity);
            if (r.box)
                tree.insert(Value(*r.box, object, r.order));
            else
                r.unbounded = true, unbounded.insert(object);
        }
        dirty.clear();
    }
};

struct SpatialIndex::State {
    std::unordered_map<const DbObject*, Space> spaces;
};

SpatialIndex::SpatialIndex(Database& database) : database_(&database), state_(std::make_unique<State>()) {
    database.addReactor(this);
}

SpatialIndex::~SpatialIndex() {
    if (database_) database_->removeReactor(this);
}

SpatialIndex::Space* SpatialIndex::space(ObjectId block) const {
    if (!database_) return nullptr;  // the database went away: its ids name nothing
    const auto* btr = objectCast<BlockTableRecord>(block.peek());
    if (!btr || btr->database() != database_) return nullptr;
    auto [it, added] = state_->spaces.try_emplace(btr);
    if (added) it->second.build(*btr);
    if (!it->second.dirty.empty()) it->second.refresh(*btr);
    return &it->second;
}

std::vector<ObjectId> SpatialIndex::query(ObjectId block, const Extents3d& window) const {
    std::vector<ObjectId> found;
    Space* s = space(block);
    if (!s || !window.isValid()) return found;
    const Box box(BoxPoint(window.minPoint().x, window.minPoint().y),
                  BoxPoint(window.maxPoint().x, window.maxPoint().y));
    std::vector<std::pair<std::uint64_t, const DbObject*>> hits;
    s->tree.query(bgi::intersects(box), boost::make_function_output_iterator([&](const Value& v) {
                      hits.emplace_back(std::get<2>(v), std::get<1>(v));
                  }));
    for (const DbObject* o : s->unbounded) hits.emplace_back(s->records.at(o).order, o);
    std::sort(hits.begin(), hits.end());
    found.reserve(hits.size());
    for (const auto& [order, object] : hits) found.push_back(object->objectId());
    return found;
}

std::vector<ObjectId> SpatialIndex::queryPoint(ObjectId block, const Point3d& point, double tolerance) const {
    const double t = std::abs(tolerance);
    return query(block,
                 Extents3d(Point3d(point.x - t, point.y - t, 0), Point3d(point.x + t, point.y + t, 0)));
}

Extents3d SpatialIndex::extents(ObjectId block) const {
    Space* s = space(block);
    if (!s || s->tree.empty()) return {};
    const Box b = s->tree.bounds();
    return Extents3d(Point3d(bg::get<bg::min_corner, 0>(b), bg::get<bg::min_corner, 1>(b), 0),
                     Point3d(bg::get<bg::max_corner, 0>(b), bg::get<bg::max_corner, 1>(b), 0));
}

void SpatialIndex::changed(const DbObject* object) {
    if (!database_ || state_->spaces.empty()) return;
    // What an entity owns (a polyline's vertices, a reference's attributes) moves its owner's box.
    const DbObject* top = object;
    const DbObject* owner = top->ownerId().peek();
    while (owner && !objectCast<BlockTableRecord>(owner) && objectCast<Entity>(owner)) {
        top = owner;
        owner = top->ownerId().peek();
    }
    if (!objectCast<Entity>(top)) return;
    const auto* block = objectCast<BlockTableRecord>(owner);
    if (!block) return;
    if (!block->isLayout()) {
        // A block definition changed: every reference to it, in any space, may now lie elsewhere.
        state_->spaces.clear();
        return;
    }
    auto it = state_->spaces.find(block);
    if (it != state_->spaces.end()) it->second.dirty.insert(top);
}

void SpatialIndex::objectAppended(const Database*, const DbObject* object) {
    changed(object);
}
void SpatialIndex::objectModified(const Database*, const DbObject* object) {
    changed(object);
}
void SpatialIndex::objectErased(const Database*, const DbObject* object, bool) {
    changed(object);
}

void SpatialIndex::goodbye(const Database*) {
    database_ = nullptr;
    state_->spaces.clear();
}

}  // namespace vela::db
