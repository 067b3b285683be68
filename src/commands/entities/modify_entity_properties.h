#pragma once

#include <QJsonDocument>
#include <QJsonObject>

namespace vela::host {
class CommandContext;
}

namespace vela::commands {

/// The body of _V3_MODIFYENTITYPROPERTIES: applies each property descriptor of "propertyDescriptors" to each
/// entity of "handles" (or, without handles, of the current selection), the properties of one descriptor in
/// ascending order of their names. Handles that name no entity and entities on locked layers are skipped
/// without a message. "success" is false when any property failed; the messages of all entities are joined
/// into one string under "errorMessages" (on failure) or "infoMessages" (on success).
QJsonObject ModifyEntityPropertiesResponse(const QJsonDocument& request, host::CommandContext& context);

}  // namespace vela::commands
