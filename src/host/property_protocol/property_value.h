#pragma once

#include <QString>
#include <variant>

#include "db/color.h"
#include "db/lineweight.h"
#include "db/object_id.h"
#include "db/transparency.h"

namespace vela::host {

/// The kinds of value an entity property has, as a CAD properties panel shows them.
enum class PropertyType {
    Text,          // contents, block names
    Integer,       // counts, degrees of splines
    Real,          // lengths, coordinates, scales, angles in degrees
    Bool,          // closed, external reference
    Color,         // db::Color
    LineWeight,    // db::LineWeight
    Transparency,  // db::Transparency
    Layer,         // a layer record's id
    Linetype,      // a linetype record's id
    TextStyle,     // a text style record's id
};

/// A property's value; monostate for "no value" (a property a particular entity cannot give).
using PropertyValue = std::variant<std::monostate, QString, qint64, double, bool, db::Color, db::LineWeight,
                                   db::Transparency, db::ObjectId>;

/// True for the types whose value names a table record.
inline bool isNamedObjectType(PropertyType t) {
    return t == PropertyType::Layer || t == PropertyType::Linetype || t == PropertyType::TextStyle;
}

}  // namespace vela::host
