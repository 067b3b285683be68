#include "web_socket_transport.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace vela::cli::serve {

WebSocketTransport::WebSocketTransport(std::unique_ptr<QWebSocket> socket, std::function<void()> handled,
                                       std::function<void(const QByteArray&)> log)
    : socket_(std::move(socket)), handled_(std::move(handled)), log_(std::move(log)) {
    connect(socket_.get(), &QWebSocket::textMessageReceived, this, &WebSocketTransport::received);
    connect(socket_.get(), &QWebSocket::binaryMessageReceived, this, [this](const QByteArray&) {
        log_("dropped a binary WebSocket message: the web channel speaks JSON text");
    });
    connect(socket_.get(), &QWebSocket::disconnected, this, &WebSocketTransport::closed);
}

WebSocketTransport::~WebSocketTransport() {
    socket_->disconnect(this);
}

void WebSocketTransport::sendMessage(const QJsonObject& message) {
    if (socket_->state() != QAbstractSocket::ConnectedState) return;
    socket_->sendTextMessage(QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact)));
}

void WebSocketTransport::received(const QString& text) {
    QJsonParseError error;
    const QJsonDocument message = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !message.isObject()) {
        log_("dropped a WebSocket message that is not a JSON object (" + error.errorString().toUtf8() + ")");
        return;
    }
    emit messageReceived(message.object(), this);
    if (handled_) handled_();
}

}  // namespace vela::cli::serve
