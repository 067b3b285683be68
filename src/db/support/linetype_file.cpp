#include "db/support/linetype_file.h"

#include <cmath>
#include <unordered_map>

#include "db/support/support_text.h"

namespace vela::db {

namespace {

using namespace support_text;

// Splits a pattern line at the commas that separate elements. A bracketed text or shape element holds
// commas of its own, and its quoted text may hold commas and brackets, so those are kept whole.
bool splitPatternFields(std::string_view s, std::vector<std::string_view>& fields, std::string& error) {
    bool inQuote = false;
    bool inBracket = false;
    std::size_t start = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const char c = s[i];
        if (c == '"') {
            inQuote = !inQuote;
        } else if (inQuote) {
            continue;
        } else if (c == '[') {
            if (inBracket) {
                error = "'[' inside a text or shape element";
                return false;
            }
            inBracket = true;
        } else if (c == ']') {
            if (!inBracket) {
                error = "']' without a matching '['";
                return false;
            }
            inBracket = false;
        } else if (c == ',' && !inBracket) {
            fields.push_back(trim(s.substr(start, i - start)));
            start = i + 1;
        }
    }
    if (inQuote) {
        error = "text is missing its closing '\"'";
        return false;
    }
    if (inBracket) {
        error = "text or shape element is missing its closing ']'";
        return false;
    }
    fields.push_back(trim(s.substr(start)));
    return true;
}

// Like splitFields, but commas inside quoted text do not split. The quotes were checked for balance
// by splitPatternFields.
std::vector<std::string_view> splitOutsideQuotes(std::string_view s) {
    std::vector<std::string_view> fields;
    bool inQuote = false;
    std::size_t start = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '"') {
            inQuote = !inQuote;
        } else if (s[i] == ',' && !inQuote) {
            fields.push_back(trim(s.substr(start, i - start)));
            start = i + 1;
        }
    }
    fields.push_back(trim(s.substr(start)));
    return fields;
}

// Rotations are degrees unless a unit letter follows: d (degrees), r (radians) or g (grads).
std::optional<double> parseRotation(std::string_view s) {
    s = trim(s);
    double toRadians = kDegreesToRadians;
    if (!s.empty()) {
        switch (s.back()) {
            case 'd':
            case 'D':
                s.remove_suffix(1);
                break;
            case 'r':
            case 'R':
                toRadians = 1.0;
                s.remove_suffix(1);
                break;
            case 'g':
            case 'G':
                toRadians = kPi / 200.0;
                s.remove_suffix(1);
                break;
            default:
                break;
        }
    }
    const auto value = parseNumber(s);
    if (!value) return std::nullopt;
    return *value * toRadians;
}

// Fills the text or shape part of `element` from the inside of "[...]".
bool parseComplexElement(std::string_view body, LinetypeElement& element, std::string& error) {
    const std::vector<std::string_view> fields = splitOutsideQuotes(body);
    const std::string_view first = fields[0];
    if (first.starts_with('"')) {
        if (first.size() < 2 || !first.ends_with('"')) {
            error = "text '" + excerpt(first) + "' has characters after its closing '\"'";
            return false;
        }
        element.kind = LinetypeElement::Kind::Text;
        element.text = std::string(first.substr(1, first.size() - 2));
        if (element.text.empty()) {
            error = "text element has empty text";
            return false;
        }
    } else {
        if (first.empty() || first.find('"') != std::string_view::npos || first.find('=') != first.npos) {
            error = "shape element needs a shape name, got '" + excerpt(first) + "'";
            return false;
        }
        element.kind = LinetypeElement::Kind::Shape;
        element.text = std::string(first);
    }
    const bool isText = element.kind == LinetypeElement::Kind::Text;
    if (fields.size() < 2 || fields[1].empty() || fields[1].find('=') != std::string_view::npos ||
        fields[1].find('"') != std::string_view::npos) {
        error = isText ? "text element needs a text style name after the text"
                       : "shape element needs a shape file name after the shape name";
        return false;
    }
    element.styleOrFile = std::string(fields[1]);

    bool seen[128] = {};
    int rotations = 0;
    for (std::size_t i = 2; i < fields.size(); ++i) {
        const std::string_view field = fields[i];
        const std::size_t eq = field.find('=');
        const std::string_view key = eq == std::string_view::npos ? field : trim(field.substr(0, eq));
        if (eq == std::string_view::npos || key.size() != 1) {
            error = "expected S=, R=, A=, U=, X= or Y=, got '" + excerpt(field) + "'";
            return false;
        }
        const char k = static_cast<char>(key[0] >= 'a' && key[0] <= 'z' ? key[0] - 'a' + 'A' : key[0]);
        if (std::string_view("SRAUXY").find(k) == std::string_view::npos) {
            error = "unknown setting '" + excerpt(key) + "='; expected S=, R=, A=, U=, X= or Y=";
            return false;
        }
        if (seen[static_cast<unsigned char>(k)]) {
            error = std::string(1, k) + "= is given twice";
            return false;
        }
        seen[static_cast<unsigned char>(k)] = true;
        const std::string_view valueText = trim(field.substr(eq + 1));
        if (k == 'R' || k == 'A' || k == 'U') {
            if (++rotations > 1) {
                error = "only one of R=, A= and U= may be given";
                return false;
            }
            const auto angle = parseRotation(valueText);
            if (!angle) {
                error = std::string(1, k) + "= needs an angle, got '" + excerpt(valueText) + "'";
                return false;
            }
            element.rotation = *angle;
            element.absoluteRotation = k == 'A';
            element.uprightRotation = k == 'U';
            continue;
        }
        const auto value = parseNumber(valueText);
        if (!value) {
            error = std::string(1, k) + "= needs a number, got '" + excerpt(valueText) + "'";
            return false;
        }
        if (k == 'S') element.scale = *value;
        if (k == 'X') element.xOffset = *value;
        if (k == 'Y') element.yOffset = *value;
    }
    return true;
}

