#pragma once

#include <span>
#include <string>

#include "db/geometry/matrix.h"
#include "db/object_id.h"

namespace vela::host {

/// What applying transformations to one entity came to.
struct EntityTransform {
    /// False when the entity could not be opened for write (erased, no entity, on a locked layer): untouched.
    bool opened = false;
    /// The entity refused one of the transformations (it cannot take that kind); it took the others.
    bool refused = false;
    /// Set when the result would have held a value that cannot be kept (an overflowed coordinate, a collapsed
    /// axis): then the entity and what it owns went back to how they were. Names the value.
    std::string badValue;
    bool ok() const { return opened && !refused && badValue.empty(); }
};

/// Applies `matrices` in order to the entity `id`, with what it owns (a polyline's vertices, a reference's
/// attributes): the one way every command moves, turns, scales or mirrors entities.
EntityTransform transformEntity(db::ObjectId id, std::span<const db::Matrix3d> matrices);

}  // namespace vela::host
