#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QString>
#include <mutex>
#include <optional>

namespace vela::bridge {

/// Where a bridge slot parks a request for the host command that answers it, and where the command leaves its
/// response. The command gets only the request's identifier as its input, like anything typed on a command
/// line. One instance per process; every operation holds the lock for its whole duration.
class RequestRegistry {
public:
    struct Request {
        QString identifier;
        QString requestText;
    };

    static RequestRegistry& instance();

    /// Parks a request under a new identifier (a random UUID in braces) and returns the identifier.
    QString AddRequest(const QString& requestText);
    /// The request, unchanged, or nothing when the identifier is unknown.
    std::optional<Request> FindRequest(const QString& identifier) const;
    /// Stores the response of a known request; an unknown identifier is ignored.
    void SetResponse(const QString& identifier, const QJsonObject& response);
    /// Stores the response as the compact JSON text of its object, for responses written as text.
    void SetResponseText(const QString& identifier, QByteArray responseText);
    /// Hands out the response of an answered request and forgets the request. An unanswered or unknown request
    /// gives nothing and stays as it is.
    std::optional<QJsonObject> TakeResponse(const QString& identifier);
    /// As TakeResponse, the response as its compact JSON text (as it was stored, or written from the object).
    std::optional<QByteArray> TakeResponseText(const QString& identifier);
    /// Number of parked requests (answered or not).
    int size() const;

private:
    struct Pending {
        QString requestText;
        QJsonObject response;
        QByteArray responseText;  // the response when it was given as text; then `response` is empty
        bool answered = false;
        bool asText = false;
    };
    /// The answered request's entry, taken out; nothing when there is none.
    std::optional<Pending> take(const QString& identifier);
    mutable std::mutex mutex_;
    QHash<QString, Pending> pending_;
};

}  // namespace vela::bridge
