#include "commands/entities/select_by_handle.h"

#include <QJsonArray>
#include <QJsonDocument>

#include "db/database.h"
#include "host/document.h"

namespace vela::commands {

QJsonObject SelectEntitiesByHandle(host::Document* document, const QString& query) {
    const QJsonObject request = QJsonDocument::fromJson(query.toUtf8()).object();
    const QJsonArray handles = request.value(QStringLiteral("handles")).toArray();
    const bool clear = request.value(QStringLiteral("clearSelection")).toBool(true);
    if (clear && document) document->selection().clear();

    QJsonArray selected, notFound, notInSpace;
    for (const QJsonValue& value : handles) {
        QString text = value.toVariant().toString().trimmed();
        if (text.isEmpty()) continue;
        if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) text = text.mid(2);
        bool ok = false;
        const qulonglong number = text.toULongLong(&ok, 16);
        if (!ok) {
            notFound.append(text);
            continue;
        }
        const QString canonical = QString::fromStdString(db::Handle(number).toText());
        db::Database* database = document ? document->database() : nullptr;
        const db::ObjectId id = database ? database->getObjectId(db::Handle(number)) : db::ObjectId();
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

}  // namespace vela::commands
