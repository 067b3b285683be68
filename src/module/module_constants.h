#pragma once

#include <QString>

#include "bridge/velaassistant_communication.h"

namespace vela::module {

// The debug setting and the capability of the bridge's slots are the bridge's own.
using bridge::kDebugSettingKey;
using bridge::kSelectEntitiesCapability;

/// The capability the palette asks for.
inline const QString kAiFeaturesCapability = QStringLiteral("tessera_ai_features");
/// The module the host's test framework adds.
inline const QString kTestFrameworkModule = QStringLiteral("JxVelaAssistantTestFramework");

}  // namespace vela::module
