#pragma once

#include <QJsonDocument>
#include <QJsonObject>

namespace vela::host {
class CommandContext;
}

namespace vela::commands {

/// The body of _V3_DELETEENTITIES: erases the entities named by "handles" and lists each erased one under
/// "entities" as {"handle": the text as sent, "className": its class name}, in request order. Elements that
/// are not strings, handles that name nothing and objects that are not entities are skipped without a trace;
/// an entity that cannot be opened for write (on a locked layer) is left alone and makes "success" false.
/// Early failures (no "handles" array, an empty one, no database) answer with a single "error" text.
QJsonObject DeleteEntitiesResponse(const QJsonDocument& request, host::CommandContext& context);

}  // namespace vela::commands
