#pragma once

#include <QString>
#include <optional>

#include "host/property_protocol/property_protocol.h"
#include "host/text/color_text.h"

namespace vela::db {
class Database;
}

namespace vela::properties {

/// A query value converted for a property: the value (monostate when it could not be read) and, for colors,
/// how the color text parsed.
struct ConvertedValue {
    host::ColorParseStatus status = host::ColorParseStatus::Ok;
    host::PropertyValue value;
};

/// Reads a condition's value text as the property's type: colors by the color parser, lineweights and
/// transparencies as a properties panel writes them, names of layers, linetypes and text styles as the
/// records' ids, and plain values (numbers, texts, yes/no) by their type.
ConvertedValue ConvertPropertyValue(const host::PropertyDescriptor& property, const QString& text,
                                    const db::Database* database);

/// A transparency as a properties panel shows it: "ByLayer", "ByBlock" (ignoring case), or a percentage from
/// 0 (opaque) to 90 (the most transparent a drawing allows), which becomes the alpha the entity stores: alpha
/// = trunc(255 * (100 - percent) / 100). Nothing for any other text.
std::optional<db::Transparency> TransparencyFromPanelText(const QString& text);

/// A text as a properties panel reads it into a value of a plain type: integers and reals in the C locale
/// (whole text, blanks around allowed), booleans as true/false, yes/no or 1/0 (ignoring case), texts as they
/// are. Monostate when the text does not read as that type, and for types that are not plain.
host::PropertyValue VariantFromPanelText(const QString& text, host::PropertyType type);

}  // namespace vela::properties