// Parses "A,dash,gap,..." into `definition`. Returns false with a message on the first problem.
bool parsePatternLine(std::string_view line, LinetypeDefinition& definition, std::string& error) {
    std::vector<std::string_view> fields;
    if (!splitPatternFields(trim(line), fields, error)) return false;
    const std::string_view alignment = fields[0];
    if (alignment.size() != 1 || (alignment[0] != 'A' && alignment[0] != 'a')) {
        error = parseNumber(alignment)
                    ? "pattern line must start with the alignment 'A'"
                    : "unknown alignment '" + excerpt(alignment) + "'; only 'A' is defined";
        return false;
    }
    definition.alignment = 'A';
    // Hand-edited files often end the pattern with a comma; it adds nothing, so it is forgiven.
    if (fields.size() > 1 && fields.back().empty()) fields.pop_back();

    for (std::size_t i = 1; i < fields.size(); ++i) {
        const std::string_view field = fields[i];
        const std::string where = "element " + std::to_string(i) + ": ";
        if (field.empty()) {
            error = where + "empty (two commas in a row?)";
            return false;
        }
        if (field.front() == '[') {
            if (field.back() != ']') {
                error = where + "characters after the closing ']'";
                return false;
            }
            if (definition.elements.empty()) {
                error = where + "a text or shape must follow a dash or gap";
                return false;
            }
            LinetypeElement& host = definition.elements.back();
            if (host.kind != LinetypeElement::Kind::Plain) {
                error = where + "only one text or shape may follow each dash or gap";
                return false;
            }
            std::string complexError;
            if (!parseComplexElement(field.substr(1, field.size() - 2), host, complexError)) {
                error = where + complexError;
                return false;
            }
            continue;
        }
        const auto length = parseNumber(field);
        if (!length) {
            error = where + "'" + excerpt(field) + "' is not a number";
            return false;
        }
        definition.elements.push_back(LinetypeElement{.length = *length});
    }

    const auto& e = definition.elements;
    if (e.empty()) return true;  // Continuous.
    // Alignment A starts and ends every line on a dash; that needs a drawn first element and a gap
    // after it. The gap also makes the pattern length positive, so nobody walking the pattern can loop
    // forever on a zero-length repeat.
    if (e.size() < 2 || e[0].length < 0.0 || !(e[1].length < 0.0)) {
        error = "with alignment A the pattern must start with a dash or dot followed by a gap";
        return false;
    }
    if (!std::isfinite(definition.patternLength())) {
        error = "pattern is too long";
        return false;
    }
    return true;
}

}  // namespace

double LinetypeDefinition::patternLength() const {
    double sum = 0.0;
    for (const auto& element : elements) sum += std::fabs(element.length);
    return sum;
}

const LinetypeDefinition* LinetypeFile::find(std::string_view name) const {
    for (const auto& definition : definitions) {
        if (equalsIgnoreCase(definition.name, name)) return &definition;
    }
    return nullptr;
}

LinetypeFile parseLinetypeFile(std::string_view text) {
    LinetypeFile file;
    const auto report = [&](std::size_t line, std::string message) {
        file.errors.push_back({line, std::move(message)});
    };

    std::unordered_map<std::string, std::size_t> firstLineOf;  // lower-case name -> header line
    std::optional<Header> pending;                             // header still waiting for its pattern
    std::size_t pendingLine = 0;
    bool skippingBadHeader = false;  // the pattern line of a rejected header is not reported again

    for (const Line& line : splitLines(text)) {
        if (isBlankOrComment(line.text)) continue;
        if (isHeader(line.text)) {
            if (pending) report(pendingLine, pending->name + ": definition has no pattern line");
            std::string error;
            pending = parseHeader(line.text, error);
            pendingLine = line.number;
            skippingBadHeader = !pending;
            if (!pending) report(line.number, error);
            continue;
        }
        if (!pending) {
            if (!skippingBadHeader) {
                report(line.number, "'" + excerpt(line.text) + "' is not part of any definition");
            }
            skippingBadHeader = false;
            continue;
        }
        LinetypeDefinition definition{.name = std::move(pending->name),
                                      .description = std::move(pending->description)};
        pending.reset();
        std::string error;
        if (!parsePatternLine(line.text, definition, error)) {
            report(line.number, definition.name + ": " + error);
            continue;
        }
        const auto [it, inserted] = firstLineOf.emplace(toLowerAscii(definition.name), pendingLine);
        if (!inserted) {
            report(pendingLine, definition.name + ": already defined on line " + std::to_string(it->second) +
                                    "; this one is ignored");
            continue;
        }
        file.definitions.push_back(std::move(definition));
    }
    if (pending) report(pendingLine, pending->name + ": definition has no pattern line");
    return file;
}

std::optional<LinetypeFile> readLinetypeFile(const std::filesystem::path& path, std::string* error) {
    const auto content = readWholeFile(path, "linetype file", error);
    if (!content) return std::nullopt;
    return parseLinetypeFile(*content);
}

}  // namespace vela::db
