#include "page_host.h"

#include <QJsonDocument>

#include "bridge/command_catalogue.h"
#include "chat.h"
#include "host/document.h"
#include "mcp/mcp_tools.h"
#include "properties/handle_text.h"
#include "render/render.h"
#include "session.h"

namespace vela::cli::serve {

PageHost::PageHost(Session& session, const ServeSettings& settings, QObject* parent)
    : QObject(parent),
      session_(session),
      tools_(std::make_unique<mcp::DrawingTools>(session, toolOptions_)),
      settingsPath_(settings.path) {
    setObjectName(QStringLiteral("VelaHost"));
    chat_ = std::make_unique<Chat>(
        settings.chat, settings.path, *tools_,
        [this]() -> qint64 {
            host::Document* doc = session_.activeDocument();
            return doc ? qint64(doc->database()->undoManager().undoCount()) : 0;
        },
        [this](const QJsonObject& event) {
            emit chatEvent(event);
            // A tool may have changed the drawing: the pages redraw at once, not after the whole answer.
            if (event[QStringLiteral("kind")] == QLatin1String("result")) checkForChanges();
        });
    watchActive();
    editsTold_ = edits_;
    databaseTold_ = watched_;
    if (host::Document* doc = session_.activeDocument()) selectionTold_ = doc->selection().version();
}

PageHost::~PageHost() {
    if (watched_) watched_->removeReactor(this);
}

void PageHost::watchActive() {
    host::Document* doc = session_.activeDocument();
    db::Database* db = doc ? doc->database() : nullptr;
    if (db == watched_) return;
    if (watched_) watched_->removeReactor(this);
    watched_ = db;
    if (watched_) watched_->addReactor(this);
}

void PageHost::checkForChanges() {
    // Runs after every message a page sends: the common case, nothing changed, costs a comparison.
    watchActive();
    host::Document* doc = session_.activeDocument();
    const std::uint64_t selection = doc ? doc->selection().version() : 0;
    if (edits_ == editsTold_ && selection == selectionTold_ && watched_ == databaseTold_) return;
    editsTold_ = edits_;
    selectionTold_ = selection;
    databaseTold_ = watched_;
    emit drawingChanged(state());
}

QJsonObject PageHost::state() {
    QJsonObject chat{{QStringLiteral("configured"), chat_->configured()},
                     {QStringLiteral("model"), chat_->model()},
                     {QStringLiteral("busy"), chat_->busy()}};
    if (!chat_->configured()) chat.insert(QStringLiteral("help"), chat_->configurationHelp());
    QJsonObject out{{QStringLiteral("settingsFile"), settingsPath_},
                    {QStringLiteral("version"), host::hostVersion()},
                    {QStringLiteral("chat"), chat}};
    host::Document* doc = session_.activeDocument();
    if (!doc) {
        out.insert(QStringLiteral("drawing"), QJsonValue::Null);
        return out;
    }
    const db::UndoManager& undo = doc->database()->undoManager();
    out.insert(QStringLiteral("drawing"), doc->title());
    out.insert(QStringLiteral("path"), doc->path());
    out.insert(QStringLiteral("undoSteps"), qint64(undo.undoCount()));
    out.insert(QStringLiteral("redoSteps"), qint64(undo.redoCount()));
    out.insert(QStringLiteral("selection"), properties::HandleArray(doc->selection().ids()));
    const db::Extents3d box = doc->spatialIndex().extents(doc->database()->modelSpaceId());
    if (box.isValid())
        out.insert(QStringLiteral("extents"),
                   QJsonArray{box.minPoint().x, box.minPoint().y, box.maxPoint().x, box.maxPoint().y});
    else
        out.insert(QStringLiteral("extents"), QJsonValue::Null);
    return out;
}

QJsonArray PageHost::commands() {
    return bridge::CatalogueJson().value(QStringLiteral("commands")).toArray();
}

QString PageHost::pick(double x, double y, double tolerance) {
    host::Document* doc = session_.activeDocument();
    if (!doc) return {};
    const std::vector<db::ObjectId> hits =
        render::entitiesAt(*doc->database(), doc->spatialIndex(), db::Point3d(x, y, 0), tolerance);
    return hits.empty() ? QString() : properties::HandleText(hits.front());
}

QJsonObject PageHost::toolAnswer(const QString& tool) {
    const QJsonObject result = QJsonDocument::fromJson(tools_->call(tool, {})).object();
    return result.value(QStringLiteral("structuredContent")).toObject();
}

QJsonObject PageHost::undo() {
    return toolAnswer(QStringLiteral("Undo"));
}

QJsonObject PageHost::redo() {
    return toolAnswer(QStringLiteral("Redo"));
}

QString PageHost::lastAnswer() {
    return session_.bridge().property("JxAnswer").toString();
}

void PageHost::chat(const QString& text) {
    chat_->send(text);
}

void PageHost::newChat() {
    chat_->restart();
}

}  // namespace vela::cli::serve
