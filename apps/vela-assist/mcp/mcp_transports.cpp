#include "mcp_transports.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtHttpServer/QHttpServerRequest>
#include <QtHttpServer/QHttpServerResponder>
#include <cstdio>
#include <iostream>
#include <string>

namespace vela::cli::mcp {

namespace {

QByteArray idKey(const QJsonValue& id) {
    return QJsonDocument(QJsonArray{id}).toJson(QJsonDocument::Compact);
}

void writeLine(const QJsonObject& message) {
    const QByteArray text = QJsonDocument(message).toJson(QJsonDocument::Compact);
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

}  // namespace

StdioTransport::StdioTransport(McpServer& server) : server_(server) {}

StdioTransport::~StdioTransport() {
    // The reader blocks in a read of standard input, which ended before the application quit.
    if (reader_.joinable()) reader_.join();
}

void StdioTransport::start() { reader_ = std::thread([this] { readLines(); }); }

void StdioTransport::readLines() {
    std::string line;
    while (std::getline(std::cin, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) continue;
        QByteArray text = QByteArray::fromStdString(line);
        std::lock_guard lock(mutex_);
        // Looked at here, not in turn: by its turn the request it cancels would have run.
        if (text.contains("notifications/cancelled")) {
            const QJsonObject o = QJsonDocument::fromJson(text).object();
            if (o.value(QStringLiteral("method")) == QJsonValue(QStringLiteral("notifications/cancelled")))
                cancelled_.insert(idKey(o.value(QStringLiteral("params")).toObject().value(QStringLiteral("requestId"))));
        }
        waiting_.push_back(std::move(text));
        QMetaObject::invokeMethod(this, &StdioTransport::answerWaiting, Qt::QueuedConnection);
    }
    std::lock_guard lock(mutex_);
    ended_ = true;
    QMetaObject::invokeMethod(this, &StdioTransport::answerWaiting, Qt::QueuedConnection);
}

void StdioTransport::answerWaiting() {
    for (;;) {
        QByteArray text;
        {
            std::lock_guard lock(mutex_);
            if (waiting_.empty()) {
                if (ended_) QCoreApplication::quit();
                return;
            }
            text = std::move(waiting_.front());
            waiting_.pop_front();
        }
        QJsonParseError error;
        const QJsonDocument doc = QJsonDocument::fromJson(text, &error);
        if (doc.isObject() && doc.object().contains(QStringLiteral("method"))) {
            const QJsonValue id = doc.object().value(QStringLiteral("id"));
            std::lock_guard lock(mutex_);
            if (!id.isUndefined() && cancelled_.erase(idKey(id))) continue;  // cancelled: no answer at all
        }
        const McpServer::Reply reply = error.error == QJsonParseError::NoError
                                           ? server_.handle(doc.isArray() ? QJsonValue(doc.array()) : QJsonValue(doc.object()))
                                           : server_.handleText(text);
        if (reply.message) writeLine(*reply.message);
    }
}

HttpTransport::HttpTransport(McpServer& server) : server_(server) {}

quint16 HttpTransport::start(quint16 port) {
    const quint16 bound = listen(QHostAddress::LocalHost, port);
    if (bound) guard_.emplace(bound);
    return bound;
}

bool HttpTransport::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    QHttpServerResponder responder = makeResponder(request, socket);
    const auto headers = request.headers();
    const QByteArray what = QVariant::fromValue(request.method()).toByteArray().toUpper() + ' ' + request.url().path().toUtf8();
    auto answer = [&](int status, const QJsonObject& body, QByteArray extraName = {}, QByteArray extraValue = {}) {
        const QByteArray text = QJsonDocument(body).toJson(QJsonDocument::Compact);
        const auto code = static_cast<QHttpServerResponder::StatusCode>(status);
        if (extraName.isEmpty())
            responder.write(text, {{"Content-Type", "application/json"}, {"Cache-Control", "no-store"}}, code);
        else
            responder.write(text, {{"Content-Type", "application/json"}, {"Cache-Control", "no-store"}, {extraName, extraValue}},
                            code);
    };
    auto refuse = [&](int status, const QByteArray& why, QByteArray extraName = {}, QByteArray extraValue = {}) {
        std::fprintf(stderr, "vela-assist mcp: refused %s (%d): %s\n", what.constData(), status, why.constData());
        answer(status, QJsonObject{{QStringLiteral("error"), QString::fromUtf8(why)}}, extraName, extraValue);
    };

    const AccessVerdict verdict = guard_->check(headers);
    if (!verdict.allowed())
        return refuse(verdict.status, verdict.reason, verdict.status == 401 ? "WWW-Authenticate" : QByteArray(),
                      verdict.status == 401 ? "Bearer" : QByteArray()),
               true;
    if (request.url().path() != QLatin1String("/mcp")) return refuse(404, "the MCP endpoint is /mcp"), true;
    if (request.method() != QHttpServerRequest::Method::Post)
        return refuse(405, "the endpoint takes each message as a POST; it offers no event stream", "Allow", "POST"), true;
    const QByteArray type = LocalAccessGuard::header(headers, "Content-Type");
    if (!type.isEmpty() && !type.startsWith("application/json"))
        return refuse(415, "messages are JSON: Content-Type: application/json"), true;

    const HttpHeaders http{LocalAccessGuard::header(headers, "MCP-Protocol-Version"),
                           LocalAccessGuard::header(headers, "Mcp-Method")};
    const McpServer::Reply reply = server_.handleText(request.body(), &http);
    if (!reply.message) {
        responder.write(static_cast<QHttpServerResponder::StatusCode>(reply.httpStatus));
        return true;
    }
    answer(reply.httpStatus, *reply.message);
    return true;
}

void HttpTransport::missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) {
    makeResponder(request, socket).write(QHttpServerResponder::StatusCode::NotFound);
}

}  // namespace vela::cli::mcp
