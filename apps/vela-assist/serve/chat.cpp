#include "chat.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include "mcp/mcp_tools.h"

namespace vela::cli::serve {

namespace {

// The page shows one drawing; opening, replacing and saving files stay with its user.
bool offeredToChat(const QString& tool) {
    return tool != QLatin1String("OpenDrawing") && tool != QLatin1String("NewDrawing") &&
           tool != QLatin1String("SaveDrawing");
}

const char* const kInstructions =
    "You help a CAD user with the 2D drawing that is open in VELA AI Assist. Read and change it only through "
    "the tools. Entities are named by their handles (upper-case hexadecimal text such as \"2F\"); points are "
    "\"x,y\" or \"x,y,z\" in drawing units. Ask SummarizeEntities or SelectEntities before changing what you "
    "have not seen. Each tool call is one undo step; Undo takes the last one back. Answer briefly and say "
    "what "
    "you changed.";

QJsonObject chatEvent(const char* kind, std::initializer_list<std::pair<QString, QJsonValue>> fields) {
    QJsonObject e{{QStringLiteral("kind"), QLatin1String(kind)}};
    for (const auto& [key, value] : fields) e.insert(key, value);
    return e;
}

// The text a model reads of a tool's result: its text parts (pictures are for the page, not the model).
QString resultText(const QJsonObject& result) {
    QStringList parts;
    for (const QJsonValue& c : result.value(QStringLiteral("content")).toArray())
        if (c[QStringLiteral("type")] == QLatin1String("text")) parts << c[QStringLiteral("text")].toString();
    return parts.join(QLatin1Char('\n'));
}

}  // namespace

Chat::Chat(ChatSettings settings, QString settingsPath, mcp::DrawingTools& tools,
           std::function<qint64()> undoStep, Events events)
    : settings_(std::move(settings)),
      settingsPath_(std::move(settingsPath)),
      tools_(tools),
      undoStep_(std::move(undoStep)),
      events_(std::move(events)) {
    network_.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
}

QJsonArray Chat::toolDefinitions() const {
    QJsonArray out;
    for (const QJsonValue& t : tools_.list()) {
        const QString name = t[QStringLiteral("name")].toString();
        if (!offeredToChat(name)) continue;
        out.append(
            QJsonObject{{QStringLiteral("type"), QStringLiteral("function")},
                        {QStringLiteral("function"),
                         QJsonObject{{QStringLiteral("name"), name},
                                     {QStringLiteral("description"), t[QStringLiteral("description")]},
                                     {QStringLiteral("parameters"), t[QStringLiteral("inputSchema")]}}}});
    }
    return out;
}

QString Chat::configurationHelp() const {
    return QStringLiteral(
               "The chat needs a model. Name an OpenAI-compatible endpoint in %1:\n\n"
               "[chat]\nurl=http://127.0.0.1:8080/v1\nmodel=the-model's-name\n"
               "key=your-key (if the endpoint wants one)\n\n"
               "and start %2 again. Everything else on this page works without it.")
        .arg(settingsPath_, QCoreApplication::applicationName());
}

void Chat::send(const QString& text) {
    if (!configured()) {
        emitEvent(chatEvent("info", {{QStringLiteral("text"), configurationHelp()}}));
        return;
    }
    if (busy()) {
        emitEvent(
            chatEvent("error", {{QStringLiteral("text"),
                                 QStringLiteral("The model is still answering; wait for it or start a new "
                                                "chat.")}}));
        return;
    }
    if (text.trimmed().isEmpty()) return;
    if (messages_.isEmpty())
        messages_.append(QJsonObject{{QStringLiteral("role"), QStringLiteral("system")},
                                     {QStringLiteral("content"), QLatin1String(kInstructions)}});
    messages_.append(
        QJsonObject{{QStringLiteral("role"), QStringLiteral("user")}, {QStringLiteral("content"), text}});
    emitEvent(chatEvent("user", {{QStringLiteral("text"), text}}));
    rounds_ = 0;
    emitEvent(chatEvent("busy", {{QStringLiteral("busy"), true}}));
    ask();
}

void Chat::restart() {
    if (reply_) {
        QNetworkReply* reply = reply_;
        reply_ = nullptr;
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
        emitEvent(chatEvent("busy", {{QStringLiteral("busy"), false}}));
    }
    messages_ = {};
}

void Chat::ask() {
    QNetworkRequest request(QUrl(settings_.url + QStringLiteral("/chat/completions")));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    if (!settings_.key.isEmpty()) request.setRawHeader("Authorization", "Bearer " + settings_.key.toUtf8());
    request.setTransferTimeout(settings_.timeoutSeconds * 1000);
    const QJsonObject body{{QStringLiteral("model"), settings_.model},
                           {QStringLiteral("messages"), messages_},
                           {QStringLiteral("tools"), toolDefinitions()},
                           {QStringLiteral("tool_choice"), QStringLiteral("auto")}};
    reply_ = network_.post(request, QJsonDocument(body).toJson(QJsonDocument::Compact));
    connect(reply_, &QNetworkReply::finished, this, [this, reply = reply_] { answered(reply); });
}

void Chat::finish(const QJsonObject& last) {
    emitEvent(last);
    emitEvent(chatEvent("busy", {{QStringLiteral("busy"), false}}));
}

void Chat::answered(QNetworkReply* reply) {
    reply->deleteLater();
    if (reply != reply_) return;
    reply_ = nullptr;
    const QByteArray body = reply->readAll();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->error() != QNetworkReply::NoError && status == 0)
        return finish(chatEvent(
            "error", {{QStringLiteral("text"), QStringLiteral("The model at %1 could not be reached: %2")
                                                   .arg(settings_.url, reply->errorString())}}));
    const QJsonObject answer = QJsonDocument::fromJson(body).object();
    if (status < 200 || status >= 300) {
        QString said = answer[QStringLiteral("error")][QStringLiteral("message")].toString();
        if (said.isEmpty()) said = QString::fromUtf8(body.left(400));
        return finish(chatEvent(
            "error", {{QStringLiteral("text"),
                       QStringLiteral("The model's endpoint answered %1: %2").arg(status).arg(said)}}));
    }
    const QJsonObject message = answer[QStringLiteral("choices")][0][QStringLiteral("message")].toObject();
    if (message.isEmpty())
        return finish(chatEvent(
            "error", {{QStringLiteral("text"), QStringLiteral("The model's answer has no message: %1")
                                                   .arg(QString::fromUtf8(body.left(400)))}}));
    // The model's turn goes back to it as it was, tool calls included, so that their results match.
    QJsonObject turn{{QStringLiteral("role"), QStringLiteral("assistant")},
                     {QStringLiteral("content"), message[QStringLiteral("content")]}};
    const QJsonArray calls = message[QStringLiteral("tool_calls")].toArray();
    if (!calls.isEmpty()) turn.insert(QStringLiteral("tool_calls"), calls);
    messages_.append(turn);
    const QString text = message[QStringLiteral("content")].toString();
    if (calls.isEmpty()) return finish(chatEvent("assistant", {{QStringLiteral("text"), text}}));
    if (!text.isEmpty()) emitEvent(chatEvent("assistant", {{QStringLiteral("text"), text}}));
    runToolCalls(calls);
    if (++rounds_ >= settings_.maxToolRounds)
        return finish(
            chatEvent("error", {{QStringLiteral("text"),
                                 QStringLiteral("Stopped after %1 rounds of tool calls; ask again to go on.")
                                     .arg(settings_.maxToolRounds)}}));
    ask();
}

