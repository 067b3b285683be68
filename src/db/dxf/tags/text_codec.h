#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vela::db::dxf {

/// Text encodings of DXF files. R2007 (AC1021) and later are UTF-8; older files use the Windows or
/// DOS code page named by the header variable $DWGCODEPAGE.
enum class CodePage : std::uint8_t {
    Utf8,
    Ansi874,
    Ansi932,  ///< Japanese (Shift_JIS)
    Ansi936,  ///< Simplified Chinese (GBK)
    Ansi949,  ///< Korean (Wansung/UHC)
    Ansi950,  ///< Traditional Chinese (Big5)
    Ansi1250,
    Ansi1251,
    Ansi1252,
    Ansi1253,
    Ansi1254,
    Ansi1255,
    Ansi1256,
    Ansi1257,
    Ansi1258,
    Ansi1361,  ///< Korean (Johab)
    Dos437,
    Dos850,
    Dos852,
    Dos855,
    Dos857,
    Dos860,
    Dos861,
    Dos863,
    Dos864,
    Dos865,
    Dos866,
    Dos869,
    MacRoman,
};

/// The code page for a $DWGCODEPAGE value ("ANSI_1252", "dos850", "BIG5", ...), case-insensitive.
std::optional<CodePage> codePageFromName(std::string_view name);
/// The canonical $DWGCODEPAGE name ("ANSI_1252"); "UTF-8" for Utf8.
std::string_view codePageName(CodePage cp);

/// True if $ACADVER `acadVer` ("AC1021", ...) is R2007 or later, whose text is UTF-8.
bool isUnicodeVersion(std::string_view acadVer);
/// Encoding of a file's strings from its $ACADVER and $DWGCODEPAGE; an unknown or missing code page
/// of an old file means ANSI_1252, AutoCAD's default.
CodePage codePageFor(std::string_view acadVer, std::string_view dwgCodePage);

/// Converts a raw DXF string to UTF-8: decodes the code page and expands the escapes AutoCAD writes for
/// characters the code page lacks, "\U+nnnn" (UTF-16 unit in hex) and "\M+nxxxx" (a double-byte
/// character of an Asian code page n). Bytes that cannot be decoded become U+FFFD.
std::string decodeText(std::string_view raw, CodePage cp);
/// Converts UTF-8 to a code page for writing an old DXF version; characters the code page lacks are
/// written as "\U+nnnn". Invalid UTF-8 becomes U+FFFD.
std::string encodeText(std::string_view utf8, CodePage cp);

/// True if `s` is well-formed UTF-8.
bool isValidUtf8(std::string_view s);

}  // namespace vela::db::dxf
