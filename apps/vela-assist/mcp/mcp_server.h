#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace vela::cli {
class Session;
}

namespace vela::cli::mcp {

class DrawingTools;

struct ServerOptions {
    /// The folder whose files the tools may open and save (absolute, symbolic links resolved).
    QString root;
    /// Larger requests are refused before they are read as JSON.
    qsizetype maxRequestBytes = qsizetype(32) << 20;
    /// A tool's answer beyond this is refused with advice to ask for less: a model cannot read more anyway.
    qsizetype maxAnswerBytes = qsizetype(8) << 20;
};

/// Protocol revisions: the two of 2025, with their `initialize` handshake, and the stateless one of 2026,
/// where every request carries its revision in `_meta`.
inline constexpr const char* kStatelessRevision = "2026-07-28";
inline constexpr const char* kLatestHandshakeRevision = "2025-11-25";

/// What an HTTP request said about itself in headers, cross-checked against its body.
struct HttpHeaders {
    QByteArray protocolVersion;  // MCP-Protocol-Version
    QByteArray method;           // Mcp-Method
};

/// The Model Context Protocol over JSON-RPC 2.0, apart from any transport: one message in, at most one out.
/// Every tool works on the session's active drawing on the calling (the host's main) thread.
class McpServer {
  public:
    McpServer(Session& session, ServerOptions options);
    ~McpServer();
    McpServer(const McpServer&) = delete;
    McpServer& operator=(const McpServer&) = delete;

    struct Reply {
        QByteArray message;    // compact JSON; empty for notifications and the client's responses
        int httpStatus = 200;  // what the HTTP transport answers with
    };

    /// One message as received: a line of stdio or the body of a POST (`http` set).
    Reply handleText(const QByteArray& text, const HttpHeaders* http = nullptr);
    Reply handle(const QJsonValue& message, const HttpHeaders* http = nullptr);

    /// Where notifications go while a request runs (progress of long work, for a client that asked with a
    /// progress token); unset over HTTP, where each answer is one JSON body.
    void setNotifier(std::function<void(const QByteArray&)> send) { notify_ = std::move(send); }

    DrawingTools& tools() { return *tools_; }
    const ServerOptions& options() const { return options_; }

  private:
    struct Call;
    QByteArray dispatch(Call& call);
    QJsonObject dispatchObject(Call& call);
    QJsonObject initialize(const Call& call);
    QJsonObject discover() const;
    QJsonObject readResource(const Call& call);
    QJsonObject getPrompt(const Call& call);
    QString instructions() const;

    Session& session_;
    ServerOptions options_;
    std::unique_ptr<DrawingTools> tools_;
    std::function<void(const QByteArray&)> notify_;
};

/// Compact JSON text of an object, and of any one value (a request id: a number or a string).
QByteArray jsonText(const QJsonObject& object);
QByteArray jsonText(const QJsonValue& value);

/// JSON-RPC and MCP error codes.
namespace errors {
inline constexpr int kParse = -32700;
inline constexpr int kInvalidRequest = -32600;
inline constexpr int kMethodNotFound = -32601;
inline constexpr int kInvalidParams = -32602;
inline constexpr int kResourceNotFound = -32002;  // before 2026; then invalid params
inline constexpr int kHeaderMismatch = -32020;
inline constexpr int kUnsupportedRevision = -32022;
}  // namespace errors

}  // namespace vela::cli::mcp
