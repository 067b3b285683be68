#pragma once

#include <QString>
#include <optional>

#include "host/properties/property_value.h"

namespace vela::host {

/// A transparency as a properties panel shows it: "ByLayer", "ByBlock" (ignoring case), or a percentage from 0
/// (opaque) to 90 (the most transparent a drawing allows), which becomes the alpha the entity stores:
/// alpha = trunc(255 * (100 - percent) / 100). Nothing for any other text.
std::optional<db::Transparency> transparencyFromPanelText(const QString& text);

/// A text as a properties panel reads it into a value of a plain type: integers and reals in the C locale
/// (whole text, blanks around allowed), booleans as true/false, yes/no or 1/0 (ignoring case), texts as they are.
/// Monostate when the text does not read as that type, and for types that are not plain.
PropertyValue variantFromPanelText(const QString& text, PropertyType type);

}  // namespace vela::host
