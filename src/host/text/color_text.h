#pragma once

#include <QString>
#include <cstdint>
#include <optional>

#include "db/color.h"

namespace vela::host {

/// Why a color text was not understood. The numbers are part of the contract with the assistant page.
enum class ColorParseStatus : std::int32_t {
    Ok = 0,
    InvalidRgb = 1,    // a decimal triple was found but does not span the whole text
    InvalidHex = 2,    // a #RRGGBB form was found but does not span the whole text
    InvalidIndex = 3,  // only a palette index was found, and it does not span the whole text
    Unrecognized = 4,  // no form at all occurs in the text
};

/// The outcome of ParseColorText. `color` is meaningful only when `status` is Ok; otherwise it is a default
/// color that callers must not apply.
struct ColorParseResult {
    ColorParseStatus status = ColorParseStatus::Ok;
    db::Color color;
};

/// Reads a color from the page's text: a decimal triple "(r,g,b)" (the opening parenthesis optional, blanks
/// only around the commas), "#RRGGBB", or a palette index 0..255. The text is taken as it arrives, without
/// trimming or case folding. The seven pure colors of the palette become their indexes 1..7; black stays a
/// true color. "ByLayer" and "ByBlock" are not color texts here: callers that accept them test for them
/// first.
ColorParseResult ParseColorText(const QString& text);

/// "Error parsing property from <text> because <reason>. " for a failed parse. The hexadecimal failure has an
/// empty reason, as the page has always received it.
QString ColorParseErrorMessage(ColorParseStatus status, const QString& text);

/// "ByLayer", "ByBlock", the palette index as a number, or "RGB(r,g,b)" for everything else. The last form is
/// for reading in reports and is deliberately not accepted back by ParseColorText.
QString ColorToText(db::Color color);

/// A color as a CAD user types it on the command line: "ByLayer", "ByBlock", a palette index 1..255, one of
/// the seven color names ("red", "yellow", "green", "cyan", "blue", "magenta", "white"), a true color "r,g,b"
/// or
/// "#RRGGBB". Nothing for any other text.
std::optional<db::Color> ReadCommandLineColor(const QString& text);

/// The color as the command line shows it: "BYLAYER", "BYBLOCK", the index, or "r,g,b".
QString CommandLineColorText(db::Color color);

}  // namespace vela::host
