#include "db/support/hatch_pattern_file.h"

#include <cmath>
#include <unordered_map>

#include "db/support/support_path.h"
#include "db/support/support_text.h"

namespace vela::db {

namespace {

using namespace support_text;

constexpr std::string_view kSolidName = "SOLID";

const char* const kFieldNames[] = {"angle", "x-origin", "y-origin", "delta-x", "delta-y"};

// Parses "angle, x-origin, y-origin, delta-x, delta-y [, dash, ...]".
bool parseLineFamily(std::string_view text, HatchPatternFileLine& line, std::string& error) {
    std::vector<std::string_view> fields = splitFields(text);
    // Hand-edited files often end a line with a comma; it adds nothing, so it is forgiven.
    if (fields.size() > 1 && fields.back().empty()) fields.pop_back();
    if (fields.size() < 5) {
        error = "a line family needs angle, x-origin, y-origin, delta-x and delta-y; found " +
                std::to_string(fields.size()) + " value" + (fields.size() == 1 ? "" : "s");
        return false;
    }
    double values[5] = {};
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const auto value = parseNumber(fields[i]);
        if (!value) {
            const std::string what = i < 5 ? std::string(kFieldNames[i]) : "dash " + std::to_string(i - 4);
            error = what + ": '" + excerpt(fields[i]) + "' is not a number";
            return false;
        }
        if (i < 5) {
            values[i] = *value;
        } else {
            line.dashes.push_back(*value);
        }
    }
    // With no distance between lines the family would be one line repeated forever.
    if (values[4] == 0.0) {
        error = "delta-y (the distance between lines) must not be zero";
        return false;
    }
    if (!line.dashes.empty()) {
        double length = 0.0;
        for (double d : line.dashes) length += std::fabs(d);
        if (!(length > 0.0) || !std::isfinite(length)) {
            error = "dash pattern must have a finite, non-zero length";
            return false;
        }
    }
    line.angle = values[0] * kDegreesToRadians;
    line.origin = Point2d(values[1], values[2]);
    line.offset = Offset2d{values[3], values[4]};
    return true;
}

}  // namespace

bool HatchPatternDefinition::isSolid() const {
    return equalsIgnoreCase(name, kSolidName);
}

const HatchPatternDefinition* HatchPatternFile::find(std::string_view name) const {
    for (const auto& definition : definitions) {
        if (equalsIgnoreCase(definition.name, name)) return &definition;
    }
    return nullptr;
}

HatchPatternFile parseHatchPatternFile(std::string_view text) {
    HatchPatternFile file;
    const auto report = [&](std::size_t line, std::string message) {
        file.errors.push_back({line, std::move(message)});
    };

    std::unordered_map<std::string, std::size_t> firstLineOf;  // lower-case name -> header line
    std::optional<HatchPatternDefinition> current;
    std::size_t currentLine = 0;
    bool currentBad = false;
    bool skippingBadHeader = false;  // lines under a rejected header are not reported again

    const auto finish = [&] {
        if (!current) return;
        HatchPatternDefinition& d = *current;
        if (!currentBad && !d.isSolid() && d.lines.empty()) {
            report(currentLine, d.name + ": definition has no line families");
            currentBad = true;
        }
        if (!currentBad) {
            const auto [it, inserted] = firstLineOf.emplace(toLowerAscii(d.name), currentLine);
            if (inserted) {
                file.definitions.push_back(std::move(d));
            } else {
                report(currentLine, d.name + ": already defined on line " + std::to_string(it->second) +
                                        "; this one is ignored");
            }
        }
        current.reset();
    };

    for (const Line& line : splitLines(text)) {
        if (isBlankOrComment(line.text)) continue;
        if (isHeader(line.text)) {
            finish();
            std::string error;
            auto header = parseHeader(line.text, error);
            skippingBadHeader = !header;
            if (!header) {
                report(line.number, error);
                continue;
            }
            current = HatchPatternDefinition{.name = std::move(header->name),
                                             .description = std::move(header->description)};
            currentLine = line.number;
            currentBad = false;
            continue;
        }
        if (!current) {
            if (!skippingBadHeader) {
                report(line.number, "'" + excerpt(line.text) + "' is not part of any definition");
            }
            continue;
        }
        // Files give SOLID a line family so that readers without fills still show something. We fill
        // instead, so its lines are not even read.
        if (current->isSolid()) continue;
        HatchPatternFileLine family;
        std::string error;
        if (!parseLineFamily(line.text, family, error)) {
            report(line.number, current->name + ": " + error);
            currentBad = true;
            continue;
        }
        current->lines.push_back(std::move(family));
    }
    finish();
    return file;
}

std::optional<HatchPatternFile> readHatchPatternFile(const std::filesystem::path& path, std::string* error) {
    const auto content = readWholeFile(path, "hatch pattern file", error);
    if (!content) return std::nullopt;
    return parseHatchPatternFile(*content);
}

const HatchPatternDefinition* findBundledHatchPattern(std::string_view name, bool metric) {
    auto load = [](bool metricFile) -> std::optional<HatchPatternFile> {
        const auto path = SupportPath::standard().find(hatchPatternFileName(metricFile));
        return path ? readHatchPatternFile(*path) : std::nullopt;
    };
    static const std::optional<HatchPatternFile> metricFile = load(true);
    static const std::optional<HatchPatternFile> imperialFile = load(false);
    const auto& file = metric ? metricFile : imperialFile;
    return file ? file->find(name) : nullptr;
}

std::vector<HatchPatternLine> hatchPatternLines(const HatchPatternDefinition& definition, double angle,
                                                double scale) {
    std::vector<HatchPatternLine> out;
    const double c = std::cos(angle), s = std::sin(angle);
    for (const HatchPatternFileLine& family : definition.lines) {
        HatchPatternLine line;
        line.angle = family.angle + angle;
        line.base = {(family.origin.x * c - family.origin.y * s) * scale,
                     (family.origin.x * s + family.origin.y * c) * scale};
        const double fc = std::cos(line.angle), fs = std::sin(line.angle);
        line.offset = {(family.offset.x * fc - family.offset.y * fs) * scale,
                       (family.offset.x * fs + family.offset.y * fc) * scale};
        for (const double d : family.dashes) line.dashes.push_back(d * scale);
        out.push_back(std::move(line));
    }
    return out;
}

}  // namespace vela::db
