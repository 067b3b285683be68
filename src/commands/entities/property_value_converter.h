#pragma once

#include <QString>

#include "host/properties/property_protocol.h"
#include "properties/color_text.h"

namespace vela::db {
class Database;
}

namespace vela::commands {

/// A query value converted for a property: the value (monostate when it could not be read) and, for colors,
/// how the color text parsed.
struct ConvertedValue {
    properties::ColorParseStatus status = properties::ColorParseStatus::Ok;
    host::PropertyValue value;
};

/// Reads a condition's value text as the property's type: colors by the color parser, lineweights and
/// transparencies as a properties panel writes them, names of layers, linetypes and text styles as the
/// records' ids, and plain values (numbers, texts, yes/no) by their type.
ConvertedValue ConvertPropertyValue(const host::PropertyDescriptor& property, const QString& text,
                                    const db::Database* database);

}  // namespace vela::commands
