#pragma once

#include <memory>
#include <string>

#include "db/database.h"

namespace vela::cli {

/// Reads a DXF drawing with a progress bar on standard error for large files; prints the reader's warnings.
/// Null (after printing why, and giving it in `why`) when it cannot be read; with `strict`, also when its
/// structure is damaged.
std::unique_ptr<db::Database> loadDrawing(const std::string& path, std::string* why = nullptr,
                                          bool strict = false);

/// The bundled sample drawing, looked for beside the program and in the source tree.
std::string bundledSamplePath();

}  // namespace vela::cli
