#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <functional>

namespace vela::db {
class Database;
class LayerTableRecord;
}  // namespace vela::db
namespace vela::host {
class CommandContext;
}

/// The request schema of a layer command (JSON Schema, draft 2020-12): "layers", an array of objects with a
/// "name" and the further properties given as JSON text (each starting with a comma).
#define VELA_LAYER_BATCH_SCHEMA(moreProperties)                                                              \
    R"json({"$schema": "https://json-schema.org/draft/2020-12/schema", "type": "object", "properties": {)json"  \
    R"json("layers": {"type": "array", "items": {"type": "object", "properties": {)json"                       \
    R"json("name": {"type": ["string", "number"]})json" moreProperties R"json(}, "required": ["name"]}}},)json" \
    R"json("required": ["layers"]})json"

namespace vela::commands {

/// One layer of a batch after the checks every layer command shares: the drawing, the layer's name as the
/// request gave it (not empty) and the request element with all its keys.
struct LayerRequest {
    db::Database& database;
    const QString& name;
    const QJsonObject& attributes;
};

/// What distinguishes the three layer commands: the work on one layer, which fills `result` (it already holds
/// "success": false), and the texts for exceptions that escape it.
struct LayerOperation {
    std::function<void(const LayerRequest& layer, QJsonObject& result)> apply;
    const char* errorFormat;   // "Error creating layer: %1", %1 the exception's description
    const char* unknownError;  // for exceptions that are not the drawing database's
    /// Runs once before the first layer when the context has a drawing; may be empty.
    std::function<void(db::Database& database)> prepare;
};

/// Runs `operation` on every object of the request's "layers", in order, and answers with "success" (true
/// only when every layer succeeded) and "layers" (one result per object). A failed layer never stops the
/// batch; elements that are not objects are skipped. A missing "layers" array fails the whole request with
/// "error".
QJsonObject RunLayerBatch(const QJsonDocument& request, host::CommandContext& context,
                          const LayerOperation& operation);

// Properties that creating and modifying a layer set the same way.

/// Sets the layer's color from the value's text. A text that names no color leaves the color as it is and
/// gives the message to report ("Color parsing for Layer '<name>' failed. <reason>. "); otherwise the message
/// is empty.
QString ApplyLayerColor(db::LayerTableRecord& layer, const QString& name, const QJsonValue& value);

/// Sets the layer's lineweight from the value's text; a text that names no lineweight leaves it as it is.
void ApplyLayerLineWeight(db::LayerTableRecord& layer, const QJsonValue& value);

/// Applies "on", "frozen" and "locked", each when the request has the key (and, with `skipNull`, when its
/// value is not null).
void ApplyLayerStates(db::LayerTableRecord& layer, const QJsonObject& attributes, bool skipNull);

}  // namespace vela::commands
