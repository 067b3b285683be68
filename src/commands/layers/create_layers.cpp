#include "commands/commands.h"
#include "commands/layers/layer_batch.h"
#include "db/database.h"
#include "db/records/layer_table_record.h"
#include "properties/value_text.h"

namespace vela::commands {

namespace {

void createLayer(const LayerRequest& request, QJsonObject& result) {
    const QString& name = request.name;
    const QJsonObject& attributes = request.attributes;
    db::Database& database = request.database;
    const std::string utf8Name = name.toStdString();
    if (!db::isValidSymbolName(utf8Name)) {
        result.insert(QStringLiteral("error"), QStringLiteral("Invalid layer name: '%1'").arg(name));
        return;
    }
    auto table = db::openObject<db::LayerTable>(database.layerTableId(), db::OpenMode::ForWrite);
    if (!table) {
        result.insert(QStringLiteral("error"), QStringLiteral("Failed to open layer table"));
        return;
    }
    if (table->has(utf8Name)) {
        // An existing layer is reported, never changed: creating is not a way to modify.
        result.insert(QStringLiteral("info"), QStringLiteral("Layer '%1' already exists").arg(name));
        result.insert(QStringLiteral("success"), true);
        return;
    }

    auto layer = std::make_unique<db::LayerTableRecord>(utf8Name);
    // A layer read from a file without a linetype gets Continuous; a new one starts the same way.
    layer->setLinetypeId(database.linetypeContinuousId());
    QString messages;
    if (attributes.contains(QStringLiteral("color")))
        messages += ApplyLayerColor(*layer, name, attributes.value(QStringLiteral("color")));
    if (attributes.contains(QStringLiteral("linetype"))) {
        // Only linetypes the drawing has are used; an unknown one leaves the layer's default without a word.
        auto linetypes = db::openObject<db::LinetypeTable>(database.linetypeTableId(), db::OpenMode::ForRead);
        if (linetypes) {
            const db::ObjectId linetype = linetypes->getAt(
                properties::PlainText(attributes.value(QStringLiteral("linetype"))).toStdString());
            if (!linetype.isNull()) layer->setLinetypeId(linetype);
        }
    }
    if (attributes.contains(QStringLiteral("lineweight")))
        ApplyLayerLineWeight(*layer, attributes.value(QStringLiteral("lineweight")));
    ApplyLayerStates(*layer, attributes, false);

    db::ObjectId id;
    const db::ErrorStatus added = database.addRecord(database.layerTableId(), std::move(layer), &id);
    if (added != db::ErrorStatus::Ok || id.isNull()) {
        messages += QStringLiteral("Failed to add layer '%1' to layer table. ").arg(name);
    } else {
        result.insert(QStringLiteral("success"), true);
        result.insert(QStringLiteral("name"), name);
        result.insert(QStringLiteral("handle"), QString::fromStdString(id.handle().toText()));
    }
    if (!messages.isEmpty()) result.insert(QStringLiteral("error"), messages);
}

QJsonObject createLayers(const QJsonDocument& request, host::CommandContext& context) {
    return RunLayerBatch(
        request, context,
        LayerOperation{
            createLayer, "Error creating layer: %1", "Unknown error occurred while creating layer", {}});
}

}  // namespace

extern const catalogue::CommandRow kCreateLayers = {
    .slot = "CreateLayers",
    .parameter = "layerQuery",
    .refusalPayloadKey = "layers",
    .receivedLog = "Received layer creation query from assistant:\n%1",
    .responseLog = "Layer creation response:\n%1",
    .globalName = "_V3_CREATELAYERS",
    .className = "CJxCommandCreateLayers",
    .notFoundMessage = "Empty JSON payload",
    .notFoundReturn = host::RTNORM,
    .body = createLayers,
    .effect = catalogue::Effect::Changes,
    .description =
        "Creates layers with an optional color, linetype, lineweight and on/frozen/locked states, and "
        "answers each layer's handle. A layer that exists already is reported and left unchanged.",
    .requestSchema = VELA_LAYER_BATCH_SCHEMA(
        R"json(, "color": {"type": ["string", "number"], "description": "index 0-256, #RRGGBB or (r,g,b)"})json"
        R"json(, "linetype": {"type": "string", "description": "a linetype the drawing has"})json"
        R"json(, "lineweight": {"type": "string", "description": "millimetres such as 0.35, or Default"})json"
        R"json(, "on": {"type": ["boolean", "number", "string"]})json"
        R"json(, "frozen": {"type": ["boolean", "number", "string"]})json"
        R"json(, "locked": {"type": ["boolean", "number", "string"]})json"),
    .exampleRequest =
        R"json({"layers": [{"name": "Notes", "color": "#FF8000", "lineweight": "0.25", "on": true}]})json",
};

}  // namespace vela::commands
