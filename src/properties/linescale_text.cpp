#include "properties/linescale_text.h"

#include "host/text/number_text.h"

namespace vela::properties {

LineScaleParseResult LineScaleFromText(const QString& text) {
    if (const std::optional<double> value = host::NumberFromText(text)) return {*value, {}};
    return {std::nullopt, QStringLiteral("Error parsing linescale %1. ").arg(text)};
}

}  // namespace vela::properties
