#include "commands/entities/handle_text.h"

#include <optional>

#include "db/database.h"

namespace vela::commands {

db::ObjectId ObjectIdFromHandleText(const db::Database& database, const QString& text) {
    const std::optional<db::Handle> handle = db::Handle::fromText(text.toUtf8().toStdString());
    if (!handle || handle->isNull()) return {};
    return database.getObjectId(*handle);
}

}  // namespace vela::commands
