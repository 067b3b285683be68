#pragma once

#include "db/dxf/fields/dxf_output.h"

namespace vela::db {

class DbObject;

/// The record type an object is written under ("LINE", "LAYER", or the kept type of an unknown object).
const char* dxfRecordType(const DbObject& object);

/// Writes an object's whole record: its type (when `withType`), handle, reactor and extension-dictionary
/// groups, owner, its own groups (through its class's declaration) and its extended data. The file writer and
/// every other DXF output (a JSON dump of an entity) use this one function, so they hold the same groups.
void writeDxfRecord(const DbObject& object, DxfOutput& out, bool withType = true);

}  // namespace vela::db
