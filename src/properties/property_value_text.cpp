#include "properties/property_value_text.h"

#include <cmath>

#include "db/database.h"
#include "properties/lineweight_text.h"

namespace vela::properties {

ConvertedValue ConvertPropertyValue(const host::PropertyDescriptor& property, const QString& text,
                                    const db::Database* database) {
    using host::PropertyType;
    ConvertedValue out;
    switch (property.type) {
        case PropertyType::Color: {
            // The words a color query may use besides the parser's three forms.
            if (text.compare(QLatin1String("ByLayer"), Qt::CaseInsensitive) == 0) {
                out.value = db::Color::byLayer();
                break;
            }
            if (text.compare(QLatin1String("ByBlock"), Qt::CaseInsensitive) == 0) {
                out.value = db::Color::byBlock();
                break;
            }
            const host::ColorParseResult parsed = host::ParseColorText(text);
            out.status = parsed.status;
            if (parsed.status == host::ColorParseStatus::Ok) out.value = parsed.color;
            break;
        }
        case PropertyType::LineWeight: {
            db::LineWeight weight;
            if (LineWeightFromText(text, weight)) out.value = weight;
            break;
        }
        case PropertyType::Transparency:
            if (const auto t = TransparencyFromPanelText(text)) out.value = *t;
            break;
        case PropertyType::Layer:
        case PropertyType::Linetype:
        case PropertyType::TextStyle: {
            if (!database) break;
            const db::SymbolTable* table = property.type == PropertyType::Layer ? database->layerTable()
                                           : property.type == PropertyType::Linetype
                                               ? database->linetypeTable()
                                               : database->textStyleTable();
            const db::ObjectId id = table ? table->getAt(text.toStdString()) : db::ObjectId();
            if (!id.isNull()) out.value = id;
            break;
        }
        default:
            out.value = VariantFromPanelText(text, property.type);
            break;
    }
    return out;
}

std::optional<db::Transparency> TransparencyFromPanelText(const QString& text) {
    const QString t = text.trimmed();
    if (t.compare(QLatin1String("ByLayer"), Qt::CaseInsensitive) == 0) return db::Transparency::byLayer();
    if (t.compare(QLatin1String("ByBlock"), Qt::CaseInsensitive) == 0) return db::Transparency::byBlock();
    bool ok = false;
    const double percent = t.toDouble(&ok);
    if (!ok || !std::isfinite(percent) || percent < 0 || percent > 90) return std::nullopt;
    return db::Transparency::fromAlpha(
        static_cast<std::uint8_t>(std::trunc(255.0 * (100.0 - percent) / 100.0)));
}

host::PropertyValue VariantFromPanelText(const QString& text, host::PropertyType type) {
    using host::PropertyType;
    using host::PropertyValue;
    const QString t = text.trimmed();
    bool ok = false;
    switch (type) {
        case PropertyType::Integer: {
            const qint64 v = t.toLongLong(&ok);
            if (ok) return v;
            // "3.0" is a whole number too.
            const double d = t.toDouble(&ok);
            if (ok && std::isfinite(d) && d == std::floor(d) && std::abs(d) < 9e18)
                return static_cast<qint64>(d);
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
        case PropertyType::Text:
            return text;
        default:
            return {};
    }
}

}  // namespace vela::properties
