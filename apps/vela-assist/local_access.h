#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

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

    explicit LocalAccessGuard(quint16 port, QByteArray token = newToken());

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
};

}  // namespace vela::cli
