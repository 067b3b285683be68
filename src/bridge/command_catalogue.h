#pragma once

#include <QAnyStringView>
#include <QJsonObject>
#include <vector>

#include "catalogue/command_row.h"

namespace vela::bridge {

/// Every assistant command, in the order of the bridge's slots (the web channel's method order).
const std::vector<const catalogue::CommandRow*>& Catalogue();

/// The row of a slot or of a host command by its global name; null for a name that is neither.
const catalogue::CommandRow* FindBySlot(QAnyStringView slot);
const catalogue::CommandRow* FindByGlobalName(QAnyStringView globalName);

/// The catalogue for clients: {"commands": [{"slot", "parameter", "command", "className", "effect",
/// "description", "requestSchema", "exampleRequest", "available"}]}, schemas and examples as JSON objects.
QJsonObject CatalogueJson();

}  // namespace vela::bridge
