#include "commands/commands.h"
#include "commands/layers/layer_batch.h"
#include "db/database.h"
#include "db/records/layer_table_record.h"
#include "properties/value_text.h"

namespace vela::commands {

namespace {

// Renames the layer unless the new name is unusable; returns the message for a name that is not taken.
QString rename(db::Database& database, const db::SymbolTable& table, db::LayerTableRecord& layer,
               const QString& name, const QString& newName) {
    const std::string utf8 = newName.toStdString();
    if (!db::isValidSymbolName(utf8)) return QStringLiteral("Invalid new layer name: '%1'. ").arg(newName);
    // Compared exactly with the request's name: a new name that differs from it only in letter case is then
    // found by the table's case-blind lookup (it is the layer itself) and refused as taken.
    if (newName != name && table.has(utf8))
        return QStringLiteral("Layer with name '%1' already exists. ").arg(newName);
    // Layer 0 is found by its name throughout the drawing (it is where entities without a layer go), so it
    // must keep it.
    if (layer.objectId() == database.layerZeroId() && utf8 != layer.name())
        throw db::DbError(db::ErrorStatus::InvalidInput, "layer 0 cannot be renamed");
    if (const db::ErrorStatus es = layer.setName(utf8); es != db::ErrorStatus::Ok) throw db::DbError(es);
    return QString();
}

void modifyLayer(const LayerRequest& request, QJsonObject& result) {
    const QString& name = request.name;
    const QJsonObject& attributes = request.attributes;
    db::Database& database = request.database;
    auto table = db::openObject<db::LayerTable>(database.layerTableId(), db::OpenMode::ForWrite);
    if (!table) {
        result.insert(QStringLiteral("error"), QStringLiteral("Failed to open layer table"));
        return;
    }
    const std::string utf8Name = name.toStdString();
    if (!table->has(utf8Name)) {
        result.insert(QStringLiteral("error"), QStringLiteral("Layer '%1' does not exist").arg(name));
        return;
    }
    auto layer = db::openObject<db::LayerTableRecord>(table->getAt(utf8Name), db::OpenMode::ForWrite);
    if (!layer) {
        result.insert(QStringLiteral("error"),
                      QStringLiteral("Failed to open layer '%1' for modification").arg(name));
        return;
    }

    auto given = [&](const char* key) {
        return attributes.contains(QLatin1String(key)) && !attributes.value(QLatin1String(key)).isNull();
    };
    // Every problem is reported and none stops the changes after it, so the page learns of all of them at
    // once.
    QString messages;
    if (given("newName")) {
        const QString newName = properties::PlainText(attributes.value(QStringLiteral("newName")));
        if (!newName.isEmpty()) messages += rename(database, *table, *layer, name, newName);
    }
    if (given("color")) messages += ApplyLayerColor(*layer, name, attributes.value(QStringLiteral("color")));
    if (given("linetype")) {
        const QString linetypeName = properties::PlainText(attributes.value(QStringLiteral("linetype")));
        auto linetypes = db::openObject<db::LinetypeTable>(database.linetypeTableId(), db::OpenMode::ForRead);
        const db::ObjectId linetype =
            linetypes ? linetypes->getAt(linetypeName.toStdString()) : db::ObjectId();
        if (linetype.isNull())
            messages += QStringLiteral("Linetype '%1' not found. ").arg(linetypeName);
        else
            layer->setLinetypeId(linetype);
    }
    if (given("lineweight")) ApplyLayerLineWeight(*layer, attributes.value(QStringLiteral("lineweight")));
    ApplyLayerStates(*layer, attributes, true);

    if (!messages.isEmpty()) result.insert(QStringLiteral("error"), messages);
    result.insert(QStringLiteral("success"), true);
    result.insert(QStringLiteral("name"), name);
    result.insert(QStringLiteral("handle"), QString::fromStdString(layer->handle().toText()));
}

QJsonObject modifyLayers(const QJsonDocument& request, host::CommandContext& context) {
    return RunLayerBatch(
        request, context,
        LayerOperation{
            modifyLayer, "Error modifying layer: %1", "Unknown error occurred while modifying layer", {}});
}

}  // namespace

extern const catalogue::CommandRow kModifyLayers = {
    .slot = "ModifyLayers",
    .parameter = "layerQuery",
    .receivedLog = "Received layer modification query from assistant:\n%1",
    .responseLog = "Layer modification response:\n%1",
    .globalName = "_V3_MODIFYLAYERS",
    .className = "CJxCommandModifyLayers",
    .notFoundMessage = "Empty JSON payload",
    .notFoundReturn = host::RTNORM,
    .body = modifyLayers,
    .effect = catalogue::Effect::Changes,
    .description =
        "Changes layers: renames them (newName) and sets color, linetype, lineweight and on/frozen/locked; "
        "keys left out or null stay as they are. Problems are reported per layer while the other changes "
        "apply.",
    .requestSchema = VELA_LAYER_BATCH_SCHEMA(
        R"json(, "newName": {"type": ["string", "number", "null"]})json"
        R"json(, "color": {"type": ["string", "number", "null"], "description": "index 0-256, #RRGGBB or (r,g,b)"})json"
        R"json(, "linetype": {"type": ["string", "null"], "description": "a linetype the drawing has"})json"
        R"json(, "lineweight": {"type": ["string", "null"], "description": "millimetres such as 0.35, or Default"})json"
        R"json(, "on": {"type": ["boolean", "number", "string", "null"]})json"
        R"json(, "frozen": {"type": ["boolean", "number", "string", "null"]})json"
        R"json(, "locked": {"type": ["boolean", "number", "string", "null"]})json"),
    .exampleRequest =
        R"json({"layers": [{"name": "Notes", "newName": "Annotations", "color": "5", "locked": true}]})json",
};

}  // namespace vela::commands
