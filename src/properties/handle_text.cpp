#include "properties/handle_text.h"

#include <QJsonDocument>
#include <QVariant>

#include "db/database.h"

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
    // Handle texts need no escaping, and the JSON library builds a long array from its text several times
    // faster than element by element.
    QByteArray text;
    text.reserve(static_cast<qsizetype>(ids.size() * 8 + 2));
    text.append('[');
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (i) text.append(',');
        text.append('"').append(ids[i].handle().toText()).append('"');
    }
    text.append(']');
    return QJsonDocument::fromJson(text).array();
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
