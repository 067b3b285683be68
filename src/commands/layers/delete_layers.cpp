#include "commands/commands.h"
#include "commands/layers/layer_batch.h"
#include "db/database.h"
#include "db/records/layer_table_record.h"

namespace vela::commands {

namespace {

void deleteLayer(const LayerRequest& request, QJsonObject& result) {
    const QString& name = request.name;
    db::Database& database = request.database;
    auto fail = [&result](const QString& message) { result.insert(QStringLiteral("error"), message); };

    auto table = db::openObject<db::LayerTable>(database.layerTableId(), db::OpenMode::ForWrite);
    if (!table) return fail(QStringLiteral("Failed to open layer table"));
    const std::string utf8Name = name.toStdString();
    if (!table->has(utf8Name)) return fail(QStringLiteral("Layer '%1' does not exist").arg(name));
    auto layer = db::openObject<db::LayerTableRecord>(table->getAt(utf8Name), db::OpenMode::ForWrite);
    if (!layer) throw db::DbError(layer.status());
    const QString handle = QString::fromStdString(layer->handle().toText());

    if (layer->objectId() == database.currentLayer())
        return fail(QStringLiteral("Cannot delete layer '%1' because it is the current layer").arg(name));
    if (name.compare(QLatin1String("0"), Qt::CaseInsensitive) == 0)
        return fail(QStringLiteral("Cannot delete layer '0'"));
    if (name.compare(QLatin1String("Defpoints"), Qt::CaseInsensitive) == 0)
        return fail(QStringLiteral("Cannot delete the Defpoints layer"));
    // Judged by the usage data taken once before the batch, so every layer of a run sees the same drawing.
    if (layer->isInUse())
        return fail(QStringLiteral("Cannot delete layer '%1' because it is currently in use").arg(name));
    if (layer->isDependent())
        return fail(
            QStringLiteral("Cannot delete layer '%1' because it is dependent on an external reference")
                .arg(name));
    if (const db::ErrorStatus es = layer->erase(true); es != db::ErrorStatus::Ok)
        return fail(QStringLiteral("Failed to delete layer '%1'. Error code: %2")
                        .arg(name, QString::number(static_cast<int>(es))));

    result.insert(QStringLiteral("success"), true);
    result.insert(QStringLiteral("name"), name);
    result.insert(QStringLiteral("handle"), handle);
}

void computeUsage(db::Database& database) {
    if (auto table = db::openObject<db::LayerTable>(database.layerTableId(), db::OpenMode::ForRead))
        database.generateLayerUsageData();
}

QJsonObject deleteLayers(const QJsonDocument& request, host::CommandContext& context) {
    return RunLayerBatch(request, context,
                         LayerOperation{deleteLayer, "Error deleting layer: %1",
                                        "Unknown error occurred while deleting layer", computeUsage});
}

}  // namespace

extern const catalogue::CommandRow kDeleteLayers = {
    .slot = "DeleteLayers",
    .parameter = "layerQuery",
    .refusalPayloadKey = "layers",
    .receivedLog = "Received layer deletion query from assistant:\n%1",
    .responseLog = "Layer deletion response:\n%1",
    .globalName = "_V3_DELETELAYERS",
    .className = "CJxCommandDeleteLayers",
    .notFoundMessage = "Empty JSON payload",
    .notFoundReturn = host::RTNORM,
    .body = deleteLayers,
    .effect = catalogue::Effect::Deletes,
    .description =
        "Deletes layers by name. Refused for a layer that does not exist, the current layer, layer 0, "
        "Defpoints, a layer any entity lies on and a layer of an external reference.",
    .requestSchema = VELA_LAYER_BATCH_SCHEMA(""),
    .exampleRequest = R"json({"layers": [{"name": "Notes"}]})json",
};

}  // namespace vela::commands
