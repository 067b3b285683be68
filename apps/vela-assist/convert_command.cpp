// vela-assist convert IN OUT: load a drawing and save it as DXF R2018.
#include <cstdio>

#include "cli.h"
#include "db/dxf/dxf_reader.h"
#include "db/dxf/dxf_writer.h"

namespace vela::cli {

int convertCommand(const std::vector<std::string>& args) {
    if (args.size() != 2) {
        std::fputs("usage: vela-assist convert IN OUT\n", stderr);
        return 2;
    }
    ProgressBar bar("loading");
    db::DxfReadResult read =
        db::readDxfFile(args[0], [&](std::size_t done, std::size_t total) { bar.update(done, total); });
    bar.finish();
    if (!read.database) {
        std::fprintf(stderr, "vela-assist: %s: %s\n", args[0].c_str(), read.error->text().c_str());
        return 1;
    }
    for (const std::string& w : read.warnings) std::fprintf(stderr, "warning: %s\n", w.c_str());
    const db::SaveResult saved = db::saveDxfFile(*read.database, args[1]);
    if (!saved.ok) {
        std::fprintf(stderr, "vela-assist: %s\n", saved.error.c_str());
        return 1;
    }
    std::fprintf(stderr, "saved %s\n", args[1].c_str());
    return 0;
}

}  // namespace vela::cli
