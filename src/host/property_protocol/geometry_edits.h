#pragma once

#include <QStringView>

#include "db/geometry/vector.h"

namespace vela::db {
class Entity;
class RxClass;
}  // namespace vela::db

namespace vela::host {

/// How an edit request gives a geometric property's new value.
enum class GeometryValue {
    Point,         // "x,y" or "x,y,z"; with two coordinates the current z stays
    Number,        // one number
    ScaleFactors,  // "x", "x,y" or "x,y,z"; missing factors repeat x
};

/// A geometric property that edit requests change, under the name they give it ("StartPoint", "Radius",
/// "Scale X"), for the entity classes that have it. Setters apply the entity's own rules: a value the entity
/// cannot take (a radius that is not positive, a minor axis ratio above 1, a zero scale factor) changes
/// nothing, and the database may refuse others by throwing.
struct GeometryEdit {
    const char* name;
    GeometryValue value;
    /// Point: the point now, whose z a two-coordinate request keeps. Null for the other kinds.
    db::Point3d (*current)(const db::Entity& entity);
    /// Point and ScaleFactors: the new point or factors.
    void (*setPoint)(db::Entity& entity, const db::Point3d& value);
    /// Number: the new number.
    void (*setNumber)(db::Entity& entity, double value);
};

/// The edit of `name` for an entity of class `cls`: the edits of the nearest class it is a kind of that has
/// any decide. Null when the class has no such property.
const GeometryEdit* findGeometryEdit(const db::RxClass* cls, QStringView name);

}  // namespace vela::host
