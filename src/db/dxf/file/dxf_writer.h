#pragma once

#include <filesystem>
#include <string>

#include "db/database.h"

namespace vela::db {

/// Writes the drawing as ASCII DXF R2018 (AC1032, UTF-8) with every section, table, block, entity and object,
/// including the data read from a file that we do not model. A drawing made here gets the objects a DXF
/// reader requires (root dictionary, layouts) added first, which is why the database is not const.
std::string writeDxf(Database& db);

struct SaveResult {
    bool ok = false;
    std::string error;
};

/// Saves atomically (see saveFileAtomically): a failure at any point leaves the old file as it was.
SaveResult saveDxfFile(Database& db, const std::filesystem::path& path);

}  // namespace vela::db
