#include <QJsonArray>
#include <cmath>
#include <exception>

#include "commands/commands.h"
#include "db/database.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"
#include "host/command_context.h"
#include "properties/handle_text.h"
#include "properties/lineweight_text.h"

namespace vela::commands {

namespace {

QJsonValue transparencyValue(db::Transparency t) {
    switch (t.method()) {
        case db::Transparency::Method::ByAlpha:
            return static_cast<int>(std::trunc((1.0 - t.alpha() / 255.0) * 100.0));
        case db::Transparency::Method::ByLayer:
            return QStringLiteral("ByLayer");
        case db::Transparency::Method::ByBlock:
            return QStringLiteral("ByBlock");
    }
    return 0;
}

// Every live layer in table order with its color (red, green, blue), linetype, lineweight text, transparency,
// and on, frozen and locked states.
QJsonObject summarizeLayers(const QJsonDocument&, host::CommandContext& context) {
    const db::Database* database = context.database();
    QJsonObject response{{QStringLiteral("success"), false},
                         {QStringLiteral("layers"), QJsonArray()},
                         {QStringLiteral("total"), 0}};
    if (!database) {
        response.insert(QStringLiteral("error"), QStringLiteral("Invalid database"));
        return response;
    }
    try {
        auto table = db::openObject<db::SymbolTable>(database->layerTableId(), db::OpenMode::ForRead);
        if (!table) {
            response.insert(QStringLiteral("error"), QStringLiteral("Failed to open layer table"));
            return response;
        }
        QJsonArray layers;
        int count = 0;
        for (db::ObjectId id : table->recordIds()) {
            auto layer = db::openObject<db::LayerTableRecord>(id, db::OpenMode::ForRead);
            if (!layer) continue;
            auto linetype =
                db::openObject<db::LinetypeTableRecord>(layer->linetypeId(), db::OpenMode::ForRead);
            const db::Color c = layer->color();
            QJsonObject item;
            item.insert(QStringLiteral("name"), QString::fromStdString(layer->name()));
            item.insert(QStringLiteral("handle"), properties::HandleText(layer->handle()));
            item.insert(QStringLiteral("color"), QJsonArray{c.red(), c.green(), c.blue()});
            item.insert(QStringLiteral("linetype"),
                        linetype ? QString::fromStdString(linetype->name()) : QStringLiteral("Continuous"));
            item.insert(QStringLiteral("lineweight"),
                        properties::LineWeightToDisplayText(layer->lineWeight()));
            item.insert(QStringLiteral("transparency"), transparencyValue(layer->transparency()));
            item.insert(QStringLiteral("on"), !layer->isOff());
            item.insert(QStringLiteral("frozen"), layer->isFrozen());
            item.insert(QStringLiteral("locked"), layer->isLocked());
            layers.append(item);
            ++count;
        }
        response.insert(QStringLiteral("success"), true);
        response.insert(QStringLiteral("layers"), layers);
        response.insert(QStringLiteral("total"), count);
    } catch (const db::DbError& e) {
        response.insert(QStringLiteral("error"),
                        QStringLiteral("Error summarizing layers: %1").arg(QString::fromUtf8(e.what())));
    } catch (...) {
        response.insert(QStringLiteral("error"),
                        QStringLiteral("Unknown error occurred while summarizing layers"));
    }
    return response;
}

}  // namespace

extern const catalogue::CommandRow kSummarizeLayers = {
    .slot = "GetCurrentLayersInfo",
    .parameter = "jsonRequest",
    .globalName = "_V3_SUMMARIZELAYERS",
    .className = "CJxCommandSummarizeLayers",
    .takesPayload = false,
    .needsDatabase = true,
    .body = summarizeLayers,
    .effect = catalogue::Effect::Reads,
    .description =
        "Lists every layer of the drawing with its handle, color as [red, green, blue], linetype, "
        "lineweight, transparency in percent and its on, frozen and locked states.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object"
})json",
    .exampleRequest = R"json({})json",
};

}  // namespace vela::commands
