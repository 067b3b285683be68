#include "bridge/request_registry.h"

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
    pending_.insert(identifier, Pending{requestText, QJsonObject(), false});
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

std::optional<QJsonObject> RequestRegistry::TakeResponse(const QString& identifier) {
    std::lock_guard lock(mutex_);
    auto it = pending_.find(identifier);
    if (it == pending_.end() || !it->answered) return std::nullopt;
    QJsonObject response = std::move(it->response);
    pending_.erase(it);
    return response;
}

int RequestRegistry::size() const {
    std::lock_guard lock(mutex_);
    return static_cast<int>(pending_.size());
}

}  // namespace vela::bridge
