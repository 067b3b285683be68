#pragma once

#include <QString>
#include <functional>

namespace vela::bridge {

/// Moves the view to what the query names, through the electrical add-on; true on success. The module
/// installs it at start and removes it at removal (the add-on's interface lives with the module); without
/// it the slot answers false.
std::function<bool(const QString& query)>& ElectricalGoTo();

}  // namespace vela::bridge
