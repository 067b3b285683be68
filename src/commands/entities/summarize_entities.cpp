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

// One element per entity found, in request order: its DXF record type and all its DXF groups. The whole
// answer is written as JSON text: Qt's JSON objects built group by group cost several allocations a group.
// Keys go in Qt's order, so that the text is the one Qt would write.
void summarizeHandles(const db::Database& database, const QJsonArray& handles, properties::JsonTextWriter& out,
                      qsizetype& total) {
    out.beginArray();
    for (const QJsonValue& value : handles) {
        if (!value.isString()) continue;
        const QString text = value.toString();
        auto entity = db::openObject<db::Entity>(properties::ObjectIdFromHandleText(database, text),
                                                 db::OpenMode::ForRead);
        if (!entity) continue;
        bool isXref = false;
        if (auto* ref = db::objectCast<db::BlockReference>(entity.get())) {
            auto block = db::openObject<db::BlockTableRecord>(ref->blockTableRecord(), db::OpenMode::ForRead);
            isXref = block && block->isFromExternalReference();
        }
        out.beginObject().key("class").string(std::string_view(db::dxfRecordType(*entity)));
        // The record's type is given as "class"; the groups are the rest of what a DXF file holds for it.
        out.key("dxf").beginArray();
        CJxJsonDxfFiler filer(&database, out);
        db::writeDxfRecord(*entity, filer, false);
        out.endArray();
        out.key("id").string(text);
        if (isXref) out.key("isXref").boolean(true);
        out.endObject();
        ++total;
    }
    out.endArray();
}

QByteArray failure(const char* message) {
    properties::JsonTextWriter out;
    out.beginObject().key("errorMessages").string(std::string_view(message)).key("success").boolean(false);
    out.endObject();
    return out.takeText();
}

// Unknown handles, non-entities and non-strings are left out without a message.
QByteArray summarizeEntities(const QJsonDocument& request, host::CommandContext& context) {
    const QJsonValue handles = request.object().value(QStringLiteral("handles"));
    if (!handles.isArray()) return failure("Missing or invalid 'handles' array in input");
    const QJsonArray list = handles.toArray();
    if (list.isEmpty()) return failure("Empty 'handles' array in input");
    properties::JsonTextWriter out;
    out.reserve(list.size() * 400 + 64);
    qsizetype total = 0;
    out.beginObject().key("entities");
    if (const db::Database* database = context.database())
        summarizeHandles(*database, list, out, total);
    else
        out.beginArray().endArray();
    out.key("success").boolean(true).key("total").integer(total).endObject();
    return out.takeText();
}

}  // namespace

extern const catalogue::CommandRow kSummarizeEntities = {
    .slot = "SummarizeEntities",
    .parameter = "jsonRequest",
    .receivedLog = "Received SummarizeEntities query from assistant:\n%1",
    .responseLog = "Drawing summarization response:\n%1",
    .globalName = "_V3_SUMMARIZEENTITIES",
    .className = "CJxCommandSummarizeEntities",
    .body = catalogue::ObjectOfText<summarizeEntities>,
    .textBody = summarizeEntities,
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
