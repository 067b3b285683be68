#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "db/database_reactor.h"
#include "db/geometry/extents.h"
#include "db/object_id.h"

namespace vela::db {

class Entity;

/// Where the entities of a drawing lie, so that a window over a huge drawing, a pick by point or a search
/// around a point looks only at what is near: for each space or block, an R-tree of its entities' boxes
/// (X and Y). It follows the database through its reactors: an entity appended, changed, erased or brought
/// back by undo is boxed again when its space is next asked about; a change inside a block definition moves
/// every reference to it, so all spaces are boxed again then. Trees are built on first use, in one pass.
///
/// Entities without a box (construction lines and rays reach infinitely far; some kinds have no geometry we
/// know) meet every window.
class SpatialIndex : public DatabaseReactor {
  public:
    explicit SpatialIndex(Database& database);
    ~SpatialIndex() override;
    SpatialIndex(const SpatialIndex&) = delete;
    SpatialIndex& operator=(const SpatialIndex&) = delete;

    /// The entities of `block` (a space or block definition) whose box meets `window` in X and Y, in the
    /// block's drawing order. Erased entities are not found. Empty when the database went away.
    std::vector<ObjectId> query(ObjectId block, const Extents3d& window) const;
    /// The entities of `block` whose box comes within `tolerance` of `point` (X and Y), in drawing order.
    std::vector<ObjectId> queryPoint(ObjectId block, const Point3d& point, double tolerance) const;
    /// The box of everything in `block` that has one (invalid when nothing has).
    Extents3d extents(ObjectId block) const;

    void objectAppended(const Database*, const DbObject* object) override;
    void objectModified(const Database*, const DbObject* object) override;
    void objectErased(const Database*, const DbObject* object, bool erased) override;
    void goodbye(const Database*) override;

  private:
    struct Space;
    Space* space(ObjectId block) const;
    void changed(const DbObject* object);

    Database* database_;
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace vela::db
