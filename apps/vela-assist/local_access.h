#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QPair>
#include <QTcpServer>
#include <QtHttpServer/QAbstractHttpServer>
#include <QtHttpServer/QHttpServerResponder>
#include <optional>

namespace vela::cli {

/// Whether a request may reach a server of ours on this machine, and if not, the HTTP status and why.
struct AccessVerdict {
    int status = 0;  // 0: allowed
    QByteArray reason;
    bool allowed() const { return status == 0; }
};

/// The door of a local server: every web page the user visits can send requests to 127.0.0.1, and a page of a
/// name that its owner points at 127.0.0.1 (DNS rebinding) even reads the answers. So a request must name
/// this server in its Host header, come from no page or from the server's own pages (Origin), and carry the
/// token this start of the server made and printed for its user.
class LocalAccessGuard {
  public:
    using Headers = QList<QPair<QByteArray, QByteArray>>;

    /// `listenHost`: the address the server listens on when it is not a loopback one (its user asked for it);
    /// requests may then name it too.
    explicit LocalAccessGuard(quint16 port, QByteArray token = newToken(), QByteArray listenHost = {});

    /// 32 random bytes from the system's generator, as base64url text.
    static QByteArray newToken();

    const QByteArray& token() const { return token_; }
    quint16 port() const { return port_; }

    /// Checks the Host and Origin headers and the token: "Authorization: Bearer TOKEN", or `queryToken` (for
    /// a browser's first page load and its WebSocket, which cannot set headers).
    AccessVerdict check(const Headers& headers, const QByteArray& queryToken = {}) const;

    /// The value of a header, case-insensitively; empty when it is absent.
    static QByteArray header(const Headers& headers, const QByteArray& name);

  private:
    bool isOwnHost(const QByteArray& host) const;
    bool isOwnOrigin(const QByteArray& origin) const;

    quint16 port_;
    QByteArray token_;
    QByteArray listenHost_;
};

/// How much a local server takes in before it refuses.
struct LocalServerLimits {
    /// One HTTP request, head and body, as it arrives (WebSocket connections have limits of their own).
    qsizetype maxRequestBytes = qsizetype(1) << 20;
    /// Connections open at once; more are answered 503 and closed.
    int maxConnections = 128;
};

/// An HTTP server on this machine, for the pages and programs of its user alone: it listens on loopback
/// unless told otherwise, makes a fresh token at every start, refuses requests the local access guard does
/// not let in, and refuses requests larger than its limit before they are read whole. Every refusal is an
/// HTTP status with a JSON reason, and one line on standard error.
class LocalHttpServer : public QAbstractHttpServer {
  public:
    using Headers = LocalAccessGuard::Headers;
    /// `logName` starts each log line ("vela-assist mcp").
    LocalHttpServer(QByteArray logName, LocalServerLimits limits);
    ~LocalHttpServer() override;

    /// Listens on `address` (`port` 0: any free port); the port, or 0 (with the system's reason in `why`).
    quint16 start(const QHostAddress& address, quint16 port, QString* why = nullptr);
    const LocalAccessGuard& guard() const { return *guard_; }
    /// "http://HOST:PORT" of the server as its user reaches it.
    QByteArray origin() const;

  protected:
    /// Writes a refusal: the status, {"error": why}, a log line naming the request.
    void refuse(const QHttpServerRequest& request, QHttpServerResponder& responder, int status,
                const QByteArray& why, const Headers& extra = {}) const;
    void refuseAccess(const QHttpServerRequest& request, QHttpServerResponder& responder,
                      const AccessVerdict& verdict) const;
    void log(const QByteArray& line) const;
    /// A request that has come whole (within the limits); true when it was answered, false to let Qt answer
    /// (a WebSocket handshake is accepted by returning true without an answer).
    virtual bool handleLocalRequest(const QHttpServerRequest& request, QTcpSocket* socket) = 0;
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) final;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

  private:
    class Listener;
    QByteArray logName_;
    LocalServerLimits limits_;
    Listener* listener_ = nullptr;
    std::optional<LocalAccessGuard> guard_;
};

}  // namespace vela::cli
