#pragma once

#include "db/entity.h"

namespace vela::db {

/// The common base of one-dimensional entities (lines, circles, arcs, ellipses, polylines, splines), so that
/// code can ask for "any curve" as drawings do.
class Curve : public Entity {
    VELA_DB_DECLARE_ABSTRACT_CLASS(Curve)
protected:
    Curve() = default;
};

}  // namespace vela::db
