#include "properties/requested_entities.h"

#include <QJsonArray>

#include "db/database.h"
#include "host/command_context.h"
#include "host/document.h"
#include "properties/handle_text.h"

namespace vela::properties {

std::vector<db::ObjectId> RequestedOrSelectedIds(const QJsonObject& request, host::CommandContext& context) {
    std::vector<db::ObjectId> ids;
    const db::Database* database = context.database();
    const QJsonArray handles = request.value(QStringLiteral("handles")).toArray();
    if (!handles.isEmpty()) {
        ids.reserve(static_cast<std::size_t>(handles.size()));
        for (const QJsonValue& value : handles) {
            db::ObjectId id;
            if (database && value.isString()) id = ObjectIdFromHandleText(*database, value.toString());
            ids.push_back(id);
        }
        return ids;
    }
    if (!context.document()) return ids;
    for (db::ObjectId id : context.document()->selection().ids())
        if (id.isValid()) ids.push_back(id);
    return ids;
}

}  // namespace vela::properties
