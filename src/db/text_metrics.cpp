#include "db/text_metrics.h"

#include <algorithm>
#include <cctype>

namespace vela::db {

namespace {
bool isContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }
}  // namespace

std::size_t displayedCharacterCount(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (text.compare(i, 2, "%%") == 0 && i + 2 < text.size()) {
            const char code = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i + 2])));
            if (code == 'u' || code == 'o' || code == 'k') {
                i += 3;
                continue;
            }
            if (code == 'd' || code == 'c' || code == 'p' || code == '%') {
                ++count, i += 3;
                continue;
            }
        }
        if (!isContinuation(static_cast<unsigned char>(text[i]))) ++count;
        ++i;
    }
    return count;
}

MTextLayout measureMText(std::string_view s) {
    MTextLayout layout;
    std::size_t current = 0;
    auto endLine = [&] {
        layout.longestLine = std::max(layout.longestLine, current);
        ++layout.lines;
        current = 0;
    };
    for (std::size_t i = 0; i < s.size();) {
        const char c = s[i];
        if (c == '{' || c == '}') {
            ++i;
            continue;
        }
        if (c == '\\' && i + 1 < s.size()) {
            const char code = s[i + 1];
            switch (code) {
                case 'P': case 'X':
                    endLine();
                    i += 2;
                    continue;
                case '\\': case '{': case '}':
                    ++current, i += 2;
                    continue;
                case '~':
                    ++current, i += 2;
                    continue;
                case 'L': case 'l': case 'O': case 'o': case 'K': case 'k':
                    i += 2;
                    continue;
                case 'S': {
                    // Stacked fraction "\S1/2;": count the longer of the two parts.
                    const std::size_t end = s.find(';', i + 2);
                    const std::size_t stop = end == std::string_view::npos ? s.size() : end;
                    current += std::max<std::size_t>(1, (stop - (i + 2) + 1) / 2);
                    i = stop + 1;
                    continue;
                }
                default:
                    // Settings such as \fArial|b0;  \H2.5x;  \C1;  \A1;  \W0.8;  \Q15;  \T1.1;  \p...; end at ';'.
                    if (std::isalpha(static_cast<unsigned char>(code))) {
                        const std::size_t end = s.find(';', i + 2);
                        i = end == std::string_view::npos ? s.size() : end + 1;
                        continue;
                    }
                    break;
            }
        }
        if (c == '\n') {
            endLine();
            ++i;
            continue;
        }
        if (!isContinuation(static_cast<unsigned char>(c))) ++current;
        ++i;
    }
    if (current > 0 || layout.lines == 0) endLine();
    return layout;
}

}  // namespace vela::db
