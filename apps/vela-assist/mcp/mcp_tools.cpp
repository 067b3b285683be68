#include "mcp_tools.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QJsonDocument>
#include <algorithm>
#include <cmath>

#include "bridge/command_catalogue.h"
#include "db/database.h"
#include "db/undo_manager.h"
#include "drawing_summary.h"
#include "host/document.h"
#include "host/document_manager.h"
#include "properties/json_text.h"
#include "script_runner.h"
#include "session.h"
#include "tracking/change_tracker.h"
#include "tracking/changes_report.h"

namespace vela::cli::mcp {

namespace {

QJsonObject textContent(const QString& text) {
    return QJsonObject{{QStringLiteral("type"), QStringLiteral("text")}, {QStringLiteral("text"), text}};
}

QJsonObject imageContent(const QByteArray& png) {
    return QJsonObject{{QStringLiteral("type"), QStringLiteral("image")},
                       {QStringLiteral("data"), QString::fromLatin1(png.toBase64())},
                       {QStringLiteral("mimeType"), QStringLiteral("image/png")}};
}

// A tool's answer: the JSON as text (what every client shows a model) and as structured content.
QJsonObject resultOf(const QJsonObject& answer, QJsonArray images = {}) {
    QJsonArray content{textContent(QString::fromUtf8(jsonText(answer)))};
    for (const QJsonValue& image : images) content.append(image);
    QJsonObject result{{QStringLiteral("content"), content}, {QStringLiteral("structuredContent"), answer}};
    if (answer.value(QStringLiteral("success")) == QJsonValue(false))
        result.insert(QStringLiteral("isError"), true);
    return result;
}

QJsonObject failure(const QString& why) {
    return resultOf(QJsonObject{{QStringLiteral("success"), false}, {QStringLiteral("error"), why}});
}

// "SelectEntityByHandle" -> "Select entity by handle", for clients that show tools to people.
QString titleOf(const char* name) {
    QString title;
    for (const QChar c : QString::fromLatin1(name)) {
        if (c.isUpper() && !title.isEmpty())
            title += QLatin1Char(' ') + c.toLower();
        else
            title += c;
    }
    return title;
}

QJsonObject annotations(const QString& title, bool readOnly, bool destructive) {
    QJsonObject a{{QStringLiteral("title"), title},
                  {QStringLiteral("readOnlyHint"), readOnly},
                  {QStringLiteral("openWorldHint"), false}};
    if (!readOnly) a.insert(QStringLiteral("destructiveHint"), destructive);
    return a;
}

const char* const kDryRunSchema =
    R"({"type": "boolean", "description": "Try it: answer what it would answer and what it would change, then roll it back. The drawing stays as it is."})";
const char* const kDryRunPicturesSchema =
    R"({"type": "boolean", "description": "With dryRun: also pictures of the area before and after (created green, changed blue, erased red)."})";

QJsonObject parsed(const char* json) {
    return QJsonDocument::fromJson(QByteArray(json)).object();
}

}  // namespace

const DrawingTools::OwnTool DrawingTools::kOwnTools[] = {
    {"OpenDrawing", "Open drawing",
     "Opens a DXF drawing from the server's folder (path relative to it, or absolute inside it) in place of "
     "the one open now. Refused while the open drawing has unsaved changes, unless discardChanges is true.",
     R"({"type": "object", "properties": {"path": {"type": "string", "description": "a .dxf file"},
         "discardChanges": {"type": "boolean"}}, "required": ["path"]})",
     false, true, &DrawingTools::openDrawing},
    {"NewDrawing", "New drawing",
     "Starts an empty drawing in place of the one open now. Refused while the open drawing has unsaved "
     "changes, unless discardChanges is true.",
     R"({"type": "object", "properties": {"discardChanges": {"type": "boolean"}}})", false, true,
     &DrawingTools::newDrawing},
    {"SaveDrawing", "Save drawing",
     "Saves the drawing as DXF (R2018) in one step, so a failure leaves the old file whole. Without a path, "
     "to the file it came from; paths lie in the server's folder and end in .dxf.",
     R"({"type": "object", "properties": {"path": {"type": "string", "description": "a .dxf file"}}})", false,
     false, &DrawingTools::saveDrawing},
    {"Undo", "Undo",
     "Undoes the last steps: every changing tool call is one step. Answers the steps left to undo and to "
     "redo.",
     R"({"type": "object", "properties": {"steps": {"type": "integer", "minimum": 1, "default": 1}}})", false,
     false, &DrawingTools::undo},
    {"Redo", "Redo", "Redoes steps undone before, unless something changed the drawing since.",
     R"({"type": "object", "properties": {"steps": {"type": "integer", "minimum": 1, "default": 1}}})", false,
     false, &DrawingTools::redo},
    {"RenderDrawing", "Render drawing",
     "A PNG picture of model space, black on white: its extents, a window, or the entities named in around. "
     "handles writes handles on the entities (all, or those listed; at most 150). since (an undo step, see "
     "Undo) colours what the later steps created (green), changed (blue) and erased (red). The answer gives "
     "the world-to-pixel transform and each label's pixel position.",
     R"({"type": "object", "properties": {
         "window": {"type": "string", "description": "x1,y1,x2,y2 in drawing units"},
         "around": {"type": "array", "items": {"type": "string"}, "description": "handles of entities to frame"},
         "handles": {"anyOf": [{"const": "all"}, {"type": "array", "items": {"type": "string"}}]},
         "since": {"type": "integer", "minimum": 0, "description": "undo step"},
         "size": {"type": "string", "description": "WIDTHxHEIGHT in pixels; default: long edge 1568"},
         "dark": {"type": "boolean"}}})",
     true, false, &DrawingTools::render},
};

