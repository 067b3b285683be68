#include "local_access.h"

#include <gtest/gtest.h>

namespace vela::cli {
namespace {

using Headers = LocalAccessGuard::Headers;

Headers with(Headers headers) {
    headers.append(qMakePair(QByteArray("Authorization"), QByteArray("Bearer secret")));
    return headers;
}

TEST(LocalAccessGuard, LetsInOnlyItsOwnHostOriginsAndToken) {
    const LocalAccessGuard guard(8123, "secret");
    for (const char* host : {"127.0.0.1:8123", "LOCALHOST:8123", "[::1]:8123"})
        EXPECT_TRUE(guard.check(with({{"host", host}})).allowed()) << host;
    // A name rebound to 127.0.0.1, another port, no port, no Host at all.
    for (const char* host : {"evil.example:8123", "127.0.0.1:8124", "127.0.0.1", "127.0.0.1:8123.evil", ""}) {
        const AccessVerdict v = guard.check(with({{"Host", host}}));
        EXPECT_EQ(v.status, 403) << host;
    }

    for (const char* origin : {"http://127.0.0.1:8123", "http://localhost:8123"})
        EXPECT_TRUE(guard.check(with({{"Host", "127.0.0.1:8123"}, {"Origin", origin}})).allowed()) << origin;
    for (const char* origin :
         {"https://evil.example", "null", "http://127.0.0.1:9999", "https://127.0.0.1:8123"})
        EXPECT_EQ(guard.check(with({{"Host", "127.0.0.1:8123"}, {"origin", origin}})).status, 403) << origin;

    const Headers host{{"Host", "127.0.0.1:8123"}};
    EXPECT_EQ(guard.check(host).status, 401);
    EXPECT_EQ(guard.check(Headers{host[0], {"Authorization", "Bearer secreT"}}).status, 401);
    EXPECT_EQ(guard.check(Headers{host[0], {"Authorization", "Bearer secret2"}}).status, 401);
    EXPECT_EQ(guard.check(Headers{host[0], {"Authorization", "Basic secret"}}).status, 401);
    EXPECT_TRUE(guard.check(Headers{host[0], {"authorization", "bearer  secret "}}).allowed());
    EXPECT_TRUE(guard.check(host, "secret").allowed()) << "a browser's page address carries it";
    EXPECT_EQ(guard.check(host, "other").status, 401);
}

TEST(LocalAccessGuard, MakesAFreshUnguessableTokenEachTime) {
    const QByteArray a = LocalAccessGuard::newToken(), b = LocalAccessGuard::newToken();
    EXPECT_NE(a, b);
    EXPECT_EQ(QByteArray::fromBase64(a, QByteArray::Base64UrlEncoding).size(), 32);
}

}  // namespace
}  // namespace vela::cli
