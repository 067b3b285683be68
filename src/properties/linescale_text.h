#pragma once

#include <QString>
#include <optional>

namespace vela::properties {

/// The outcome of reading a linetype scale: the scale, or the message the caller adds to its response.
struct LineScaleParseResult {
    std::optional<double> scale;
    QString errorMessage;  // "Error parsing linescale <text>. " when `scale` is empty

    bool ok() const { return scale.has_value(); }
};

/// Reads a linetype scale: the whole text as a number (NumberFromText: decimal point, exponent allowed,
/// surrounding blanks ignored, no unit). Infinity and NaN are refused as well, since no drawing can use them.
/// Whether zero or a negative scale is acceptable is the caller's decision.
LineScaleParseResult LineScaleFromText(const QString& text);

}  // namespace vela::properties
