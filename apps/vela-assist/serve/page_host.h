#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <memory>

#include "db/database_reactor.h"
#include "db/object_id.h"
#include "mcp/mcp_server.h"
#include "serve_settings.h"

namespace vela::db {
class Database;
}

namespace vela::cli {
class Session;
}

namespace vela::cli::serve {

class Chat;

/// What the served page needs besides the assistant's bridge, on the same web channel as "VelaHost": the
/// drawing's state, the command catalogue for the console's forms, picking, undo and redo, and the chat. It
/// tells every page when the drawing or its selection changed, whoever changed it.
class PageHost : public QObject, private db::DatabaseReactor {
    Q_OBJECT
  public:
    PageHost(Session& session, const ServeSettings& settings, QObject* parent = nullptr);
    ~PageHost() override;

    /// Compares the drawing with what the pages were last told, and tells them when it changed.
    void checkForChanges();

  public slots:
    /// {"drawing", "path", "undoSteps", "redoSteps", "selection": [HANDLE, ...], "extents": [X1, Y1, X2, Y2]
    /// or null, "chat": {"configured", "model", "busy", "help" (how to name a model, without one)},
    /// "settingsFile", "version"}
    QJsonObject state();
    /// The assistant's commands: slot, parameter, description, effect, JSON Schema and an example request.
    QJsonArray commands();
    /// The handle of the topmost entity drawn within `tolerance` of the point (drawing units), or "".
    QString pick(double x, double y, double tolerance);
    QJsonObject undo();
    QJsonObject redo();
    /// The bridge's "JxAnswer": the last answer it gave.
    QString lastAnswer();
    void chat(const QString& text);
    void newChat();

  signals:
    void drawingChanged(const QJsonObject& state);
    void chatEvent(const QJsonObject& event);

  private:
    void objectAppended(const db::Database*, const db::DbObject*) override { ++edits_; }
    void objectModified(const db::Database*, const db::DbObject*) override { ++edits_; }
    void objectErased(const db::Database*, const db::DbObject*, bool) override { ++edits_; }
    void goodbye(const db::Database*) override { watched_ = nullptr; }
    void watchActive();
    QJsonObject toolAnswer(const QString& tool);

    Session& session_;
    mcp::ServerOptions toolOptions_;  // the tools keep a reference to them
    std::unique_ptr<mcp::DrawingTools> tools_;
    std::unique_ptr<Chat> chat_;
    QString settingsPath_;
    db::Database* watched_ = nullptr;
    quint64 edits_ = 0, editsTold_ = 0;
    std::uint64_t selectionTold_ = 0;  // the selection's version
    const db::Database* databaseTold_ = nullptr;
};

}  // namespace vela::cli::serve
