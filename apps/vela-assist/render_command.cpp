// vela-assist render DRAWING OUT: a picture of a drawing, as PNG or SVG.
#include <QString>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "cli.h"
#include "drawing_loader.h"
#include "picture_file.h"
#include "render/render.h"

namespace vela::cli {

namespace {

constexpr const char* kUsage =
    "usage: vela-assist render DRAWING OUT.png|OUT.svg [--size WxH] [--window X1,Y1,X2,Y2]\n"
    "                          [--around H1,H2,...] [--handles H1,H2,...|all] [--dark] [--no-lineweights]\n";
// Drawings with at least this many entities in the space drawn show their progress.
constexpr std::size_t kProgressFrom = 20000;

int badArguments(const std::string& why) {
    std::fprintf(stderr, "vela-assist render: %s\n%s", why.c_str(), kUsage);
    return 2;
}

std::vector<std::string> splitCommas(const std::string& text) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = text.find(',', start);
        parts.push_back(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (comma == std::string::npos) return parts;
        start = comma + 1;
    }
}

// Ids of the live entities with these handles; false (after saying which) when one names none.
bool entitiesByHandle(const db::Database& db, const std::vector<std::string>& handles, const char* option,
                      std::vector<db::ObjectId>& ids) {
    for (const std::string& text : handles) {
        const std::optional<db::Handle> handle = db::Handle::fromText(text);
        const db::ObjectId id = handle ? db.getObjectId(*handle) : db::ObjectId();
        if (!db::objectCast<db::Entity>(id.peek())) {
            std::fprintf(stderr, "vela-assist render: %s: no entity has the handle '%s'\n", option,
                         text.c_str());
            return false;
        }
        ids.push_back(id);
    }
    return true;
}

}  // namespace

int renderCommand(const std::vector<std::string>& args) {
    const PictureApplicationScope pictures;
    std::vector<std::string> files;
    render::RenderOptions options;
    std::vector<std::string> around, labelled;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string arg = args[i], value;
        const bool takesValue =
            arg == "--size" || arg == "--window" || arg == "--around" || arg == "--handles";
        if (const std::size_t eq = arg.find('='); arg.starts_with("--") && eq != std::string::npos) {
            value = arg.substr(eq + 1), arg = arg.substr(0, eq);
        } else if (takesValue) {
            if (i + 1 >= args.size()) return badArguments(arg + " needs a value");
            value = args[++i];
        }
        if (arg == "--size") {
            const auto size = parsePictureSize(value);
            if (!size)
                return badArguments("--size takes WIDTHxHEIGHT in pixels, 1 to 16384 each: '" + value + "'");
            options.size = *size;
        } else if (arg == "--window") {
            options.window = parsePictureWindow(value);
            if (!options.window)
                return badArguments("--window takes four numbers X1,Y1,X2,Y2 of a window with an area: '" +
                                    value + "'");
        } else if (arg == "--around") {
            around = splitCommas(value);
        } else if (arg == "--handles") {
            options.handleLabels = true;
            if (value != "all") labelled = splitCommas(value);
        } else if (arg == "--dark") {
            options.dark = true;
        } else if (arg == "--no-lineweights") {
            options.lineweights = false;
        } else if (arg.starts_with("--")) {
            return badArguments("unknown option '" + arg + "'");
        } else {
            files.push_back(arg);
        }
    }
    if (files.size() != 2) return badArguments("a drawing and an output file are needed");
    const std::string& out = files[1];
    const std::string lower = QString::fromStdString(out).toLower().toStdString();
    if (!lower.ends_with(".png") && !lower.ends_with(".svg"))
        return badArguments("the output must end in .png or .svg: '" + out + "'");
    if (options.window && !around.empty())
        return badArguments("--window and --around cannot be used together");

    std::unique_ptr<db::Database> loaded = loadDrawing(files[0]);
    if (!loaded) return 1;
    db::Database& db = *loaded;
    if (!entitiesByHandle(db, around, "--around", options.around)) return 2;
    if (!entitiesByHandle(db, labelled, "--handles", options.labelled)) return 2;

    ProgressBar bar("drawing", kProgressFrom);
    options.progress = [&](std::size_t done, std::size_t total) { bar.update(done, total); };
    const std::string failed = writePicture(db, options, out);
    bar.finish();
    if (!failed.empty()) {
        std::fprintf(stderr, "vela-assist render: %s\n", failed.c_str());
        return 1;
    }
    std::fprintf(stderr, "wrote %s (%dx%d)\n", out.c_str(), options.size.width(), options.size.height());
    return 0;
}

}  // namespace vela::cli
