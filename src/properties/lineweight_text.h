#pragma once

#include <QString>

#include "db/lineweight.h"

namespace vela::properties {

/// The lineweight as reports print it: "ByLayer", "ByBlock", "Default", or the width in hundredths of a
/// millimetre as a plain number ("25" for 0.25 mm). Any value is formatted, standard or not, so a report
/// shows exactly what the drawing holds.
QString LineWeightToText(db::LineWeight weight);

}  // namespace vela::properties
