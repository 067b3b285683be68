#include "commands/entities/selected_handles.h"

#include <QJsonArray>

#include "db/entity.h"
#include "db/object_ref.h"
#include "host/document.h"

namespace vela::commands {

QJsonObject SelectedHandlesResponse(host::Document* document) {
    QJsonObject response{{QStringLiteral("success"), false}};
    if (!document) {
        response.insert(QStringLiteral("error"), QStringLiteral("Invalid command context"));
        return response;
    }
    QJsonArray handles;
    for (db::ObjectId id : document->selection().ids()) {
        if (id.isNull() || id.isErased()) continue;
        if (auto entity = db::openObject<db::Entity>(id, db::OpenMode::ForRead))
            handles.append(QString::fromStdString(entity->handle().toText()));
    }
    response.insert(QStringLiteral("success"), true);
    response.insert(QStringLiteral("handles"), handles);
    response.insert(QStringLiteral("count"), handles.size());
    return response;
}

}  // namespace vela::commands
