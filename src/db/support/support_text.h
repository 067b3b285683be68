#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Lexical rules shared by the linetype (.lin) and hatch pattern (.pat) readers. Both formats are
// line-based, comma-separated, with ';' comments and "*NAME,description" headers, so the pieces that
// decide what a number, a name or a line is live here once.
namespace vela::db::support_text {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kDegreesToRadians = kPi / 180.0;

/// One physical line of a support file with its 1-based number.
struct Line {
    std::size_t number = 0;
    std::string_view text;  ///< Without the line break and trailing '\r'.
};

/// Splits `text` into lines. A UTF-8 byte order mark at the start is dropped: editors on Windows add one
/// and it would otherwise glue itself to the first header's '*'.
std::vector<Line> splitLines(std::string_view text);

/// `s` without leading and trailing spaces, tabs and other ASCII white space.
std::string_view trim(std::string_view s);

/// ASCII case-insensitive equality; symbol names in drawings compare this way.
bool equalsIgnoreCase(std::string_view a, std::string_view b);

/// `s` with ASCII letters in lower case, for keys of case-insensitive lookups.
std::string toLowerAscii(std::string_view s);

/// True for blank lines and for lines whose first non-blank character is ';'.
bool isBlankOrComment(std::string_view line);

/// Parses the whole of `s` (after trimming) as a finite decimal number. A leading '+' is accepted;
/// infinities, NaN, hexadecimal and trailing characters are not.
std::optional<double> parseNumber(std::string_view s);

/// Splits at every comma. Fields are trimmed. Neither format has quoting at this level.
std::vector<std::string_view> splitFields(std::string_view s);

/// `s` shortened to at most `maxLength` characters for quoting in an error message.
std::string excerpt(std::string_view s, std::size_t maxLength = 40);

/// A parsed "*NAME,description" header line.
struct Header {
    std::string name;
    std::string description;
};

/// Parses a header line (which must start with '*' after leading blanks). On failure returns nullopt
/// and puts the reason into `error`. Names must be usable as drawing symbol names, so the characters
/// those forbid are refused here rather than later when the definition is loaded into a drawing.
std::optional<Header> parseHeader(std::string_view line, std::string& error);

/// True when the first non-blank character is '*'.
bool isHeader(std::string_view line);

/// Reads a whole support file into memory. Returns nullopt and a message in `error` (if not null)
/// when the file cannot be read or is implausibly large for a support file.
std::optional<std::string> readWholeFile(const std::filesystem::path& path, std::string_view kind,
                                         std::string* error);

}  // namespace vela::db::support_text
