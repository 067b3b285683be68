#pragma once

#include <cstddef>
#include <string_view>

namespace vela::db {

/// Number of characters a text shows: UTF-8 code points, with the control codes of single-line text ("%%d",
/// "%%c", "%%p" one character each, "%%u"/"%%o" toggles none).
std::size_t displayedCharacterCount(std::string_view text);

/// Lines and the longest line's characters of multi-line text contents, after removing its format codes
/// ("\P" paragraph breaks, "{\fArial;...}" groups, "\H2.5x;" and similar settings).
struct MTextLayout {
    std::size_t lines = 0;
    std::size_t longestLine = 0;
};
MTextLayout measureMText(std::string_view contents);

}  // namespace vela::db
