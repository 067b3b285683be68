#pragma once

#include <QJsonDocument>
#include <QJsonObject>

namespace vela::host {
class CommandContext;
}

namespace vela::commands {

/// Creates the layers of the request's "layers" array, each with its optional "color", "linetype" (one the
/// drawing has; others are ignored), "lineweight", "on", "frozen" and "locked". A layer that exists already
/// is reported with "info" and left unchanged. A null context answers "Invalid command context"; the exported
/// API calls this directly.
QJsonObject CreateLayers(const QJsonDocument& request, host::CommandContext* context);

/// The body of _V3_CREATELAYERS.
QJsonObject CreateLayersResponse(const QJsonDocument& request, host::CommandContext& context);

}  // namespace vela::commands