DrawingTools::DrawingTools(Session& session, const ServerOptions& options)
    : session_(session), options_(options) {}

const DrawingTools::OwnTool* DrawingTools::ownTool(const QString& name) const {
    for (const OwnTool& tool : kOwnTools)
        if (name == QLatin1String(tool.name)) return &tool;
    return nullptr;
}

QJsonArray DrawingTools::list() const {
    QJsonArray tools;
    for (const catalogue::CommandRow* row : bridge::Catalogue()) {
        if (!row->body) continue;  // not built yet: no tool that could only fail
        QJsonObject schema = parsed(row->requestSchema);
        schema.remove(QStringLiteral("$schema"));
        schema.insert(QStringLiteral("type"), QStringLiteral("object"));
        const bool readOnly = row->effect == catalogue::Effect::Reads;
        if (!readOnly) {
            QJsonObject properties = schema.value(QStringLiteral("properties")).toObject();
            properties.insert(QStringLiteral("dryRun"), parsed(kDryRunSchema));
            properties.insert(QStringLiteral("dryRunPictures"), parsed(kDryRunPicturesSchema));
            schema.insert(QStringLiteral("properties"), properties);
        }
        const QString title = titleOf(row->slot);
        tools.append(QJsonObject{
            {QStringLiteral("name"), QString::fromLatin1(row->slot)},
            {QStringLiteral("title"), title},
            {QStringLiteral("description"), QString::fromUtf8(row->description)},
            {QStringLiteral("inputSchema"), schema},
            {QStringLiteral("annotations"),
             annotations(title, readOnly, row->effect == catalogue::Effect::Deletes)},
        });
    }
    for (const OwnTool& tool : kOwnTools)
        tools.append(QJsonObject{
            {QStringLiteral("name"), QString::fromLatin1(tool.name)},
            {QStringLiteral("title"), QString::fromLatin1(tool.title)},
            {QStringLiteral("description"), QString::fromUtf8(tool.description)},
            {QStringLiteral("inputSchema"), parsed(tool.inputSchema)},
            {QStringLiteral("annotations"),
             annotations(QString::fromLatin1(tool.title), tool.readOnly, tool.destructive)},
        });
    return tools;
}

bool DrawingTools::has(const QString& name) const {
    const catalogue::CommandRow* row = bridge::FindBySlot(name);
    return (row && row->body) || ownTool(name);
}

QByteArray DrawingTools::call(const QString& name, const QJsonObject& arguments) {
    if (const OwnTool* tool = ownTool(name)) return jsonText((this->*tool->run)(arguments));
    const catalogue::CommandRow* row = bridge::FindBySlot(name);
    if (!row || !row->body) return jsonText(failure(QStringLiteral("no tool is named '%1'").arg(name)));
    return callCommand(*row, arguments);
}

