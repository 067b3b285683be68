#include "commands/entities/requested_entities.h"

#include <QJsonArray>

#include "commands/entities/handle_text.h"
#include "db/database.h"
#include "host/document.h"

namespace vela::commands {

std::vector<db::ObjectId> RequestedOrSelectedIds(const QJsonObject& request, host::Document* document,
                                                 const db::Database* database) {
    std::vector<db::ObjectId> ids;
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
    if (!document) return ids;
    for (db::ObjectId id : document->selection().ids())
        if (id.isValid()) ids.push_back(id);
    return ids;
}

}  // namespace vela::commands
