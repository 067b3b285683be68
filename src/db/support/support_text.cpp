#include "db/support/support_text.h"

#include <fast_float/fast_float.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <system_error>

namespace vela::db::support_text {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

char lowerChar(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Support files are a few hundred kilobytes at most; anything far larger is not one, and reading it
// whole would only waste memory before failing to parse.
constexpr std::uintmax_t kMaxSupportFileSize = 64u * 1024u * 1024u;

// Characters a drawing refuses in symbol table names (layers, linetypes, styles, ...).
constexpr std::string_view kForbiddenNameChars = "<>/\\\":;?*|,=`";

constexpr std::size_t kMaxNameLength = 255;

}  // namespace

std::vector<Line> splitLines(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    std::vector<Line> lines;
    std::size_t number = 1;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.push_back({number++, line});
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return lines;
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && isSpace(s.front())) s.remove_prefix(1);
    while (!s.empty() && isSpace(s.back())) s.remove_suffix(1);
    return s;
}

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (lowerChar(a[i]) != lowerChar(b[i])) return false;
    }
    return true;
}

std::string toLowerAscii(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = lowerChar(c);
    return out;
}

bool isBlankOrComment(std::string_view line) {
    const std::string_view t = trim(line);
    return t.empty() || t.front() == ';';
}

std::optional<double> parseNumber(std::string_view s) {
    s = trim(s);
    if (s.starts_with('+')) {
        s.remove_prefix(1);
        // "+-1" and "+ 1" are typos, not numbers.
        if (s.empty() || s.front() == '-' || isSpace(s.front())) return std::nullopt;
    }
    if (s.empty()) return std::nullopt;
    double value = 0.0;
    const char* first = s.data();
    const char* last = s.data() + s.size();
    const auto result = fast_float::from_chars(first, last, value);
    if (result.ec != std::errc() || result.ptr != last || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::vector<std::string_view> splitFields(std::string_view s) {
    std::vector<std::string_view> fields;
    while (true) {
        const std::size_t comma = s.find(',');
        fields.push_back(trim(s.substr(0, comma)));
        if (comma == std::string_view::npos) break;
        s.remove_prefix(comma + 1);
    }
    return fields;
}

std::string excerpt(std::string_view s, std::size_t maxLength) {
    std::string out;
    for (char c : s.substr(0, maxLength)) {
        // Keep messages printable even when the input is binary junk.
        const auto u = static_cast<unsigned char>(c);
        out.push_back(u < 0x20 || u == 0x7f ? '?' : c);
    }
    if (s.size() > maxLength) out += "...";
    return out;
}

bool isHeader(std::string_view line) {
    const std::string_view t = trim(line);
    return !t.empty() && t.front() == '*';
}

std::optional<Header> parseHeader(std::string_view line, std::string& error) {
    std::string_view t = trim(line);
    if (t.empty() || t.front() != '*') {
        error = "a definition header must start with '*'";
        return std::nullopt;
    }
    t.remove_prefix(1);
    const std::size_t comma = t.find(',');
    const std::string_view name = trim(t.substr(0, comma));
    const std::string_view description =
        comma == std::string_view::npos ? std::string_view() : trim(t.substr(comma + 1));
    if (name.empty()) {
        error = "definition header has no name";
        return std::nullopt;
    }
    if (name.size() > kMaxNameLength) {
        error =
            "name '" + excerpt(name) + "' is longer than " + std::to_string(kMaxNameLength) + " characters";
        return std::nullopt;
    }
    for (char c : name) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || u == 0x7f || kForbiddenNameChars.find(c) != std::string_view::npos) {
            error = "name '" + excerpt(name) + "' contains a character not allowed in names";
            return std::nullopt;
        }
    }
    return Header{std::string(name), std::string(description)};
}

std::optional<std::string> readWholeFile(const std::filesystem::path& path, std::string_view kind,
                                         std::string* error) {
    const auto fail = [&](const std::string& why) -> std::optional<std::string> {
        if (error) *error = "cannot read " + std::string(kind) + " '" + path.string() + "': " + why;
        return std::nullopt;
    };
    std::error_code ec;
    const auto status = std::filesystem::status(path, ec);
    if (ec || !std::filesystem::exists(status)) return fail("no such file");
    if (std::filesystem::is_directory(status)) return fail("it is a folder");
    const std::uintmax_t size = std::filesystem::file_size(path, ec);
    if (ec) return fail(ec.message());
    if (size > kMaxSupportFileSize) {
        return fail("file is " + std::to_string(size) + " bytes, too large for a support file");
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) return fail(std::strerror(errno));
    std::string content;
    content.resize(static_cast<std::size_t>(size));
    in.read(content.data(), static_cast<std::streamsize>(size));
    // The file may have changed size since we asked; keep what was actually read.
    content.resize(static_cast<std::size_t>(in.gcount()));
    if (in.bad()) return fail("read error");
    return content;
}

}  // namespace vela::db::support_text
