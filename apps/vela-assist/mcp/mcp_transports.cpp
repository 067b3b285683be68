#include "mcp_transports.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtHttpServer/QHttpServerRequest>
#include <QtHttpServer/QHttpServerResponder>
#include <QtHttpServer/QHttpServerResponse>
#include <cstdio>

namespace vela::cli::mcp {

namespace {

void writeLine(const QByteArray& text) {
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

}  // namespace

StdioTransport::StdioTransport(McpServer& server) : server_(server) {}

StdioTransport::~StdioTransport() = default;

void StdioTransport::start() {
    server_.setNotifier(writeLine);
    notifier_ = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &StdioTransport::readAvailable);
}

void StdioTransport::readAvailable() {
    // As much as the pipe holds now, read without waiting: the notifier said something is there.
    int available = 0;
    if (::ioctl(STDIN_FILENO, FIONREAD, &available) != 0 || available <= 0) available = 1 << 16;
    QByteArray chunk(available, Qt::Uninitialized);
    const ssize_t got = ::read(STDIN_FILENO, chunk.data(), static_cast<std::size_t>(available));
    const bool ended = got <= 0;
    if (!ended) partial_.append(chunk.constData(), got);
    QList<QByteArray> lines = partial_.split('\n');
    partial_ = ended ? QByteArray() : lines.takeLast();
    if (ended) notifier_->setEnabled(false);
    // Cancellations first: by its turn, the request a later line cancels would already have run.
    for (const QByteArray& line : lines)
        if (line.contains("notifications/cancelled")) {
            const QJsonObject o = QJsonDocument::fromJson(line).object();
            if (o.value(QStringLiteral("method")) == QJsonValue(QStringLiteral("notifications/cancelled")))
                cancelled_.insert(jsonText(
                    o.value(QStringLiteral("params")).toObject().value(QStringLiteral("requestId"))));
        }
    for (const QByteArray& line : lines) answer(line.endsWith('\r') ? line.chopped(1) : line);
    if (ended) QCoreApplication::quit();
}

void StdioTransport::answer(const QByteArray& line) {
    if (line.trimmed().isEmpty()) return;
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(line, &error);
    if (doc.isObject() && doc.object().contains(QStringLiteral("method"))) {
        const QJsonValue id = doc.object().value(QStringLiteral("id"));
        if (!id.isUndefined() && cancelled_.erase(jsonText(id))) return;  // cancelled: no answer at all
    }
    const McpServer::Reply reply =
        error.error == QJsonParseError::NoError
            ? server_.handle(doc.isArray() ? QJsonValue(doc.array()) : QJsonValue(doc.object()))
            : server_.handleText(line);
    if (!reply.message.isEmpty()) writeLine(reply.message);
}

HttpTransport::HttpTransport(McpServer& server)
    // Messages a little over the server's own limit still reach it, to be answered in JSON-RPC; far larger
    // ones are refused before they are read.
    : LocalHttpServer("vela-assist mcp", {.maxRequestBytes = 2 * server.options().maxRequestBytes}),
      server_(server) {}

bool HttpTransport::handleLocalRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    QHttpServerResponder responder = makeResponder(request, socket);
    const auto headers = request.headers();
    const AccessVerdict verdict = guard().check(headers);
    if (!verdict.allowed()) return refuseAccess(request, responder, verdict), true;
    if (request.url().path() != QLatin1String("/mcp"))
        return refuse(request, responder, 404, "the MCP endpoint is /mcp"), true;
    if (request.method() != QHttpServerRequest::Method::Post)
        return refuse(request, responder, 405,
                      "the endpoint takes each message as a POST; it offers no event stream",
                      {{"Allow", "POST"}}),
               true;
    const QByteArray type = LocalAccessGuard::header(headers, "Content-Type");
    if (!type.isEmpty() && !type.startsWith("application/json"))
        return refuse(request, responder, 415, "messages are JSON: Content-Type: application/json"), true;

    const HttpHeaders http{LocalAccessGuard::header(headers, "MCP-Protocol-Version"),
                           LocalAccessGuard::header(headers, "Mcp-Method")};
    const McpServer::Reply reply = server_.handleText(request.body(), &http);
    if (reply.message.isEmpty()) {
        responder.write(static_cast<QHttpServerResponder::StatusCode>(reply.httpStatus));
        return true;
    }
    QHttpServerResponse response("application/json", reply.message,
                                 static_cast<QHttpServerResponse::StatusCode>(reply.httpStatus));
    response.addHeader("Cache-Control", "no-store");
    response.write(std::move(responder));
    return true;
}

}  // namespace vela::cli::mcp
