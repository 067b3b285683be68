#include "local_access.h"

#include <sys/socket.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>
#include <QtHttpServer/QHttpServerRequest>
#include <QtHttpServer/QHttpServerResponse>
#include <cstdio>

namespace vela::cli {

namespace {

// Compares without stopping at the first difference, so that the time taken tells nothing about the token.
bool sameSecret(const QByteArray& a, const QByteArray& b) {
    if (a.size() != b.size()) return false;
    unsigned char diff = 0;
    for (qsizetype i = 0; i < a.size(); ++i) diff |= static_cast<unsigned char>(a[i] ^ b[i]);
    return diff == 0;
}

const QByteArray kLoopbackNames[] = {"127.0.0.1", "localhost", "[::1]"};

}  // namespace

LocalAccessGuard::LocalAccessGuard(quint16 port, QByteArray token, QByteArray listenHost)
    : port_(port), token_(std::move(token)), listenHost_(std::move(listenHost)) {}

QByteArray LocalAccessGuard::newToken() {
    QByteArray bytes(32, '\0');
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(bytes.data()), bytes.size() / 4);
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray LocalAccessGuard::header(const Headers& headers, const QByteArray& name) {
    for (const auto& [key, value] : headers)
        if (key.compare(name, Qt::CaseInsensitive) == 0) return value.trimmed();
    return {};
}

bool LocalAccessGuard::isOwnHost(const QByteArray& host) const {
    const QByteArray port = ':' + QByteArray::number(port_);
    for (const QByteArray& name : kLoopbackNames)
        if (host.compare(name + port, Qt::CaseInsensitive) == 0) return true;
    return !listenHost_.isEmpty() && host.compare(listenHost_ + port, Qt::CaseInsensitive) == 0;
}

bool LocalAccessGuard::isOwnOrigin(const QByteArray& origin) const {
    return origin.startsWith("http://") && isOwnHost(origin.mid(7));
}

AccessVerdict LocalAccessGuard::check(const Headers& headers, const QByteArray& queryToken) const {
    const QByteArray host = header(headers, "Host");
    if (!isOwnHost(host))
        return {403, "the Host header must name this server (127.0.0.1:" + QByteArray::number(port_) +
                         "), not '" + host.left(200) + "'"};
    // Programs send no Origin; browsers send one with every request a page makes to another site.
    const QByteArray origin = header(headers, "Origin");
    if (!origin.isEmpty() && !isOwnOrigin(origin))
        return {403, "requests from the web page at '" + origin.left(200) + "' are refused"};
    const QByteArray authorization = header(headers, "Authorization");
    QByteArray given = queryToken;
    if (authorization.size() > 7 && authorization.left(7).compare("Bearer ", Qt::CaseInsensitive) == 0)
        given = authorization.mid(7).trimmed();
    if (given.isEmpty())
        return {401,
                "a token is required: 'Authorization: Bearer TOKEN' with the token printed at the start"};
    if (!sameSecret(given, token_)) return {401, "the token is not this server's"};
    return {};
}

namespace {

// "GET /path" of a request, for log lines, with the token (and anything in its place) left out.
QByteArray describe(const QHttpServerRequest& request, const QByteArray& token) {
    // Tokens travel in page addresses; neither this server's nor a guess at it goes into a log.
    static const QRegularExpression session(QStringLiteral("^/session/[^/]*"));
    QString path = request.url().path();
    if (!token.isEmpty()) path.replace(QString::fromUtf8(token), QStringLiteral("..."));
    path.replace(session, QStringLiteral("/session/..."));
    return QVariant::fromValue(request.method()).toByteArray().toUpper() + ' ' + path.left(200).toUtf8();
}

QByteArray refusalBody(const QByteArray& why) {
    return QJsonDocument(QJsonObject{{QStringLiteral("error"), QString::fromUtf8(why)}})
        .toJson(QJsonDocument::Compact);
}

// A refusal written straight onto a connection whose request is not read whole (too large to be). The rest
// of what the client sends is read and dropped for a moment, so that the refusal arrives instead of a reset.
void refuseRaw(QTcpSocket* socket, int status, const char* reason, const QByteArray& why) {
    QObject::disconnect(socket, &QTcpSocket::readyRead, nullptr, nullptr);
    const QByteArray body = refusalBody(why);
    socket->write("HTTP/1.1 " + QByteArray::number(status) + ' ' + reason +
                  "\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: " +
                  QByteArray::number(body.size()) + "\r\n\r\n" + body);
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket] { socket->readAll(); });
    QObject::connect(socket, &QTcpSocket::bytesWritten, socket, [socket] {
        if (socket->bytesToWrite() == 0) ::shutdown(static_cast<int>(socket->socketDescriptor()), SHUT_WR);
    });
    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    QTimer::singleShot(2000, socket, [socket] { socket->abort(); });
}

