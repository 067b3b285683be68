#pragma once

#include <QString>

namespace vela::module {

/// The debug setting that switches the assistant's logging on the command line ("enabled").
inline const QString kDebugSettingKey = QStringLiteral("V3Debugging");
/// The capability every drawing slot of the bridge asks for.
inline const QString kSelectEntitiesCapability = QStringLiteral("veladesk.v3.selectentities");
/// The capability the palette asks for.
inline const QString kAiFeaturesCapability = QStringLiteral("tessera_ai_features");
/// The module the host's test framework adds.
inline const QString kTestFrameworkModule = QStringLiteral("JxVelaAssistantTestFramework");

}  // namespace vela::module