QByteArray DrawingTools::callCommand(const catalogue::CommandRow& row, QJsonObject arguments) {
    bool dry = false, pictures = false;
    if (row.effect != catalogue::Effect::Reads) {
        for (const auto& [key, flag] : {std::pair{QStringLiteral("dryRun"), &dry},
                                        std::pair{QStringLiteral("dryRunPictures"), &pictures}}) {
            const QJsonValue value = arguments.take(key);
            if (!value.isUndefined() && !value.isBool())
                return jsonText(failure(QStringLiteral("\"%1\" takes true or false").arg(key)));
            *flag = value.toBool();
        }
    }
    const QString request = QString::fromUtf8(jsonText(arguments));
    if (dry) return jsonText(dryRun(row, request, pictures));
    const std::optional<QString> answer =
        callBridgeSlot(session_.bridge(), QString::fromLatin1(row.slot), request);
    return commandResult(answer.value_or(QString()));
}

QByteArray DrawingTools::commandResult(const QString& answer) const {
    const QByteArray text = answer.toUtf8();
    if (text.size() > options_.maxAnswerBytes)
        return jsonText(
            failure(QStringLiteral("the answer has %1 MB, more than the %2 MB a tool may answer: ask "
                                   "for fewer entities at a time")
                        .arg(double(text.size()) / (1 << 20), 0, 'f', 1)
                        .arg(options_.maxAnswerBytes >> 20)));
    // The command's answer is compact JSON already: it goes out as it is, once as the text a model reads and
    // once as structured content, without being read into objects and written again.
    if (!text.startsWith('{') || !text.endsWith('}'))
        return jsonText(failure(QStringLiteral("the command gave no answer")));
    bool failed = false;
    if (text.contains("\"success\":false"))
        failed = QJsonDocument::fromJson(text).object().value(QStringLiteral("success")) == QJsonValue(false);
    properties::JsonTextWriter w;
    w.reserve(text.size() * 2 + 96);
    w.beginObject().key("content").beginArray().beginObject();
    w.key("text").string(QStringView(answer)).key("type").string(QStringView(u"text"));
    w.endObject().endArray();
    if (failed) w.key("isError").boolean(true);
    w.key("structuredContent").raw(text).endObject();
    return w.takeText();
}

QJsonObject DrawingTools::dryRun(const catalogue::CommandRow& row, const QString& request, bool pictures) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return failure(QStringLiteral("no drawing is open"));
    db::Database& db = *doc->database();
    db::UndoManager& undo = db.undoManager();
    tracking::CJxV3ChangeTracker* tracker = tracking::GetV3ChangeTracker();
    const bool tracking = tracker->isStarted();
    // The tracker records this trial alone, and is given back as it was when the trial is rolled back.
    std::optional<tracking::CJxV3ChangeTracker::State> kept;
    if (tracking) kept = tracker->TakeState();
    const std::vector<db::ObjectId> selection = doc->selection().ids();

    undo.beginGroup("dry run");
    const QString answer =
        callBridgeSlot(session_.bridge(), QString::fromLatin1(row.slot), request).value_or(QString());
    const db::UndoManager::Changes changes = undo.changesInOpenGroup();
    QJsonObject report;
    if (tracking) report = tracking::BuildChangesReport(tracker->TakeChanges(&db));
    QJsonArray images;
    QString pictureError;
    std::optional<db::Extents3d> window;
    if (pictures) {
        PictureRequest after;
        for (const auto* list : {&changes.created, &changes.changed, &changes.erased})
            after.options.around.insert(after.options.around.end(), list->begin(), list->end());
        render::showChanges(after.options, changes);
        if (std::optional<Picture> p = picture(std::move(after), &pictureError)) {
            images.append(imageContent(p->png));
            const QJsonArray shown = p->info.value(QStringLiteral("window")).toArray();
            window = db::Extents3d(db::Point3d(shown[0].toDouble(), shown[1].toDouble(), 0),
                                   db::Point3d(shown[2].toDouble(), shown[3].toDouble(), 0));
        }
    }
    undo.abortGroup();
    if (window) {
        PictureRequest before;
        before.options.window = window;
        if (std::optional<Picture> p = picture(std::move(before), &pictureError))
            images.prepend(imageContent(p->png));
    }
    doc->selection().set(selection);
    if (kept) tracker->RestoreState(std::move(*kept));

    QJsonObject result{{QStringLiteral("dryRun"), true},
                       {QStringLiteral("rolledBack"), true},
                       {QStringLiteral("answer"), QJsonDocument::fromJson(answer.toUtf8()).object()}};
    if (tracking) result.insert(QStringLiteral("changes"), report);
    if (!pictureError.isEmpty()) result.insert(QStringLiteral("pictureError"), pictureError);
    if (pictures && images.size() == 2)
        result.insert(QStringLiteral("pictures"),
                      QStringLiteral("before, then after with created green, changed blue, erased red"));
    QJsonObject out = resultOf(result, images);
    if (result.value(QStringLiteral("answer")).toObject().value(QStringLiteral("success")) ==
        QJsonValue(false))
        out.insert(QStringLiteral("isError"), true);
    return out;
}

