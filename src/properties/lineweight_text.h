#pragma once

#include <QString>
#include <optional>

#include "db/lineweight.h"

namespace vela::properties {

/// Reads a lineweight as a properties panel names it. Accepted, with blanks around the text ignored:
/// - "ByLayer", "ByBlock" and "Default", in any case;
/// - a standard width in millimetres with a decimal point: "0.25", ".25", "0.250", "1", "2.11", "0" or
/// "0.00",
///   optionally followed by "mm" in any case, with or without a blank before it ("0.25 mm", "0.25mm").
/// Anything else gives false and leaves `out` unchanged: widths that are not standard ("0.26"), hundredths
/// written as a whole number ("25" would be 25 mm), signs, decimal commas, exponents and other units.
bool LineWeightFromText(const QString& text, db::LineWeight& out);

/// The panel's text for a lineweight: "ByLayer", "ByBlock", "Default", or millimetres with two decimals and
/// the unit ("0.25 mm", "0.00 mm"). LineWeightFromText reads every such text of a standard width back.
QString LineWeightToDisplayText(db::LineWeight weight);

/// "ByLayer", "ByBlock" or "Default" for the three special values; nothing for a width.
std::optional<QString> SpecialLineWeightName(db::LineWeight weight);

/// The lineweight as reports print it: "ByLayer", "ByBlock", "Default", or the width in hundredths of a
/// millimetre as a plain number ("25" for 0.25 mm). Any value is formatted, standard or not, so a report
/// shows exactly what the drawing holds.
QString LineWeightToText(db::LineWeight weight);

}  // namespace vela::properties
