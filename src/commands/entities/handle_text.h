#pragma once

#include <QString>

#include "db/object_id.h"

namespace vela::db {
class Database;
}

namespace vela::commands {

/// The live object that a handle text of a request names: plain hexadecimal, no prefix. Requests never create
/// ids, so text that is no handle, the null handle, an unknown handle and an erased object all give a null
/// id.
db::ObjectId ObjectIdFromHandleText(const db::Database& database, const QString& text);

}  // namespace vela::commands
