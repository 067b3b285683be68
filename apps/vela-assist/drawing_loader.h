#pragma once

#include <memory>
#include <string>

#include "db/database.h"
#include "db/dxf/file/dxf_reader.h"

namespace vela::cli {

/// Reads a DXF drawing with a progress bar on standard error for large files; prints the reader's warnings.
/// Null (after printing why, and giving it in `why`) when it cannot be read; with `strict`, also when its
/// structure is damaged.
/// `progress`, when given, hears of it too.
std::unique_ptr<db::Database> loadDrawing(const std::string& path, std::string* why = nullptr,
                                          bool strict = false, const db::LoadProgress& progress = {});

/// The bundled sample drawing, looked for beside the program and in the source tree.
std::string bundledSamplePath();

}  // namespace vela::cli
