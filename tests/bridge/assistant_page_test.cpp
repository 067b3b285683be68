#include "bridge/assistant_page.h"

#include <gtest/gtest.h>

#include <QSysInfo>
#include <QUrlQuery>

#include "host/host.h"
#include "host/languages.h"

namespace vela::bridge {
namespace {

class View : public AssistantPageView {
  public:
    bool loaded = false;
    bool widget = true;
    QString userAgent, url;
    bool isPageLoaded() const override { return loaded; }
    bool hasWidget() const override { return widget; }
    QString paletteText() const override { return QStringLiteral("palette-7"); }
    void setDefaultUserAgentString(const QString& text, bool) override { userAgent = text; }
    void setUrl(const QString& address) override { url = address; }
};

class AssistantPageTest : public ::testing::Test {
  protected:
    AssistantPageTest() {
        host::ClientInformation& client = host.clientInformation();
        client.resources = host::Resources{QStringLiteral("VELA AI Assist"),
                                           QStringLiteral("https://assist.example/app"),
                                           QStringLiteral("velaassist"),
                                           {}};
        client.user = {QStringLiteral("user-42"), QStringLiteral("ic+9"), QStringLiteral("h&1")};
        client.licence = {QStringLiteral("PRO-1"), QStringLiteral("2026.1"), true};
    }
    QUrlQuery loadedQuery() {
        View view;
        LoadAssistantPage(view);
        EXPECT_FALSE(view.url.isEmpty());
        return QUrlQuery(QUrl(view.url));
    }
    host::Host host;
};

TEST_F(AssistantPageTest, AddressTellsThePageWhoTheClientIs) {
    View view;
    LoadAssistantPage(view);
    EXPECT_TRUE(view.url.startsWith(QLatin1String("https://assist.example/app/?lid=")))
        << view.url.toStdString();
    EXPECT_EQ(view.userAgent, host::userAgent());
    const QUrlQuery query(QUrl(view.url));
    QStringList keys;
    for (const auto& [key, value] : query.queryItems()) keys << key;
    EXPECT_EQ(keys, (QStringList{"lid", "application", "licenseVer", "sysServiceVer", "language", "theme",
                                 "osName", "osVer", "intercom", "hash"}));
    // The four fields, three underscores apart, and only as Base64.
    const QString lid = query.queryItemValue(QStringLiteral("lid"), QUrl::FullyDecoded);
    EXPECT_EQ(QByteArray::fromBase64(lid.toLatin1()), QByteArray("user-42___palette-7___PRO-1___true"));
    EXPECT_FALSE(view.url.contains(QLatin1String("user-42")));
    EXPECT_EQ(query.queryItemValue(QStringLiteral("application"), QUrl::FullyDecoded), "VELA AI Assist");
    EXPECT_EQ(query.queryItemValue(QStringLiteral("licenseVer")), "2026.1");
    EXPECT_EQ(query.queryItemValue(QStringLiteral("sysServiceVer")), host::hostVersion());
    EXPECT_EQ(query.queryItemValue(QStringLiteral("osName")), QSysInfo::productType());
    EXPECT_EQ(query.queryItemValue(QStringLiteral("osVer")), QSysInfo::productVersion());
    // Texts that mean something in an address arrive as they were.
    EXPECT_EQ(query.queryItemValue(QStringLiteral("intercom"), QUrl::FullyDecoded), "ic+9");
    EXPECT_EQ(query.queryItemValue(QStringLiteral("hash"), QUrl::FullyDecoded), "h&1");

    host.clientInformation().licence.specialKind = false;
    EXPECT_EQ(QByteArray::fromBase64(
                  loadedQuery().queryItemValue(QStringLiteral("lid"), QUrl::FullyDecoded).toLatin1()),
              QByteArray("user-42___palette-7___PRO-1___false"));
}

TEST_F(AssistantPageTest, ThemeAndLanguageFollowTheHost) {
    for (const auto& [theme, name] : {std::pair{0, "light"}, {1, "light"}, {2, "dark"}, {7, "dark"}}) {
        host.clientInformation().theme = theme;
        EXPECT_EQ(loadedQuery().queryItemValue(QStringLiteral("theme")), QLatin1String(name)) << theme;
    }
    host.clientInformation().language = 1;
    EXPECT_EQ(loadedQuery().queryItemValue(QStringLiteral("language")), "de");
    host.clientInformation().language = 0;  // the system's
    EXPECT_EQ(loadedQuery().queryItemValue(QStringLiteral("language")),
              host::languageCode(host::systemLanguageId()));
    host.clientInformation().language.reset();  // no language source: language 2
    EXPECT_EQ(loadedQuery().queryItemValue(QStringLiteral("language")), "en");
    host.clientInformation().language = 999;  // a number the host does not know
    EXPECT_EQ(loadedQuery().queryItemValue(QStringLiteral("language")), "en");
}

TEST_F(AssistantPageTest, NothingIsLoadedWithoutAnAddressAServiceOrAWidgetOrTwice) {
    View loaded;
    loaded.loaded = true;
    loaded.url = QStringLiteral("previous");
    LoadAssistantPage(loaded);
    EXPECT_EQ(loaded.url, "previous");

    View noWidget;
    noWidget.widget = false;
    LoadAssistantPage(noWidget);
    EXPECT_TRUE(noWidget.url.isEmpty());

    for (auto clear : {+[](host::Resources& r) { r.assistantPageAddress.clear(); },
                       +[](host::Resources& r) { r.assistantService.clear(); }}) {
        host::Resources kept = *host.clientInformation().resources;
        clear(*host.clientInformation().resources);
        View view;
        view.url = QStringLiteral("previous");
        LoadAssistantPage(view);
        EXPECT_EQ(view.url, "previous");
        EXPECT_TRUE(view.userAgent.isEmpty());
        host.clientInformation().resources = kept;
    }
    host.clientInformation().resources.reset();
    EXPECT_TRUE(AssistantPageAddress(QStringLiteral("x")).isEmpty());
}

}  // namespace
}  // namespace vela::bridge
