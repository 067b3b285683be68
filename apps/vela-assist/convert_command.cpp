// vela-assist convert IN OUT: load a drawing and save it as DXF R2018.
#include <cstdio>

#include "cli.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "drawing_loader.h"

namespace vela::cli {

int convertCommand(const std::vector<std::string>& args) {
    if (args.size() != 2) {
        std::fputs("usage: vela-assist convert IN OUT\n", stderr);
        return 2;
    }
    std::unique_ptr<db::Database> loaded = loadDrawing(args[0]);
    if (!loaded) return 1;
    const db::SaveResult saved = db::saveDxfFile(*loaded, args[1]);
    if (!saved.ok) {
        std::fprintf(stderr, "vela-assist: %s\n", saved.error.c_str());
        return 1;
    }
    std::fprintf(stderr, "saved %s\n", args[1].c_str());
    return 0;
}

}  // namespace vela::cli
