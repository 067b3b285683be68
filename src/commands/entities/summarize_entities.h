#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace vela::db {
class Database;
}
namespace vela::host {
class CommandContext;
}

namespace vela::commands {

/// The body of _V3_SUMMARIZEENTITIES: for each handle of "handles", the entity's DXF class name and all its DXF
/// groups as JSON. Unknown handles, non-entities and non-strings are left out without a message.
QJsonObject SummarizeEntitiesResponse(const QJsonDocument& request, host::CommandContext& context);
/// The per-entity work: one element per entity found, in request order; empty without a database.
QJsonArray SummarizeHandles(const db::Database* database, const QJsonArray& handles);

}  // namespace vela::commands
