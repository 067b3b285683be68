#pragma once

#include <QSocketNotifier>
#include <QtHttpServer/QAbstractHttpServer>
#include <set>

#include "local_access.h"
#include "mcp_server.h"

namespace vela::cli::mcp {

/// Newline-delimited JSON-RPC on standard input and output, read on the host's thread whenever input arrives.
/// All that has arrived is read before any of it is answered, so that a request cancelled while it waited
/// behind a long one is dropped. Standard output carries nothing but protocol.
class StdioTransport : public QObject {
    Q_OBJECT
  public:
    explicit StdioTransport(McpServer& server);
    ~StdioTransport() override;
    /// Starts reading; the application quits when standard input ends and every request is answered.
    void start();

  private:
    void readAvailable();
    void answer(const QByteArray& line);

    McpServer& server_;
    QSocketNotifier* notifier_ = nullptr;
    QByteArray partial_;              // the start of a line still arriving
    std::set<QByteArray> cancelled_;  // ids (as compact JSON) of requests cancelled before their turn
};

/// Streamable HTTP: one endpoint, /mcp, taking each JSON-RPC message as a POST and answering it as JSON
/// (202 for notifications). No sessions: the drawing is the server's one state. Listens on loopback only and
/// lets in only requests that pass the local access guard.
class HttpTransport : public LocalHttpServer {
  public:
    explicit HttpTransport(McpServer& server);

  protected:
    bool handleLocalRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;

  private:
    McpServer& server_;
};

}  // namespace vela::cli::mcp
