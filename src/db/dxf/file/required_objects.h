#pragma once

#include "db/database.h"

namespace vela::db {

/// Adds the objects a DXF reader needs and a drawing made here lacks: the root dictionary with its group and
/// layout dictionaries, and a layout object for model space and for each paper space, linked both ways with
/// their block records. Does nothing for a drawing that has a root dictionary (one read from a file).
void addRequiredObjects(Database& db);

}  // namespace vela::db
