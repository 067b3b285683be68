#pragma once

#include <string_view>
#include <vector>

namespace vela::render {

/// One family of lines of a pattern from the bundled pattern files, as the file gives it: unscaled, unturned.
struct PatternFamily {
    double angle = 0.0;  // radians
    double originX = 0.0, originY = 0.0;
    double alongX = 0.0, acrossY = 0.0;  // step to the next line, along and across the lines
    std::vector<double> dashes;
};

/// The families of the pattern `name` from the bundled metric or imperial pattern file (read once); empty
/// when there is no such pattern.
std::vector<PatternFamily> bundledPattern(std::string_view name, bool metric);

}  // namespace vela::render
