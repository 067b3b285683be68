#pragma once

#include <QWebChannel>
#include <memory>
#include <vector>

#include "local_access.h"
#include "serve_settings.h"

namespace vela::cli {
class Session;
}

namespace vela::cli::serve {

class PageHost;

/// `vela-assist serve`: the assistant page and everything it talks to, for one user on this machine. Under
/// /session/TOKEN/ it serves the page and its scripts, pictures of the drawing (picture.png, picture.svg),
/// the drawing as a DXF file (drawing.dxf), and at ws the web channel that carries the bridge
/// ("VelaAssistantAPI") and the page's host ("VelaHost"). Every slot runs on this thread, one call answered
/// before the next.
class AssistantServer : public LocalHttpServer {
    Q_OBJECT
  public:
    AssistantServer(Session& session, const ServeSettings& settings);
    ~AssistantServer() override;

    /// The page's base address: "http://HOST:PORT/session/TOKEN" (after start).
    QString pageBase() const;

    static constexpr qint64 kMaxMessageBytes = qint64(64) << 20;  // one web channel message
    static constexpr int kMaxPagePixels = 4096 * 4096;            // one picture

  protected:
    bool handleLocalRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;

  private:
    void acceptWebSockets();
    void servePicture(const QHttpServerRequest& request, QHttpServerResponder& responder, bool svg);
    void serveDrawing(const QHttpServerRequest& request, QHttpServerResponder& responder);
    void serveAsset(const QHttpServerRequest& request, QHttpServerResponder& responder, const QString& name);

    Session& session_;
    QWebChannel channel_;
    std::unique_ptr<PageHost> host_;
    int webSockets_ = 0;
};

}  // namespace vela::cli::serve
