#include "commands/entities/property_value_converter.h"

#include "db/database.h"
#include "host/lineweight_names.h"
#include "host/properties/property_text.h"

namespace vela::commands {

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
            const properties::ColorParseResult parsed = properties::ParseColorText(text);
            out.status = parsed.status;
            if (parsed.status == properties::ColorParseStatus::Ok) out.value = parsed.color;
            break;
        }
        case PropertyType::LineWeight: {
            db::LineWeight weight;
            if (host::lineWeightFromString(text, weight)) out.value = weight;
            break;
        }
        case PropertyType::Transparency:
            if (const auto t = host::transparencyFromPanelText(text)) out.value = *t;
            break;
        case PropertyType::Layer:
        case PropertyType::Linetype:
        case PropertyType::TextStyle: {
            if (!database) break;
            const db::SymbolTable* table = property.type == PropertyType::Layer      ? database->layerTable()
                                           : property.type == PropertyType::Linetype ? database->linetypeTable()
                                                                                      : database->textStyleTable();
            const db::ObjectId id = table ? table->getAt(text.toStdString()) : db::ObjectId();
            if (!id.isNull()) out.value = id;
            break;
        }
        default: out.value = host::variantFromPanelText(text, property.type); break;
    }
    return out;
}

}  // namespace vela::commands
