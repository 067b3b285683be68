#include "serve/serve_settings.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "host/host.h"

namespace vela::cli::serve {
namespace {

QString writeFile(const QTemporaryDir& dir, const QByteArray& text) {
    const QString path = dir.filePath(QStringLiteral("assistant.ini"));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
    return path;
}

TEST(ServeSettings, AMissingFileGivesTheDocumentedDefaults) {
    QTemporaryDir dir;
    QString why;
    const ServeSettings s = readServeSettings(dir.filePath(QStringLiteral("none.ini")), &why);
    EXPECT_TRUE(why.isEmpty());
    ASSERT_TRUE(s.client.resources);
    EXPECT_EQ(s.client.resources->applicationName, "VELA AI Assist");
    EXPECT_EQ(s.client.resources->assistantService, "velaassist");
    EXPECT_EQ(s.client.licence.text, "Apache-2.0");
    EXPECT_EQ(s.client.licence.version, host::hostVersion());
    EXPECT_FALSE(s.client.licence.specialKind);
    EXPECT_EQ(s.client.theme, 0);
    EXPECT_EQ(s.client.language, 0);
    EXPECT_FALSE(s.chat.configured());
    EXPECT_EQ(s.chat.maxToolRounds, 16);
}

TEST(ServeSettings, ReadsEveryGroupAndRefusesUnusableNumbers) {
    QTemporaryDir dir;
    const QString path =
        writeFile(dir,
                  "[resources]\napplication=Assist Test\nservice=\n"
                  "[user]\nid=u-1\nintercom=ic\nhash=hh\n"
                  "[licence]\ntext=T\nversion=9\nspecial=true\n"
                  "[interface]\ntheme=2\nlanguage=3\n"
                  "[chat]\nurl=http://127.0.0.1:9/v1/\nmodel=m\nkey=k\nmaxToolRounds=4\ntimeout=30\n");
    QString why;
    const ServeSettings s = readServeSettings(path, &why);
    EXPECT_TRUE(why.isEmpty()) << why.toStdString();
    EXPECT_EQ(s.client.resources->applicationName, "Assist Test");
    EXPECT_TRUE(s.client.resources->assistantService.isEmpty()) << "an empty service turns the page off";
    EXPECT_EQ(s.client.user.userId, "u-1");
    EXPECT_EQ(s.client.user.hash, "hh");
    EXPECT_TRUE(s.client.licence.specialKind);
    EXPECT_EQ(s.client.theme, 2);
    EXPECT_EQ(s.client.language, 3);
    EXPECT_EQ(s.chat.url, "http://127.0.0.1:9/v1") << "the trailing slash goes";
    EXPECT_TRUE(s.chat.configured());
    EXPECT_EQ(s.chat.maxToolRounds, 4);
    EXPECT_EQ(s.chat.timeoutSeconds, 30);

    for (const QByteArray& bad : {QByteArray("[interface]\ntheme=dark\n"), QByteArray("[chat]\ntimeout=0\n"),
                                  QByteArray("[chat]\nmaxToolRounds=1000\n")}) {
        why.clear();
        readServeSettings(writeFile(dir, bad), &why);
        EXPECT_FALSE(why.isEmpty()) << bad.toStdString();
    }
}

}  // namespace
}  // namespace vela::cli::serve
