#pragma once

#include <QJsonObject>
#include <vector>

#include "db/object_id.h"

namespace vela::host {
class CommandContext;
}

namespace vela::properties {

/// The objects a command that works on entities is asked to work on. With a non-empty "handles" array: one id
/// per element in request order, null for an element that is not a string or names no live object (so that
/// callers skip it). Without one ("handles" missing, not an array or empty): the document's current
/// selection in selection order, erased objects left out. Empty when there is nothing to work on; whether
/// each id is an entity, and whether it may be changed, is for the caller to find out.
std::vector<db::ObjectId> RequestedOrSelectedIds(const QJsonObject& request, host::CommandContext& context);

}  // namespace vela::properties