QString DrawingTools::fileUnderRoot(const QString& path, bool forWriting, QString* why) const {
    auto refuse = [&](const QString& reason) {
        if (why) *why = reason;
        return QString();
    };
    if (path.isEmpty()) return refuse(QStringLiteral("a file path is needed"));
    const QFileInfo info(QDir::cleanPath(QDir(options_.root).absoluteFilePath(path)));
    QString real;
    if (forWriting && !info.exists() && !info.isSymLink()) {
        const QString folder = QFileInfo(info.absolutePath()).canonicalFilePath();
        if (folder.isEmpty()) return refuse(QStringLiteral("the folder of '%1' does not exist").arg(path));
        real = folder + QLatin1Char('/') + info.fileName();
    } else {
        // Symbolic links are followed to where they lead: that is where the file would be read or written.
        real = info.canonicalFilePath();
        if (real.isEmpty()) return refuse(QStringLiteral("there is no file '%1'").arg(path));
    }
    const QString root =
        options_.root.endsWith(QLatin1Char('/')) ? options_.root : options_.root + QLatin1Char('/');
    if (!real.startsWith(root))
        return refuse(
            QStringLiteral("'%1' lies outside the folder this server may use (%2)").arg(path, options_.root));
    return real;
}

namespace {

// Whether the drawing has changes since it was opened or saved, as far as its undo history tells.
bool refusedForUnsaved(Session& session, std::size_t cleanStep, const QJsonObject& arguments, QString* why) {
    host::Document* doc = session.activeDocument();
    if (!doc || arguments.value(QStringLiteral("discardChanges")).toBool()) return false;
    if (doc->database()->undoManager().undoCount() == cleanStep) return false;
    *why = QStringLiteral(
        "the open drawing has changes that are not saved: save it first (SaveDrawing), or pass "
        "discardChanges: true");
    return true;
}

}  // namespace

QJsonObject DrawingTools::openDrawing(const QJsonObject& arguments) {
    QString why;
    if (refusedForUnsaved(session_, cleanStep_, arguments, &why)) return failure(why);
    const QString file = fileUnderRoot(arguments.value(QStringLiteral("path")).toString(), false, &why);
    if (file.isEmpty()) return failure(why);
    host::Document* previous = session_.activeDocument();
    db::LoadProgress loading;
    if (progress_)
        loading = [&](std::size_t done, std::size_t total) {
            progress_(double(done), double(total), QStringLiteral("reading the drawing"));
        };
    if (!session_.open(file, &why, loading)) return failure(why);
    if (previous) session_.host().documents().close(previous);
    cleanStep_ = 0;
    const DrawingSummary s = summarizeDrawing(*session_.activeDocument()->database());
    return resultOf(QJsonObject{{QStringLiteral("success"), true},
                                {QStringLiteral("path"), file},
                                {QStringLiteral("modelSpaceEntities"), static_cast<qint64>(s.model)}});
}

QJsonObject DrawingTools::newDrawing(const QJsonObject& arguments) {
    QString why;
    if (refusedForUnsaved(session_, cleanStep_, arguments, &why)) return failure(why);
    host::Document* previous = session_.activeDocument();
    session_.createNew();
    if (previous) session_.host().documents().close(previous);
    cleanStep_ = 0;
    return resultOf(QJsonObject{{QStringLiteral("success"), true}});
}