// The length a request's head announces for its body, once the whole head has arrived.
std::optional<qint64> announcedLength(const QByteArray& head) {
    static const QRegularExpression length(QStringLiteral("\\r\\ncontent-length:[ \\t]*([0-9]{1,18})"),
                                           QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = length.match(QString::fromLatin1(head));
    if (!m.hasMatch()) return std::nullopt;
    return m.captured(1).toLongLong();
}

constexpr qsizetype kMaxHeadBytes = 64 * 1024;

}  // namespace

/// How much of the request now arriving on a connection has come: Qt's server reads each piece as it
/// arrives, so the sizes are counted here, piece by piece, before it does.
class RequestMeter : public QObject {
  public:
    static constexpr const char* kName = "vela-request-meter";
    explicit RequestMeter(QObject* socket) : QObject(socket) { setObjectName(QLatin1String(kName)); }
    static RequestMeter* of(QTcpSocket* socket) {
        return static_cast<RequestMeter*>(
            socket->findChild<QObject*>(QLatin1String(kName), Qt::FindDirectChildrenOnly));
    }
    void reset() { received = 0, headDone = false, tail.clear(); }
    qint64 received = 0;
    bool headDone = false;
    QByteArray tail;  // the last bytes of the head so far, for an end split between pieces
};

/// Accepts connections for the HTTP server, after counting them and with a meter on each: Qt's server takes
/// a request in whole, body included, before anyone can look at it.
class LocalHttpServer::Listener : public QTcpServer {
  public:
    Listener(const LocalHttpServer& server) : server_(server) {}

  protected:
    void incomingConnection(qintptr descriptor) override {
        auto* socket = new QTcpSocket(this);
        if (!socket->setSocketDescriptor(descriptor)) {
            delete socket;
            return;
        }
        const int open = openConnections();
        if (open >= server_.limits_.maxConnections) {
            server_.log("refused a connection (503): " + QByteArray::number(open) + " are open already");
            refuseRaw(socket, 503, "Service Unavailable", "too many connections are open");
            return;
        }
        sockets_.emplace_back(socket);
        auto* meter = new RequestMeter(socket);
        // Connected before the server's own reader, so it counts first; a WebSocket, once accepted, is
        // disconnected from both and keeps to its own limits.
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, meter] { watch(socket, *meter); });
        addPendingConnection(socket);
    }

  private:
    // Connections still open. A connection taken over by a WebSocket loses every signal connection on the
    // way, so they are counted by looking, not by being told.
    int openConnections() {
        std::erase_if(sockets_, [](const QPointer<QTcpSocket>& s) {
            return !s || s->state() == QAbstractSocket::UnconnectedState;
        });
        return static_cast<int>(sockets_.size());
    }

    void watch(QTcpSocket* socket, RequestMeter& meter) {
        const qint64 waiting = socket->bytesAvailable();
        const qint64 limit = server_.limits_.maxRequestBytes;
        std::optional<qint64> announced;
        if (!meter.headDone) {
            const QByteArray piece = socket->peek(std::min<qint64>(waiting, kMaxHeadBytes + 4));
            const QByteArray seen = meter.tail + piece;
            const qsizetype end = seen.indexOf("\r\n\r\n");
            if (end >= 0) {
                meter.headDone = true;
                // The end may come in a later piece than the limit was passed in: the head is measured whole.
                // `seen` starts with the tail, which was counted with the piece before.
                const qint64 headBytes = meter.received - meter.tail.size() + end + 4;
                if (headBytes > kMaxHeadBytes) {
                    refuseHead(socket);
                    return;
                }
                // A head that came in one piece tells the body's length before the body comes.
                if (meter.received == 0) {
                    announced = announcedLength(piece.left(end + 2));
                    if (announced) *announced += end + 4;
                }
            } else {
                meter.tail = seen.right(3);
            }
        }
        meter.received += waiting;
        if (!meter.headDone && meter.received > kMaxHeadBytes) {
            refuseHead(socket);
        } else if (meter.received > limit || (announced && *announced > limit)) {
            const QByteArray why =
                "the request is larger than the " + QByteArray::number(limit) + " bytes this server takes";
            server_.log("refused a request (413): " + why);
            refuseRaw(socket, 413, "Content Too Large", why);
        }
    }

    void refuseHead(QTcpSocket* socket) {
        const QByteArray why =
            "the request's head is longer than " + QByteArray::number(kMaxHeadBytes) + " bytes";
        server_.log("refused a request (431): " + why);
        refuseRaw(socket, 431, "Request Header Fields Too Large", why);
    }

    const LocalHttpServer& server_;
    std::vector<QPointer<QTcpSocket>> sockets_;
};

