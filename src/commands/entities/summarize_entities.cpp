#include "commands/entities/summarize_entities.h"

#include "commands/entities/json_dxf_filer.h"
#include "db/database.h"
#include "db/dxf/fields/dxf_record.h"
#include "db/entities/block_reference.h"
#include "db/records/block_table_record.h"
#include "host/command_context.h"

namespace vela::commands {

QJsonObject SummarizeEntitiesResponse(const QJsonDocument& request, host::CommandContext& context) {
    QJsonObject response{{QStringLiteral("success"), false}};
    const QJsonValue handles = request.object().value(QStringLiteral("handles"));
    if (!handles.isArray()) {
        response.insert(QStringLiteral("errorMessages"), QStringLiteral("Missing or invalid 'handles' array in input"));
        return response;
    }
    if (handles.toArray().isEmpty()) {
        response.insert(QStringLiteral("errorMessages"), QStringLiteral("Empty 'handles' array in input"));
        return response;
    }
    const QJsonArray entities = SummarizeHandles(context.database(), handles.toArray());
    response.insert(QStringLiteral("success"), true);
    response.insert(QStringLiteral("total"), entities.size());
    response.insert(QStringLiteral("entities"), entities);
    return response;
}

QJsonArray SummarizeHandles(const db::Database* database, const QJsonArray& handles) {
    QJsonArray result;
    if (!database) return result;
    for (const QJsonValue& value : handles) {
        if (!value.isString()) continue;
        const QString text = value.toString();
        const std::optional<db::Handle> handle = db::Handle::fromText(text.toUtf8().toStdString());
        if (!handle) continue;
        auto entity = db::openObject<db::Entity>(database->getObjectId(*handle), db::OpenMode::ForRead);
        if (!entity) continue;
        QJsonObject item;
        item.insert(QStringLiteral("class"), QString::fromLatin1(db::dxfRecordType(*entity)));
        item.insert(QStringLiteral("id"), text);
        if (auto* ref = db::objectCast<db::BlockReference>(entity.get())) {
            auto block = db::openObject<db::BlockTableRecord>(ref->blockTableRecord(), db::OpenMode::ForRead);
            if (block && block->isFromExternalReference()) item.insert(QStringLiteral("isXref"), true);
        }
        // The record's type is given as "class"; the groups are the rest of what a DXF file holds for it.
        CJxJsonDxfFiler filer(database);
        db::writeDxfRecord(*entity, filer, false);
        item.insert(QStringLiteral("dxf"), filer.groups());
        result.append(item);
    }
    return result;
}

}  // namespace vela::commands
