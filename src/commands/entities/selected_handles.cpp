#include <QJsonArray>

#include "commands/commands.h"
#include "db/entity.h"
#include "db/object_ref.h"
#include "host/command_context.h"
#include "host/document.h"
#include "properties/handle_text.h"

namespace vela::commands {

namespace {

// The handles of the selected entities of the document, in selection order; erased and non-entity objects
// are left out.
QJsonObject selectedHandles(const QJsonDocument&, host::CommandContext& context) {
    QJsonObject response{{QStringLiteral("success"), false}};
    host::Document* document = context.document();
    if (!document) {
        response.insert(QStringLiteral("error"), QStringLiteral("Invalid command context"));
        return response;
    }
    QJsonArray handles;
    for (db::ObjectId id : document->selection().ids()) {
        if (id.isNull() || id.isErased()) continue;
        if (db::openObject<db::Entity>(id, db::OpenMode::ForRead)) handles.append(properties::HandleText(id));
    }
    response.insert(QStringLiteral("success"), true);
    response.insert(QStringLiteral("handles"), handles);
    response.insert(QStringLiteral("count"), handles.size());
    return response;
}

}  // namespace

extern const catalogue::CommandRow kSelectedHandles = {
    .slot = "GetHandlesOfSelectedEntities",
    .parameter = "jsonRequest",
    .dispatch = catalogue::Dispatch::Direct,
    .receivedLog = "Received GetHandlesOfSelectedEntities query from assistant",
    .globalName = "_V3_GETHANDLESOFSELECTEDENTITIES",
    .className = "CJxCommandGetHandlesOfSelectedEntities",
    .takesPayload = false,
    .body = selectedHandles,
    .effect = catalogue::Effect::Reads,
    .description = "Answers the handles of the entities selected in the drawing, in selection order.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object"
})json",
    .exampleRequest = R"json({})json",
};

}  // namespace vela::commands
