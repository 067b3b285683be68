#include "properties/linescale_text.h"

#include <cmath>

namespace vela::properties {

LineScaleParseResult LineScaleFromText(const QString& text) {
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (ok && std::isfinite(value)) return {value, {}};
    return {std::nullopt, QStringLiteral("Error parsing linescale %1. ").arg(text)};
}

}  // namespace vela::properties
