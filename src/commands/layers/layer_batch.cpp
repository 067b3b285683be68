#include "commands/layers/layer_batch.h"

#include <QJsonArray>

#include "db/database.h"
#include "db/records/layer_table_record.h"
#include "host/command_context.h"
#include "host/text/color_text.h"
#include "properties/lineweight_text.h"
#include "properties/value_text.h"

namespace vela::commands {

namespace {

const QString kSuccess = QStringLiteral("success");
const QString kError = QStringLiteral("error");

QJsonObject handleLayer(host::CommandContext& context, const QJsonObject& attributes,
                        const LayerOperation& operation) {
    QJsonObject result{{kSuccess, false}};
    try {
        db::Database* database = context.database();
        if (!database) {
            result.insert(kError, QStringLiteral("Invalid database"));
            return result;
        }
        const QString name = properties::PlainText(attributes.value(QStringLiteral("name")));
        if (name.isEmpty()) {
            result.insert(kError, QStringLiteral("Layer name is required"));
            return result;
        }
        operation.apply(LayerRequest{*database, name, attributes}, result);
    } catch (const db::DbError& e) {
        // Whatever the operation wrote before is kept, except that the failure takes the "error" key.
        result.insert(kSuccess, false);
        result.insert(kError, QString::fromLatin1(operation.errorFormat).arg(QString::fromUtf8(e.what())));
    } catch (...) {
        result.insert(kSuccess, false);
        result.insert(kError, QString::fromLatin1(operation.unknownError));
    }
    return result;
}

}  // namespace

QJsonObject RunLayerBatch(const QJsonDocument& request, host::CommandContext& context,
                          const LayerOperation& operation) {
    QJsonObject response{{kSuccess, false}};
    const QJsonValue layers = request.object().value(QStringLiteral("layers"));
    if (!layers.isArray()) {
        response.insert(kError, QStringLiteral("Missing or invalid 'layers' array in input"));
        return response;
    }
    if (operation.prepare) {
        if (db::Database* database = context.database()) operation.prepare(*database);
    }
    bool allSucceeded = true;
    QJsonArray results;
    for (const QJsonValue& element : layers.toArray()) {
        if (!element.isObject()) continue;
        const QJsonObject result = handleLayer(context, element.toObject(), operation);
        if (!result.value(kSuccess).toBool()) allSucceeded = false;
        results.append(result);
    }
    response.insert(kSuccess, allSucceeded);
    response.insert(QStringLiteral("layers"), results);
    return response;
}

QString ApplyLayerColor(db::LayerTableRecord& layer, const QString& name, const QJsonValue& value) {
    const QString text = properties::PlainText(value);
    const host::ColorParseResult parsed = host::ParseColorText(text);
    if (parsed.status == host::ColorParseStatus::Ok) {
        // A layer's color is what ByLayer means: it cannot itself be ByLayer or ByBlock (index 256 or 0).
        const int index = parsed.color.colorIndex();
        if (!parsed.color.isByColor() && (index < 1 || index > 255))
            return QStringLiteral("Color parsing for Layer '%1' failed. A layer's color must be an index from 1 "
                                  "to 255 or a true color, not %2. ")
                .arg(name, text);
        layer.setColor(parsed.color);
        return QString();
    }
    // The parser's own message already ends in ". "; the page has always received the doubled stop.
    return QStringLiteral("Color parsing for Layer '%1' failed. %2. ")
        .arg(name, host::ColorParseErrorMessage(parsed.status, text));
}

void ApplyLayerLineWeight(db::LayerTableRecord& layer, const QJsonValue& value) {
    db::LineWeight weight = layer.lineWeight();
    if (properties::LineWeightFromText(properties::PlainText(value), weight)) layer.setLineWeight(weight);
}

void ApplyLayerStates(db::LayerTableRecord& layer, const QJsonObject& attributes, bool skipNull) {
    auto given = [&](const QString& key) {
        return attributes.contains(key) && !(skipNull && attributes.value(key).isNull());
    };
    const QString on = QStringLiteral("on"), frozen = QStringLiteral("frozen"),
                  locked = QStringLiteral("locked");
    if (given(on)) layer.setIsOff(!properties::Truth(attributes.value(on)));
    if (given(frozen)) layer.setIsFrozen(properties::Truth(attributes.value(frozen)));
    if (given(locked)) layer.setIsLocked(properties::Truth(attributes.value(locked)));
}

}  // namespace vela::commands
