#pragma once

#include <QWebChannelAbstractTransport>
#include <QWebSocket>
#include <functional>
#include <memory>

namespace vela::cli::serve {

/// Carries a web channel over one WebSocket: each text message is one JSON object of the channel's protocol.
/// Messages that are not JSON objects are dropped with a log line; the connection stays.
class WebSocketTransport : public QWebChannelAbstractTransport {
    Q_OBJECT
  public:
    /// `handled` runs after each message the channel has dealt with (the answer is sent by then).
    WebSocketTransport(std::unique_ptr<QWebSocket> socket, std::function<void()> handled,
                       std::function<void(const QByteArray&)> log);
    ~WebSocketTransport() override;

    void sendMessage(const QJsonObject& message) override;

  signals:
    void closed();

  private:
    void received(const QString& text);

    std::unique_ptr<QWebSocket> socket_;
    std::function<void()> handled_;
    std::function<void(const QByteArray&)> log_;
};

}  // namespace vela::cli::serve
