#include "properties/handle_text.h"

#include <QVariant>

#include "db/database.h"
#include "properties/json_text.h"

namespace vela::properties {

db::ObjectId ObjectIdFromHandleText(const db::Database& database, QStringView text) {
    const std::optional<db::Handle> handle = db::Handle::fromText(text.toUtf8().toStdString());
    if (!handle || handle->isNull()) return {};
    return database.getObjectId(*handle);
}

QString HandleText(db::Handle handle) {
    return QString::fromStdString(handle.toText());
}

QString HandleText(db::ObjectId id) {
    return HandleText(id.handle());
}

QJsonArray HandleArray(const std::vector<db::ObjectId>& ids) {
    JsonTextWriter writer;
    writer.reserve(static_cast<qsizetype>(ids.size() * 8 + 2));
    writer.beginArray();
    for (db::ObjectId id : ids) writer.string(id.handle().toText());
    writer.endArray();
    return writer.toArray();
}

SelectorHandle ReadSelectorHandle(const QJsonValue& value) {
    SelectorHandle selector{value.toVariant().toString().trimmed(), std::nullopt};
    if (selector.text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        selector.text = selector.text.mid(2);
    bool ok = false;
    const qulonglong number = selector.text.toULongLong(&ok, 16);
    if (ok) selector.handle = db::Handle(number);
    return selector;
}

}  // namespace vela::properties
