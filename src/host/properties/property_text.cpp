#include "host/properties/property_text.h"

#include <cmath>

namespace vela::host {

std::optional<db::Transparency> transparencyFromPanelText(const QString& text) {
    const QString t = text.trimmed();
    if (t.compare(QLatin1String("ByLayer"), Qt::CaseInsensitive) == 0) return db::Transparency::byLayer();
    if (t.compare(QLatin1String("ByBlock"), Qt::CaseInsensitive) == 0) return db::Transparency::byBlock();
    bool ok = false;
    const double percent = t.toDouble(&ok);
    if (!ok || !std::isfinite(percent) || percent < 0 || percent > 90) return std::nullopt;
    return db::Transparency::fromAlpha(static_cast<std::uint8_t>(std::trunc(255.0 * (100.0 - percent) / 100.0)));
}

PropertyValue variantFromPanelText(const QString& text, PropertyType type) {
    const QString t = text.trimmed();
    bool ok = false;
    switch (type) {
        case PropertyType::Integer: {
            const qint64 v = t.toLongLong(&ok);
            if (ok) return v;
            // "3.0" is a whole number too.
            const double d = t.toDouble(&ok);
            if (ok && std::isfinite(d) && d == std::floor(d) && std::abs(d) < 9e18) return static_cast<qint64>(d);
            return {};
        }
        case PropertyType::Real: {
            const double v = t.toDouble(&ok);
            return ok && std::isfinite(v) ? PropertyValue(v) : PropertyValue();
        }
        case PropertyType::Bool:
            for (const char* yes : {"true", "yes", "1"})
                if (t.compare(QLatin1String(yes), Qt::CaseInsensitive) == 0) return true;
            for (const char* no : {"false", "no", "0"})
                if (t.compare(QLatin1String(no), Qt::CaseInsensitive) == 0) return false;
            return {};
        case PropertyType::Text: return text;
        default: return {};
    }
}

}  // namespace vela::host
