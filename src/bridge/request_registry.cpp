#include "bridge/request_registry.h"

#include <QJsonDocument>
#include <QUuid>

namespace vela::bridge {

RequestRegistry& RequestRegistry::instance() {
    static RequestRegistry registry;
    return registry;
}

QString RequestRegistry::AddRequest(const QString& requestText) {
    std::lock_guard lock(mutex_);
    QString identifier;
    do {
        identifier = QUuid::createUuid().toString();
    } while (pending_.contains(identifier));
    pending_.insert(identifier, Pending{requestText, {}, {}, false, false});
    return identifier;
}

std::optional<RequestRegistry::Request> RequestRegistry::FindRequest(const QString& identifier) const {
    std::lock_guard lock(mutex_);
    auto it = pending_.constFind(identifier);
    if (it == pending_.constEnd()) return std::nullopt;
    return Request{identifier, it->requestText};
}

void RequestRegistry::SetResponse(const QString& identifier, const QJsonObject& response) {
    std::lock_guard lock(mutex_);
    auto it = pending_.find(identifier);
    if (it == pending_.end()) return;
    it->response = response;
    it->answered = true;
}

void RequestRegistry::SetResponseText(const QString& identifier, QByteArray responseText) {
    std::lock_guard lock(mutex_);
    auto it = pending_.find(identifier);
    if (it == pending_.end()) return;
    it->response = QJsonObject();
    it->responseText = std::move(responseText);
    it->answered = it->asText = true;
}

std::optional<RequestRegistry::Pending> RequestRegistry::take(const QString& identifier) {
    std::lock_guard lock(mutex_);
    auto it = pending_.find(identifier);
    if (it == pending_.end() || !it->answered) return std::nullopt;
    Pending entry = std::move(*it);
    pending_.erase(it);
    return entry;
}

std::optional<QJsonObject> RequestRegistry::TakeResponse(const QString& identifier) {
    std::optional<Pending> entry = take(identifier);
    if (!entry) return std::nullopt;
    if (entry->asText) return QJsonDocument::fromJson(entry->responseText).object();
    return std::move(entry->response);
}

std::optional<QByteArray> RequestRegistry::TakeResponseText(const QString& identifier) {
    std::optional<Pending> entry = take(identifier);
    if (!entry) return std::nullopt;
    if (entry->asText) return std::move(entry->responseText);
    return QJsonDocument(entry->response).toJson(QJsonDocument::Compact);
}

int RequestRegistry::size() const {
    std::lock_guard lock(mutex_);
    return static_cast<int>(pending_.size());
}

}  // namespace vela::bridge