void Chat::runToolCalls(const QJsonArray& calls) {
    for (const QJsonValue& call : calls) {
        const QString id = call[QStringLiteral("id")].toString();
        const QString name = call[QStringLiteral("function")][QStringLiteral("name")].toString();
        const QString argumentText = call[QStringLiteral("function")][QStringLiteral("arguments")].toString();
        QJsonParseError error;
        const QJsonDocument arguments = QJsonDocument::fromJson(
            argumentText.isEmpty() ? QByteArrayLiteral("{}") : argumentText.toUtf8(), &error);
        emitEvent(chatEvent("call", {{QStringLiteral("id"), id},
                                     {QStringLiteral("name"), name},
                                     {QStringLiteral("arguments"), argumentText}}));
        QString text;
        bool failed = true;
        const qint64 before = undoStep_();
        if (!offeredToChat(name) || !tools_.has(name)) {
            text = QStringLiteral("There is no tool named '%1'.").arg(name);
        } else if (error.error != QJsonParseError::NoError || !arguments.isObject()) {
            text = QStringLiteral("The arguments must be one JSON object: %1").arg(error.errorString());
        } else {
            const QJsonObject result =
                QJsonDocument::fromJson(tools_.call(name, arguments.object())).object();
            text = resultText(result);
            failed = result[QStringLiteral("isError")].toBool();
        }
        QJsonObject shown = chatEvent("result", {{QStringLiteral("id"), id},
                                                 {QStringLiteral("name"), name},
                                                 {QStringLiteral("text"), text},
                                                 {QStringLiteral("isError"), failed}});
        const qint64 after = undoStep_();
        shown.insert(QStringLiteral("changed"), after != before);
        if (after > before) shown.insert(QStringLiteral("since"), before);
        emitEvent(shown);
        messages_.append(QJsonObject{{QStringLiteral("role"), QStringLiteral("tool")},
                                     {QStringLiteral("tool_call_id"), id},
                                     {QStringLiteral("content"), text}});
    }
}

}  // namespace vela::cli::serve
