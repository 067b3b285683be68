#include "render/pattern_file.h"

#include <optional>

#include "db/support/hatch_pattern_file.h"
#include "db/support/support_path.h"

namespace vela::render {

namespace {

std::optional<db::HatchPatternFile> load(const char* fileName) {
    const auto path = db::SupportPath::standard().find(fileName);
    return path ? db::readHatchPatternFile(*path) : std::nullopt;
}

}  // namespace

std::vector<PatternFamily> bundledPattern(std::string_view name, bool metric) {
    static const std::optional<db::HatchPatternFile> metricFile = load("mm.pat");
    static const std::optional<db::HatchPatternFile> imperialFile = load("inch.pat");
    const auto& file = metric ? metricFile : imperialFile;
    const db::HatchPatternDefinition* definition = file ? file->find(name) : nullptr;
    std::vector<PatternFamily> out;
    if (!definition) return out;
    for (const auto& line : definition->lines)
        out.push_back({line.angle, line.origin.x, line.origin.y, line.offset.x, line.offset.y, line.dashes});
    return out;
}

}  // namespace vela::render
