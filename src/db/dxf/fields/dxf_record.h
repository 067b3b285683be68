#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "db/dxf/fields/dxf_output.h"
#include "db/object_extras.h"

namespace vela::db {

class DbObject;

/// The record type an object is written under ("LINE", "LAYER", or the kept type of an unknown object).
const char* dxfRecordType(const DbObject& object);

/// Writes an object's whole record: its type (when `withType`), handle, reactor and extension-dictionary
/// groups, owner, its own groups (through its class's declaration) and its extended data. The file writer and
/// every other DXF output (a JSON dump of an entity) use this one function, so they hold the same groups.
void writeDxfRecord(const DbObject& object, DxfOutput& out, bool withType = true);

/// A free object of record type `type` made from groups a program gives (rather than a file): the groups its
/// class declares, in any order the file reader accepts, then extended data from the first 1001 group on.
/// Handle, owner and application groups are not among them (the caller decides those). References by handle
/// and by name are resolved in `database`; a layer that is named and missing is made. Null when no class of
/// ours has that record type or can be made; malformed values are listed in `errors`.
std::unique_ptr<DbObject> makeDxfRecord(Database* database, std::string_view type,
                                        const std::vector<DxfTag>& groups, std::vector<std::string>& errors);

}  // namespace vela::db
