#pragma once

#include <string>
#include <string_view>

#include "db/dxf/tags/text_codec.h"

namespace vela::db::dxf {

/// What must be known about a file before its strings can be decoded.
struct HeaderInfo {
    std::string acadVer;      ///< $ACADVER, e.g. "AC1032"; empty if the file has none
    std::string dwgCodePage;  ///< $DWGCODEPAGE, e.g. "ANSI_1252"; empty if the file has none
    bool utf8Bom = false;     ///< the file starts with a UTF-8 byte order mark
};

/// Reads only the HEADER section (always the first section) of an ASCII or binary DXF file in memory
/// and picks out $ACADVER and $DWGCODEPAGE. Stops at the end of that section or at the first problem.
HeaderInfo scanHeader(std::string_view data);

/// The encoding of the file's strings. A byte order mark or R2007+ means UTF-8; older versions use
/// $DWGCODEPAGE. A file without $ACADVER (minimal files from other programs often omit the header)
/// is taken as UTF-8 if it is valid UTF-8 as a whole, else as its code page or ANSI_1252.
CodePage detectCodePage(std::string_view data);

}  // namespace vela::db::dxf