LocalHttpServer::LocalHttpServer(QByteArray logName, LocalServerLimits limits)
    : logName_(std::move(logName)), limits_(limits) {}

LocalHttpServer::~LocalHttpServer() = default;

quint16 LocalHttpServer::start(const QHostAddress& address, quint16 port, QString* why) {
    listener_ = new Listener(*this);
    listener_->setParent(this);
    if (!listener_->listen(address, port)) {
        if (why) *why = listener_->errorString();
        delete listener_;
        listener_ = nullptr;
        return 0;
    }
    bind(listener_);
    const quint16 bound = listener_->serverPort();
    guard_.emplace(bound, LocalAccessGuard::newToken(),
                   address.isLoopback() ? QByteArray() : address.toString().toUtf8());
    return bound;
}

QByteArray LocalHttpServer::origin() const {
    const QHostAddress address = listener_ ? listener_->serverAddress() : QHostAddress();
    const QByteArray host = address.isLoopback() || address == QHostAddress::Any ||
                                    address == QHostAddress::AnyIPv6 || address.isNull()
                                ? QByteArray("127.0.0.1")
                                : address.toString().toUtf8();
    return "http://" + host + ':' + QByteArray::number(guard_ ? guard_->port() : 0);
}

void LocalHttpServer::log(const QByteArray& line) const {
    std::fprintf(stderr, "%s: %s\n", logName_.constData(), line.constData());
    std::fflush(stderr);
}

void LocalHttpServer::refuse(const QHttpServerRequest& request, QHttpServerResponder& responder, int status,
                             const QByteArray& why, const Headers& extra) const {
    log("refused " + describe(request, guard_ ? guard_->token() : QByteArray()) + " (" +
        QByteArray::number(status) + "): " + why);
    QHttpServerResponse response("application/json", refusalBody(why),
                                 static_cast<QHttpServerResponse::StatusCode>(status));
    response.addHeader("Cache-Control", "no-store");
    for (const auto& [name, value] : extra) response.addHeader(name, value);
    response.write(std::move(responder));
}

void LocalHttpServer::refuseAccess(const QHttpServerRequest& request, QHttpServerResponder& responder,
                                   const AccessVerdict& verdict) const {
    Headers extra;
    if (verdict.status == 401) extra.append(qMakePair(QByteArray("WWW-Authenticate"), QByteArray("Bearer")));
    refuse(request, responder, verdict.status, verdict.reason, extra);
}

bool LocalHttpServer::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    // The request has come whole: the next one on this connection is counted afresh.
    if (RequestMeter* meter = RequestMeter::of(socket)) meter->reset();
    return handleLocalRequest(request, socket);
}

void LocalHttpServer::missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) {
    // A refused WebSocket handshake comes here after its refusal was written.
    if (socket->property("vela.answered").toBool()) return;
    QHttpServerResponder responder = makeResponder(request, socket);
    refuse(request, responder, 404, "nothing is here");
}

}  // namespace vela::cli
