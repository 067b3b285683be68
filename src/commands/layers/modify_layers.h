#pragma once

#include <QJsonDocument>
#include <QJsonObject>

namespace vela::host {
class CommandContext;
}

namespace vela::commands {

/// Changes the layers of the request's "layers" array: "newName", "color", "linetype", "lineweight", "on",
/// "frozen" and "locked", each when given and not null. A change that cannot be made is reported in the
/// layer's "error" while the others still apply; such a layer still counts as a success. A null context
/// answers "Invalid command context"; the exported API calls this directly.
QJsonObject ModifyLayers(const QJsonDocument& request, host::CommandContext* context);

/// The body of _V3_MODIFYLAYERS.
QJsonObject ModifyLayersResponse(const QJsonDocument& request, host::CommandContext& context);

}  // namespace vela::commands
