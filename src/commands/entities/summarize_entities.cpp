#include <QJsonArray>

#include "commands/commands.h"
#include "commands/entities/json_dxf_filer.h"
#include "db/database.h"
#include "db/dxf/fields/dxf_record.h"
#include "db/entities/block_reference.h"
#include "db/records/block_table_record.h"
#include "host/command_context.h"
#include "properties/handle_text.h"

namespace vela::commands {

namespace {

// One element per entity found, in request order: its DXF record type and all its DXF groups. Written as
// JSON text and read back once: Qt's JSON objects built group by group cost several allocations a group.
QJsonArray summarizeHandles(const db::Database* database, const QJsonArray& handles) {
    if (!database) return {};
    properties::JsonTextWriter out;
    out.reserve(handles.size() * 400);
    out.beginArray();
    for (const QJsonValue& value : handles) {
        if (!value.isString()) continue;
        const QString text = value.toString();
        auto entity = db::openObject<db::Entity>(properties::ObjectIdFromHandleText(*database, text),
                                                 db::OpenMode::ForRead);
        if (!entity) continue;
        out.beginObject().key("class").string(std::string_view(db::dxfRecordType(*entity)));
        out.key("id").string(text);
        if (auto* ref = db::objectCast<db::BlockReference>(entity.get())) {
            auto block = db::openObject<db::BlockTableRecord>(ref->blockTableRecord(), db::OpenMode::ForRead);
            if (block && block->isFromExternalReference()) out.key("isXref").boolean(true);
        }
        // The record's type is given as "class"; the groups are the rest of what a DXF file holds for it.
        out.key("dxf").beginArray();
        CJxJsonDxfFiler filer(database, out);
        db::writeDxfRecord(*entity, filer, false);
        out.endArray().endObject();
    }
    out.endArray();
    return out.toArray();
}

// Unknown handles, non-entities and non-strings are left out without a message.
QJsonObject summarizeEntities(const QJsonDocument& request, host::CommandContext& context) {
    QJsonObject response{{QStringLiteral("success"), false}};
    const QJsonValue handles = request.object().value(QStringLiteral("handles"));
    if (!handles.isArray()) {
        response.insert(QStringLiteral("errorMessages"),
                        QStringLiteral("Missing or invalid 'handles' array in input"));
        return response;
    }
    if (handles.toArray().isEmpty()) {
        response.insert(QStringLiteral("errorMessages"), QStringLiteral("Empty 'handles' array in input"));
        return response;
    }
    const QJsonArray entities = summarizeHandles(context.database(), handles.toArray());
    response.insert(QStringLiteral("success"), true);
    response.insert(QStringLiteral("total"), entities.size());
    response.insert(QStringLiteral("entities"), entities);
    return response;
}

}  // namespace

extern const catalogue::CommandRow kSummarizeEntities = {
    .slot = "SummarizeEntities",
    .parameter = "jsonRequest",
    .receivedLog = "Received SummarizeEntities query from assistant:\n%1",
    .responseLog = "Drawing summarization response:\n%1",
    .globalName = "_V3_SUMMARIZEENTITIES",
    .className = "CJxCommandSummarizeEntities",
    .body = summarizeEntities,
    .effect = catalogue::Effect::Reads,
    .description =
        "Dumps entities as their DXF records: for each handle, the record type and every DXF group code "
        "with its value, exactly as a DXF file would hold them. Handles that name no entity are left out.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "handles": {"type": "array", "items": {"type": "string"}, "minItems": 1}
  },
  "required": ["handles"]
})json",
    .exampleRequest = R"json({"handles": ["EE", "113"]})json",
};

}  // namespace vela::commands