QJsonObject DrawingTools::saveDrawing(const QJsonObject& arguments) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return failure(QStringLiteral("no drawing is open"));
    QString path = arguments.value(QStringLiteral("path")).toString();
    if (path.isEmpty()) path = doc->path();
    if (path.isEmpty()) return failure(QStringLiteral("the drawing has no file yet: give a path"));
    if (!path.endsWith(QStringLiteral(".dxf"), Qt::CaseInsensitive))
        return failure(QStringLiteral("drawings are saved as DXF: the path must end in .dxf"));
    QString why;
    const QString file = fileUnderRoot(path, true, &why);
    if (file.isEmpty()) return failure(why);
    if (!session_.save(file, &why)) return failure(why);
    cleanStep_ = doc->database()->undoManager().undoCount();
    return resultOf(QJsonObject{{QStringLiteral("success"), true}, {QStringLiteral("path"), file}});
}

QJsonObject DrawingTools::undo(const QJsonObject& arguments) {
    return undoRedo(arguments, true);
}
QJsonObject DrawingTools::redo(const QJsonObject& arguments) {
    return undoRedo(arguments, false);
}

QJsonObject DrawingTools::undoRedo(const QJsonObject& arguments, bool undo) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return failure(QStringLiteral("no drawing is open"));
    const QJsonValue given = arguments.value(QStringLiteral("steps"));
    QString why;
    const std::optional<std::size_t> steps = readUndoSteps(given.isUndefined() ? QJsonValue(1) : given, &why);
    if (!steps) return failure(why);
    db::UndoManager& manager = doc->database()->undoManager();
    const std::size_t wanted = *steps;
    const std::size_t done = undo ? manager.undo(wanted) : manager.redo(wanted);
    QJsonObject answer{
        {QStringLiteral("success"), done > 0},
        {undo ? QStringLiteral("undone") : QStringLiteral("redone"), static_cast<qint64>(done)},
        {QStringLiteral("undoSteps"), static_cast<qint64>(manager.undoCount())},
        {QStringLiteral("redoSteps"), static_cast<qint64>(manager.redoCount())}};
    if (done == 0)
        answer.insert(QStringLiteral("error"),
                      undo ? QStringLiteral("nothing to undo") : QStringLiteral("nothing to redo"));
    return resultOf(answer);
}

QJsonObject DrawingTools::render(const QJsonObject& arguments) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return failure(QStringLiteral("no drawing is open"));
    QString why;
    std::optional<PictureRequest> request = readPictureRequest(*doc->database(), arguments, &why);
    if (!request) return failure(why);
    const bool sized = arguments.contains(QStringLiteral("size"));
    const std::optional<db::UndoManager::Changes> changes = request->changes;
    std::optional<Picture> p = picture(std::move(*request), &why, sized ? 0 : kLongEdge);
    if (!p) return failure(why);
    QJsonObject answer = p->info;
    answer.insert(QStringLiteral("success"), true);
    if (changes) {
        answer.insert(QStringLiteral("created"), static_cast<qint64>(changes->created.size()));
        answer.insert(QStringLiteral("changed"), static_cast<qint64>(changes->changed.size()));
        answer.insert(QStringLiteral("erased"), static_cast<qint64>(changes->erased.size()));
    }
    return resultOf(answer, QJsonArray{imageContent(p->png)});
}

