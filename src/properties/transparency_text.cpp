#include "properties/transparency_text.h"

#include <cstdint>

namespace vela::properties {

std::optional<db::Transparency> TransparencyFromText(const QString& text) {
    bool isInteger = false;
    const int value = text.toInt(&isInteger, 10);
    if (isInteger) {
        // Only the low byte counts; out-of-range numbers wrap instead of failing, as the page has always
        // relied on.
        return db::Transparency::fromAlpha(static_cast<std::uint8_t>(static_cast<unsigned>(value) & 0xFFu));
    }
    if (text.compare(QLatin1String("ByLayer"), Qt::CaseInsensitive) == 0) return db::Transparency::byLayer();
    if (text.compare(QLatin1String("ByBlock"), Qt::CaseInsensitive) == 0) return db::Transparency::byBlock();
    return std::nullopt;
}

}  // namespace vela::properties
