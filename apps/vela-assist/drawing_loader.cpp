#include "drawing_loader.h"

#include <cstdio>
#include <filesystem>

#include "cli.h"
#include "db/dxf/file/dxf_reader.h"

namespace vela::cli {

std::unique_ptr<db::Database> loadDrawing(const std::string& path, std::string* why, bool strict,
                                          const db::LoadProgress& progress) {
    ProgressBar bar("loading");
    db::DxfReadResult read = db::readDxfFile(path,
                                             [&](std::size_t done, std::size_t total) {
                                                 bar.update(done, total);
                                                 if (progress) progress(done, total);
                                             },
                                             {.strict = strict});
    bar.finish();
    if (!read.database) {
        std::fprintf(stderr, "vela-assist: %s: %s\n", path.c_str(), read.error->text().c_str());
        if (why) *why = read.error->text();
        return nullptr;
    }
    for (const std::string& w : read.warnings) std::fprintf(stderr, "warning: %s\n", w.c_str());
    return std::move(read.database);
}

std::string bundledSamplePath() {
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::path self = fs::read_symlink("/proc/self/exe", ec);
    for (const fs::path& candidate :
         {self.parent_path() / "../share/vela/examples/floor_plan.dxf", fs::path(VELA_SOURCE_DIR) / "examples/floor_plan.dxf"})
        if (fs::exists(candidate, ec)) return candidate.lexically_normal().string();
    return (fs::path(VELA_SOURCE_DIR) / "examples/floor_plan.dxf").string();
}

}  // namespace vela::cli
