// vela-assist render DRAWING OUT: a picture of a drawing, as PNG or SVG.
#include <QBuffer>
#include <QGuiApplication>
#include <QImage>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "cli.h"
#include "db/dxf/file/atomic_save.h"
#include "drawing_loader.h"
#include "render/render.h"

namespace vela::cli {

namespace {

constexpr const char* kUsage =
    "usage: vela-assist render DRAWING OUT.png|OUT.svg [--size WxH] [--window X1,Y1,X2,Y2]\n"
    "                          [--around H1,H2,...] [--handles H1,H2,...|all] [--dark] [--no-lineweights]\n";
constexpr int kLargestSide = 16384;
// Drawings with at least this many entities in the space drawn show their progress.
constexpr std::size_t kProgressFrom = 20000;

// Qt's notes about the session it runs in (no runtime folder on a headless machine) say nothing about the
// picture; its other messages are passed on.
void qtMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type < QtWarningMsg || message.startsWith(QLatin1String("QStandardPaths:"))) return;
    std::fprintf(stderr, "vela-assist render: %s\n", message.toLocal8Bit().constData());
}

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

std::optional<double> number(const std::string& text) {
    if (text.empty()) return std::nullopt;
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || !std::isfinite(v)) return std::nullopt;
    return v;
}

std::optional<QSize> parseSize(const std::string& text) {
    const std::size_t x = text.find_first_of("xX");
    if (x == std::string::npos) return std::nullopt;
    const auto w = number(text.substr(0, x)), h = number(text.substr(x + 1));
    if (!w || !h || *w < 1 || *h < 1 || *w > kLargestSide || *h > kLargestSide || *w != std::floor(*w) ||
        *h != std::floor(*h))
        return std::nullopt;
    return QSize(static_cast<int>(*w), static_cast<int>(*h));
}

std::optional<db::Extents3d> parseWindow(const std::string& text) {
    const std::vector<std::string> parts = splitCommas(text);
    if (parts.size() != 4) return std::nullopt;
    double v[4];
    for (int i = 0; i < 4; ++i) {
        const auto n = number(parts[static_cast<std::size_t>(i)]);
        if (!n) return std::nullopt;
        v[i] = *n;
    }
    if (v[0] == v[2] || v[1] == v[3]) return std::nullopt;  // a window must have an area
    return db::Extents3d({v[0], v[1], 0}, {v[2], v[3], 0});
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

bool endsWith(const std::string& s, const char* suffix) {
    const std::string lower = QString::fromStdString(s).toLower().toStdString();
    const std::string tail(suffix);
    return lower.size() > tail.size() && lower.compare(lower.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

int renderCommand(const std::vector<std::string>& args) {
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
            const auto size = parseSize(value);
            if (!size)
                return badArguments("--size takes WIDTHxHEIGHT in pixels, 1 to 16384 each: '" + value + "'");
            options.size = *size;
        } else if (arg == "--window") {
            options.window = parseWindow(value);
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
    const bool svg = endsWith(out, ".svg");
    if (!svg && !endsWith(out, ".png"))
        return badArguments("the output must end in .png or .svg: '" + out + "'");
    if (options.window && !around.empty())
        return badArguments("--window and --around cannot be used together");

    std::unique_ptr<db::Database> loaded = loadDrawing(files[0]);
    if (!loaded) return 1;
    db::Database& db = *loaded;
    if (!entitiesByHandle(db, around, "--around", options.around)) return 2;
    if (!entitiesByHandle(db, labelled, "--handles", options.labelled)) return 2;

    // Text is drawn through Qt's fonts, which need an application object; no display is needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(qtMessages);
    static int argc = 1;
    static char name[] = "vela-assist";
    static char* argv[] = {name, nullptr};
    QGuiApplication app(argc, argv);
    render::loadBundledFonts();

    ProgressBar bar("drawing", kProgressFrom);
    options.progress = [&](std::size_t done, std::size_t total) { bar.update(done, total); };
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (svg) {
        QString error;
        if (!render::writeSvg(db, options, buffer, &error)) {
            bar.finish();
            std::fprintf(stderr, "vela-assist render: %s\n", error.toStdString().c_str());
            return 1;
        }
    } else {
        const QImage image = render::renderImage(db, options);
        if (!image.save(&buffer, "PNG")) {
            bar.finish();
            std::fputs("vela-assist render: the picture could not be encoded as PNG\n", stderr);
            return 1;
        }
    }
    bar.finish();
    const QByteArray& data = buffer.data();
    const std::string failed = db::saveFileAtomically(
        out, std::string_view(data.constData(), static_cast<std::size_t>(data.size())));
    if (!failed.empty()) {
        std::fprintf(stderr, "vela-assist render: cannot write %s: %s\n", out.c_str(), failed.c_str());
        return 1;
    }
    std::fprintf(stderr, "wrote %s (%dx%d)\n", out.c_str(), options.size.width(), options.size.height());
    return 0;
}

}  // namespace vela::cli
