#pragma once

#include <QJsonArray>
#include <QJsonValue>
#include <QString>
#include <optional>
#include <vector>

#include "db/handle.h"
#include "db/object_id.h"

namespace vela::db {
class Database;
}

namespace vela::properties {

/// The live object that a handle text of a request names: plain hexadecimal, no prefix. Requests never create
/// ids, so text that is no handle, the null handle, an unknown handle and an erased object all give a null
/// id.
db::ObjectId ObjectIdFromHandleText(const db::Database& database, QStringView text);

/// The text of an object's handle, as answers print it: upper-case hexadecimal without leading zeros.
QString HandleText(db::ObjectId id);
QString HandleText(db::Handle handle);

/// The handles of the objects as a JSON array of texts, in order. Selections can hold much of a drawing, so
/// this is built for speed.
QJsonArray HandleArray(const std::vector<db::ObjectId>& ids);

/// A handle as the handle selector reads it, more forgiving than other commands: any JSON value's text,
/// blanks around it and a "0x" prefix in any case are dropped. `text` is what was left of the value, `handle`
/// the handle it reads as (nothing when it is no hexadecimal number).
struct SelectorHandle {
    QString text;
    std::optional<db::Handle> handle;
};
SelectorHandle ReadSelectorHandle(const QJsonValue& value);

}  // namespace vela::properties
