#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/entities/hatch.h"
#include "db/geometry/vector.h"
#include "db/support/support_file_error.h"

namespace vela::db {

/// Step from one line of a family to the next, in the family's own frame: `x` along the line
/// direction, `y` perpendicular to it. Not a drawing-space vector, hence its own type.
struct Offset2d {
    double x = 0.0, y = 0.0;
    constexpr bool operator==(const Offset2d&) const = default;
};

/// One family of parallel lines of a hatch pattern, as a pattern file gives it (its offset in the lines' own
/// frame, unlike a hatch entity's HatchPatternLine).
struct HatchPatternFileLine {
    double angle = 0.0;  ///< Direction of the lines, radians.
    Point2d origin;      ///< A point the first line passes through; the dash pattern starts there.
    Offset2d offset;     ///< Shift to the next line; `offset.y` is never zero.
    /// > 0 dash, < 0 gap, 0 dot, as for linetypes; empty means solid lines.
    std::vector<double> dashes;
};

struct HatchPatternDefinition {
    std::string name, description;
    std::vector<HatchPatternFileLine> lines;

    /// SOLID is a fill, not lines. It is known by its name (as drawings know it), and the reader drops
    /// the placeholder line family that files carry for it, so a solid definition has no lines.
    bool isSolid() const;
};

struct HatchPatternFile {
    std::vector<HatchPatternDefinition> definitions;
    /// Definitions with errors are left out of `definitions`; every problem is listed here.
    std::vector<SupportFileError> errors;

    /// The definition called `name`, compared ignoring ASCII case; nullptr if absent.
    const HatchPatternDefinition* find(std::string_view name) const;
};

/// Parses the text of a hatch pattern (.pat) file. Never fails as a whole: bad definitions are reported
/// in `errors` and skipped, the others are kept. When a name is defined twice the first one counts.
HatchPatternFile parseHatchPatternFile(std::string_view text);

/// Reads and parses a hatch pattern file. Returns nullopt (and a message in `error`, if given) only when
/// the file cannot be read; problems inside the file are in the result's `errors`.
std::optional<HatchPatternFile> readHatchPatternFile(const std::filesystem::path& path,
                                                     std::string* error = nullptr);

/// The definition `name` from the bundled pattern file of the unit system ("mm.pat" or "inch.pat", read once
/// and kept); nullptr when there is no such pattern.
const HatchPatternDefinition* findBundledHatchPattern(std::string_view name, bool metric);

/// The definition's line families as a hatch holds them: turned by `angle` (radians) and scaled by `scale`
/// about the origin, offsets in drawing coordinates (a file gives them along and across each family).
std::vector<HatchPatternLine> hatchPatternLines(const HatchPatternDefinition& definition, double angle,
                                                double scale);

}  // namespace vela::db
