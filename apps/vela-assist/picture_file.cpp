#include "picture_file.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImage>
#include <QJsonArray>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "db/dxf/file/atomic_save.h"
#include "properties/handle_text.h"

namespace vela::cli {

namespace {

constexpr int kLargestSide = 16384;
// Made on the first picture; taken down by the scope a command opened (see PictureApplicationScope).
QGuiApplication* g_application = nullptr;

std::optional<double> number(const std::string& text) {
    if (text.empty()) return std::nullopt;
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || !std::isfinite(v)) return std::nullopt;
    return v;
}

bool endsWith(const std::string& s, const char* suffix) {
    const std::string lower = QString::fromStdString(s).toLower().toStdString();
    const std::string tail(suffix);
    return lower.size() > tail.size() && lower.compare(lower.size() - tail.size(), tail.size(), tail) == 0;
}

// Qt's notes about the session it runs in (no runtime folder on a headless machine) say nothing about the
// picture; its other messages are passed on.
void qtMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type < QtWarningMsg || message.startsWith(QLatin1String("QStandardPaths:"))) return;
    std::fprintf(stderr, "vela-assist: %s\n", message.toLocal8Bit().constData());
}

}  // namespace

std::optional<QSize> parsePictureSize(const std::string& text) {
    const std::size_t x = text.find_first_of("xX");
    if (x == std::string::npos) return std::nullopt;
    const auto w = number(text.substr(0, x)), h = number(text.substr(x + 1));
    if (!w || !h || *w < 1 || *h < 1 || *w > kLargestSide || *h > kLargestSide || *w != std::floor(*w) ||
        *h != std::floor(*h))
        return std::nullopt;
    return QSize(static_cast<int>(*w), static_cast<int>(*h));
}

std::optional<db::Extents3d> parsePictureWindow(const std::string& text) {
    std::vector<double> v;
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = text.find(',', start);
        const auto n =
            number(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (!n) return std::nullopt;
        v.push_back(*n);
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (v.size() != 4 || v[0] == v[2] || v[1] == v[3]) return std::nullopt;  // a window must have an area
    return db::Extents3d({v[0], v[1], 0}, {v[2], v[3], 0});
}

PictureApplicationScope::~PictureApplicationScope() {
    delete g_application;
    g_application = nullptr;
}

void ensurePictureApplication() {
    if (QCoreApplication::instance()) return;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(qtMessages);
    static int argc = 1;
    static char name[] = "vela-assist";
    static char* argv[] = {name, nullptr};
    g_application = new QGuiApplication(argc, argv);
    render::loadBundledFonts();
}

std::string writePicture(const db::Database& db, const render::RenderOptions& options,
                         const std::string& path) {
    const bool svg = endsWith(path, ".svg");
    if (!svg && !endsWith(path, ".png"))
        return "the picture's file name must end in .png or .svg: '" + path + "'";
    ensurePictureApplication();
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (svg) {
        QString error;
        if (!render::writeSvg(db, options, buffer, &error)) return error.toStdString();
    } else if (!render::renderImage(db, options).save(&buffer, "PNG")) {
        return "the picture could not be encoded as PNG";
    }
    const QByteArray& data = buffer.data();
    const std::string failed = db::saveFileAtomically(
        path, std::string_view(data.constData(), static_cast<std::size_t>(data.size())));
    return failed.empty() ? std::string() : "cannot write " + path + ": " + failed;
}

namespace {

// Live entities named by a JSON array of handle texts; false (with `why`) when one names none.
bool entitiesNamed(const db::Database& db, const QJsonValue& value, const char* key,
                   std::vector<db::ObjectId>& ids, QString& why) {
    if (!value.isArray()) {
        why = QStringLiteral("\"%1\" takes an array of handles").arg(QLatin1String(key));
        return false;
    }
    for (const QJsonValue& h : value.toArray()) {
        const db::ObjectId id = properties::ObjectIdFromHandleText(db, h.toString());
        if (!db::objectCast<db::Entity>(id.peek()) || id.isErased()) {
            why =
                QStringLiteral("\"%1\": no entity has the handle '%2'").arg(QLatin1String(key), h.toString());
            return false;
        }
        ids.push_back(id);
    }
    return true;
}

}  // namespace

std::optional<PictureRequest> readPictureRequest(const db::Database& db, const QJsonObject& request,
                                                 QString* why) {
    auto refuse = [&](const QString& reason) -> std::optional<PictureRequest> {
        if (why) *why = reason;
        return std::nullopt;
    };
    PictureRequest picture;
    render::RenderOptions& options = picture.options;
    if (request.contains(QStringLiteral("size"))) {
        const auto size = parsePictureSize(request.value(QStringLiteral("size")).toString().toStdString());
        if (!size)
            return refuse(QStringLiteral("\"size\" takes \"WIDTHxHEIGHT\" in pixels, 1 to 16384 each"));
        options.size = *size;
    }
    if (request.contains(QStringLiteral("window"))) {
        options.window = parsePictureWindow(request.value(QStringLiteral("window")).toString().toStdString());
        if (!options.window)
            return refuse(QStringLiteral("\"window\" takes \"X1,Y1,X2,Y2\", a window with an area"));
    }
    QString reason;
    if (request.contains(QStringLiteral("around")) &&
        !entitiesNamed(db, request.value(QStringLiteral("around")), "around", options.around, reason))
        return refuse(reason);
    if (request.contains(QStringLiteral("handles"))) {
        options.handleLabels = true;
        const QJsonValue handles = request.value(QStringLiteral("handles"));
        if (handles != QJsonValue(QStringLiteral("all")) &&
            !entitiesNamed(db, handles, "handles", options.labelled, reason))
            return refuse(reason);
    }
    options.dark = request.value(QStringLiteral("dark")).toBool();
    if (request.contains(QStringLiteral("since"))) {
        const QJsonValue since = request.value(QStringLiteral("since"));
        const db::UndoManager& undo = db.undoManager();
        if (!since.isDouble() || since.toDouble() < 0 || since.toDouble() != std::floor(since.toDouble()) ||
            since.toDouble() > static_cast<double>(undo.undoCount()))
            return refuse(QStringLiteral("\"since\" takes an undo step from 0 to %1").arg(undo.undoCount()));
        picture.changes = undo.changesSince(static_cast<std::size_t>(since.toDouble()));
        render::showChanges(options, *picture.changes);
    }
    return picture;
}

}  // namespace vela::cli
