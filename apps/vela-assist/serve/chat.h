#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QObject>
#include <functional>

#include "serve_settings.h"

namespace vela::cli::mcp {
class DrawingTools;
}

namespace vela::cli::serve {

/// A conversation with a model behind an OpenAI-compatible chat-completions endpoint, in which the model may
/// call the assistant's commands as tools. Each step is told as an event (a JSON object with "kind"):
///   {"kind": "user" | "assistant", "text"}                 what was said
///   {"kind": "call", "id", "name", "arguments"}            the model calls a tool
///   {"kind": "result", "id", "name", "text", "isError", "changed", "since"?}
///                                                          its answer; "since": the undo step before it,
///                                                          when it added steps (for a picture of what it
///                                                          did)
///   {"kind": "busy", "busy"}                               an answer is under way, or no longer
///   {"kind": "info" | "error", "text"}                     how to configure a model; what went wrong
/// Requests to the model run while the host goes on; tools run on the host's thread between them.
class Chat : public QObject {
    Q_OBJECT
  public:
    using Events = std::function<void(const QJsonObject& event)>;
    /// `undoStep`: the active drawing's undo step count now (to tell what a tool changed).
    Chat(ChatSettings settings, QString settingsPath, mcp::DrawingTools& tools,
         std::function<qint64()> undoStep, Events events);

    bool configured() const { return settings_.configured(); }
    const QString& model() const { return settings_.model; }
    bool busy() const { return reply_ != nullptr; }

    /// The user says `text`; the answer comes as events.
    void send(const QString& text);
    /// Forgets the conversation (and stops an answer under way).
    void restart();

    /// How to name a model, for a chat without one.
    QString configurationHelp() const;

  private:
    /// The tools as the model is offered them.
    QJsonArray toolDefinitions() const;
    void ask();
    void answered(QNetworkReply* reply);
    void runToolCalls(const QJsonArray& calls);
    void finish(const QJsonObject& event);
    void emitEvent(const QJsonObject& event) { events_(event); }

    ChatSettings settings_;
    QString settingsPath_;
    mcp::DrawingTools& tools_;
    std::function<qint64()> undoStep_;
    Events events_;
    QNetworkAccessManager network_;
    QJsonArray messages_;
    QNetworkReply* reply_ = nullptr;
    int rounds_ = 0;
};

}  // namespace vela::cli::serve
