#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/database.h"
#include "db/dxf/tags/dxf_error.h"

namespace vela::db {

/// Called during loading with the bytes read so far and the total, so front ends can show progress.
using LoadProgress = std::function<void(std::size_t done, std::size_t total)>;

struct DxfReadResult {
    /// The drawing, or null when the file could not be read; then `error` says why and where.
    std::unique_ptr<Database> database;
    std::optional<dxf::DxfError> error;
    /// Problems the reader worked around (a malformed value, a duplicate handle, a dangling reference).
    std::vector<std::string> warnings;
};

struct DxfReadOptions {
    /// Refuses a file whose structure is damaged (a header variable outside its section, a table record after
    /// its table's end, a group where a record should start) instead of repairing what a tolerant reader can
    /// make sense of. Repairs are reported as warnings with their line either way.
    bool strict = false;
};

/// Reads an ASCII or binary DXF file of any version from R12 to R2018. Everything the file holds is kept:
/// what we model becomes our objects, the rest travels as kept groups and is written back on save.
DxfReadResult readDxfFile(const std::filesystem::path& path, const LoadProgress& progress = {},
                          const DxfReadOptions& options = {});
/// The same for a file already in memory.
DxfReadResult readDxf(std::string_view data, const LoadProgress& progress = {}, const DxfReadOptions& options = {});

}  // namespace vela::db