std::optional<DrawingTools::Picture> DrawingTools::picture(PictureRequest request, QString* why,
                                                           int longEdge) {
    host::Document* doc = session_.activeDocument();
    if (!doc) {
        if (why) *why = QStringLiteral("no drawing is open");
        return std::nullopt;
    }
    const db::Database& db = *doc->database();
    ensurePictureApplication();
    render::RenderOptions& options = request.options;
    // The window is found once; the picture then takes its proportions, so no pixel is spent on margins.
    const db::Extents3d window = render::windowFor(db, options);
    options.window = window;
    if (longEdge > 0) {
        const double w = window.maxPoint().x - window.minPoint().x,
                     h = window.maxPoint().y - window.minPoint().y;
        const double shortEdge =
            std::clamp(longEdge * std::min(w, h) / std::max(w, h), 64.0, double(longEdge));
        options.size = w >= h ? QSize(longEdge, int(std::lround(shortEdge)))
                              : QSize(int(std::lround(shortEdge)), longEdge);
    }
    options.maxLabels = kMaxLabels;
    if (progress_)
        options.progress = [this](std::size_t done, std::size_t total) {
            progress_(double(done), double(total), QStringLiteral("drawing the picture"));
        };
    render::RenderReport report;
    options.report = &report;
    Picture picture;
    for (int attempt = 0;; ++attempt) {
        QBuffer buffer(&picture.png);
        buffer.open(QIODevice::WriteOnly);
        if (!render::renderImage(db, options).save(&buffer, "PNG")) {
            if (why) *why = QStringLiteral("the picture could not be encoded as PNG");
            return std::nullopt;
        }
        if (picture.png.size() <= kMaxPictureBytes || attempt == 8) break;
        picture.png.clear();
        options.size = QSize(std::max(1, int(options.size.width() * 0.7)),
                             std::max(1, int(options.size.height() * 0.7)));
    }
    const render::Frame frame = render::frameFor(db, options);
    const QTransform& t = frame.toPixels;
    QJsonArray labels;
    for (const render::RenderReport::Label& l : report.labels)
        labels.append(QJsonObject{{QStringLiteral("handle"), l.text},
                                  {QStringLiteral("x"), std::round(l.at.x() * 10) / 10},
                                  {QStringLiteral("y"), std::round(l.at.y() * 10) / 10}});
    const db::Extents3d& shown = frame.shown;
    picture.info = QJsonObject{
        {QStringLiteral("width"), frame.size.width()},
        {QStringLiteral("height"), frame.size.height()},
        {QStringLiteral("window"),
         QJsonArray{shown.minPoint().x, shown.minPoint().y, shown.maxPoint().x, shown.maxPoint().y}},
        {QStringLiteral("worldToPixel"),
         QJsonObject{{QStringLiteral("scale"), t.m11()},
                     {QStringLiteral("offsetX"), t.dx()},
                     {QStringLiteral("offsetY"), t.dy()},
                     {QStringLiteral("formula"),
                      QStringLiteral("px = scale * x + offsetX; py = offsetY - scale * y (y down)")}}},
    };
    if (options.handleLabels) {
        picture.info.insert(QStringLiteral("labels"), labels);
        if (report.labelsLeftOut > 0)
            picture.info.insert(
                QStringLiteral("note"),
                QStringLiteral(
                    "%1 more entities in view got no handle label (at most %2 are written): render a "
                    "smaller window, or list the handles to label")
                    .arg(report.labelsLeftOut)
                    .arg(kMaxLabels));
    }
    return picture;
}

QJsonObject DrawingTools::layers() {
    const std::optional<QString> answer =
        callBridgeSlot(session_.bridge(), QStringLiteral("GetCurrentLayersInfo"), QStringLiteral("{}"));
    return QJsonDocument::fromJson(answer.value_or(QString()).toUtf8()).object();
}

QJsonObject DrawingTools::summary() {
    host::Document* doc = session_.activeDocument();
    if (!doc) return QJsonObject{{QStringLiteral("open"), false}};
    db::Database& db = *doc->database();
    const DrawingSummary s = summarizeDrawing(db);
    QJsonObject perType, perLayer;
    for (const auto& [type, count] : s.perType)
        perType.insert(QString::fromStdString(type), static_cast<qint64>(count));
    for (const auto& [layer, count] : s.modelPerLayer)
        perLayer.insert(QString::fromStdString(layer), static_cast<qint64>(count));
    QJsonObject summary{
        {QStringLiteral("open"), true},
        {QStringLiteral("path"), doc->path()},
        {QStringLiteral("units"), db.measurement() == db::MeasurementSystem::Metric
                                      ? QStringLiteral("metric")
                                      : QStringLiteral("imperial")},
        {QStringLiteral("modelSpaceEntities"), static_cast<qint64>(s.model)},
        {QStringLiteral("paperSpaceEntities"), static_cast<qint64>(s.paper)},
        {QStringLiteral("blockDefinitions"), static_cast<qint64>(s.blocks)},
        {QStringLiteral("entitiesPerType"), perType},
        {QStringLiteral("modelSpaceEntitiesPerLayer"), perLayer},
        {QStringLiteral("undoSteps"), static_cast<qint64>(db.undoManager().undoCount())},
    };
    if (s.extents.isValid())
        summary.insert(QStringLiteral("extents"), QJsonArray{s.extents.minPoint().x, s.extents.minPoint().y,
                                                             s.extents.maxPoint().x, s.extents.maxPoint().y});
    return summary;
}

}  // namespace vela::cli::mcp
