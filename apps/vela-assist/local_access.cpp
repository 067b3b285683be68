#include "local_access.h"

#include <QRandomGenerator>

namespace vela::cli {

namespace {

// Compares without stopping at the first difference, so that the time taken tells nothing about the token.
bool sameSecret(const QByteArray& a, const QByteArray& b) {
    if (a.size() != b.size()) return false;
    unsigned char diff = 0;
    for (qsizetype i = 0; i < a.size(); ++i) diff |= static_cast<unsigned char>(a[i] ^ b[i]);
    return diff == 0;
}

const QByteArray kLoopbackNames[] = {"127.0.0.1", "localhost", "[::1]"};

}  // namespace

LocalAccessGuard::LocalAccessGuard(quint16 port, QByteArray token) : port_(port), token_(std::move(token)) {}

QByteArray LocalAccessGuard::newToken() {
    QByteArray bytes(32, '\0');
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(bytes.data()), bytes.size() / 4);
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray LocalAccessGuard::header(const Headers& headers, const QByteArray& name) {
    for (const auto& [key, value] : headers)
        if (key.compare(name, Qt::CaseInsensitive) == 0) return value.trimmed();
    return {};
}

bool LocalAccessGuard::isOwnHost(const QByteArray& host) const {
    const QByteArray port = ':' + QByteArray::number(port_);
    for (const QByteArray& name : kLoopbackNames)
        if (host.compare(name + port, Qt::CaseInsensitive) == 0) return true;
    return false;
}

bool LocalAccessGuard::isOwnOrigin(const QByteArray& origin) const {
    const QByteArray port = ':' + QByteArray::number(port_);
    for (const QByteArray& name : kLoopbackNames)
        if (origin.compare("http://" + name + port, Qt::CaseInsensitive) == 0) return true;
    return false;
}

AccessVerdict LocalAccessGuard::check(const Headers& headers, const QByteArray& queryToken) const {
    const QByteArray host = header(headers, "Host");
    if (!isOwnHost(host))
        return {403, "the Host header must name this server (127.0.0.1:" + QByteArray::number(port_) +
                         "), not '" + host.left(200) + "'"};
    // Programs send no Origin; browsers send one with every request a page makes to another site.
    const QByteArray origin = header(headers, "Origin");
    if (!origin.isEmpty() && !isOwnOrigin(origin))
        return {403, "requests from the web page at '" + origin.left(200) + "' are refused"};
    const QByteArray authorization = header(headers, "Authorization");
    QByteArray given = queryToken;
    if (authorization.size() > 7 && authorization.left(7).compare("Bearer ", Qt::CaseInsensitive) == 0)
        given = authorization.mid(7).trimmed();
    if (given.isEmpty())
        return {401,
                "a token is required: 'Authorization: Bearer TOKEN' with the token printed at the start"};
    if (!sameSecret(given, token_)) return {401, "the token is not this server's"};
    return {};
}

}  // namespace vela::cli
