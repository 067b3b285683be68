#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/support/support_file_error.h"

namespace vela::db {

/// One element of a linetype pattern. A text or shape is not an element of its own: it rides on the
/// dash or gap written just before it in the file, the same way a drawing stores it, so `length` is
/// always that dash or gap.
struct LinetypeElement {
    enum class Kind { Plain, Text, Shape };

    double length = 0.0;  ///< > 0 dash, < 0 gap, 0 dot; in the file's drawing units.
    Kind kind = Kind::Plain;
    std::string text;         ///< Text to draw (Kind::Text) or shape name (Kind::Shape).
    std::string styleOrFile;  ///< Text style name (Kind::Text) or shape file, e.g. "ltshapes.shx".
    double scale = 1.0;
    double rotation = 0.0;          ///< Radians.
    bool absoluteRotation = false;  ///< Rotation is against the X axis instead of the line direction.
    bool uprightRotation = false;   ///< Rotation keeps the text readable (never upside down).
    double xOffset = 0.0, yOffset = 0.0;
};

struct LinetypeDefinition {
    std::string name, description;
    char alignment = 'A';
    /// Empty for a continuous line: a drawing stores CONTINUOUS as a linetype with no elements, and the
    /// files say the same with a pattern line holding only the alignment ("A").
    std::vector<LinetypeElement> elements;

    bool isContinuous() const { return elements.empty(); }
    /// Sum of the absolute element lengths: the distance after which the pattern repeats.
    double patternLength() const;
};

struct LinetypeFile {
    std::vector<LinetypeDefinition> definitions;
    /// Definitions with errors are left out of `definitions`; every problem is listed here.
    std::vector<SupportFileError> errors;

    /// The definition called `name`, compared ignoring ASCII case; nullptr if absent.
    const LinetypeDefinition* find(std::string_view name) const;
};

/// Parses the text of a linetype (.lin) file. Never fails as a whole: bad definitions are reported in
/// `errors` and skipped, the others are kept. When a name is defined twice the first one counts.
LinetypeFile parseLinetypeFile(std::string_view text);

/// Reads and parses a linetype file. Returns nullopt (and a message in `error`, if given) only when the
/// file cannot be read; problems inside the file are in the result's `errors`.
std::optional<LinetypeFile> readLinetypeFile(const std::filesystem::path& path, std::string* error = nullptr);

}  // namespace vela::db
