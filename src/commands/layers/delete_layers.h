#pragma once

#include <QJsonDocument>
#include <QJsonObject>

namespace vela::host {
class CommandContext;
}

namespace vela::commands {

/// Erases the layers named in the request's "layers" array. Refused, in this order: a layer that does not
/// exist, the current layer, layer "0", "Defpoints", a layer some entity lies on (judged once, before the
/// first layer is handled), and a layer of an external reference. A null context answers "Invalid command
/// context"; the exported API calls this directly.
QJsonObject DeleteLayers(const QJsonDocument& request, host::CommandContext* context);

/// The body of _V3_DELETELAYERS.
QJsonObject DeleteLayersResponse(const QJsonDocument& request, host::CommandContext& context);

}  // namespace vela::commands
