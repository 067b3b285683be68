#include <QJsonArray>

#include "commands/commands.h"
#include "db/database.h"
#include "host/command_context.h"
#include "host/document.h"
#include "properties/handle_text.h"

namespace vela::commands {

namespace {

// Selects entities of the active space by handle ("handles", and "clearSelection", true by default). Every
// handle ends in exactly one of "selectedHandles", "notFoundHandles" (unreadable, unknown, erased or not an
// entity) and "foundHandlesNotInActiveSpace", or is skipped when blank. A query that is not a JSON object
// counts as an empty one.
QJsonObject selectByHandle(const QJsonDocument& query, host::CommandContext& context) {
    const QJsonObject request = query.object();
    host::Document* document = context.document();
    const QJsonArray handles = request.value(QStringLiteral("handles")).toArray();
    const bool clear = request.value(QStringLiteral("clearSelection")).toBool(true);
    if (clear && document) document->selection().clear();

    QJsonArray selected, notFound, notInSpace;
    for (const QJsonValue& value : handles) {
        const properties::SelectorHandle handle = properties::ReadSelectorHandle(value);
        if (handle.text.isEmpty()) continue;
        if (!handle.handle) {
            notFound.append(handle.text);
            continue;
        }
        const QString canonical = properties::HandleText(*handle.handle);
        db::Database* database = context.database();
        const db::ObjectId id = database ? database->getObjectId(*handle.handle) : db::ObjectId();
        auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForRead);
        if (!entity) {
            notFound.append(canonical);
            continue;
        }
        if (entity->ownerId() != document->activeSpaceId()) {
            notInSpace.append(canonical);
            continue;
        }
        document->selection().add(id);
        selected.append(canonical);
    }
    QJsonObject response;
    response.insert(QStringLiteral("success"), !selected.isEmpty());
    response.insert(QStringLiteral("numSelected"), selected.size());
    response.insert(QStringLiteral("selectedHandles"), selected);
    if (!notFound.isEmpty()) response.insert(QStringLiteral("notFoundHandles"), notFound);
    if (!notInSpace.isEmpty()) response.insert(QStringLiteral("foundHandlesNotInActiveSpace"), notInSpace);
    return response;
}

}  // namespace

extern const catalogue::CommandRow kSelectEntityByHandle = {
    .slot = "SelectEntityByHandle",
    .parameter = "jsonQuery",
    .dispatch = catalogue::Dispatch::Direct,
    .receivedLog = "Received SelectEntityByHandle query from assistant:\n%1",
    .modelessOperation = "V3_SELECTBYHANDLE",
    .body = selectByHandle,
    .effect = catalogue::Effect::Reads,
    .description =
        "Selects entities of the active space by handle (hexadecimal, \"0x\" allowed) and tells which "
        "handles were selected, which name nothing and which lie in another space. The selection is cleared"
        " first unless \"clearSelection\" is false.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "handles": {"type": "array", "items": {"type": "string"}},
    "clearSelection": {"type": "boolean", "default": true}
  },
  "required": ["handles"]
})json",
    .exampleRequest = R"json({"handles": ["EE", "0x11A"], "clearSelection": true})json",
};

}  // namespace vela::commands
