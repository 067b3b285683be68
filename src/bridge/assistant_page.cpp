#include "bridge/assistant_page.h"

#include <QSysInfo>
#include <QUrlQuery>

#include "host/host.h"
#include "host/languages.h"

namespace vela::bridge {

namespace {

QString languageOf(const host::ClientInformation& client) {
    if (!client.language) return host::languageCode(host::kEnglishLanguage);
    const int id = *client.language == 0 ? host::systemLanguageId() : *client.language;
    return host::languageCode(id);
}

// The user, the view and the licence in one field the page decodes; Base64 keeps the separators out of the
// address's own syntax.
QString lidOf(const host::ClientInformation& client, const QString& paletteText) {
    const QString fields =
        QStringLiteral("%1___%2___%3___%4")
            .arg(client.user.userId, paletteText, client.licence.text,
                 client.licence.specialKind ? QStringLiteral("true") : QStringLiteral("false"));
    return QString::fromLatin1(fields.toLatin1().toBase64());
}

}  // namespace

QUrl AssistantPageAddress(const QString& paletteText) {
    const host::ClientInformation& client = host::clientInformation();
    const host::Resources* resources = client.resources ? &*client.resources : nullptr;
    if (!resources || resources->assistantPageAddress.isEmpty() || resources->assistantService.isEmpty())
        return {};
    QUrl address(QStringLiteral("%1/?").arg(resources->assistantPageAddress), QUrl::TolerantMode);
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("lid"), lidOf(client, paletteText));
    query.addQueryItem(QStringLiteral("application"), resources->applicationName);
    query.addQueryItem(QStringLiteral("licenseVer"), client.licence.version);
    query.addQueryItem(QStringLiteral("sysServiceVer"), host::hostVersion());
    query.addQueryItem(QStringLiteral("language"), languageOf(client));
    query.addQueryItem(QStringLiteral("theme"),
                       client.theme < 2 ? QStringLiteral("light") : QStringLiteral("dark"));
    query.addQueryItem(QStringLiteral("osName"), QSysInfo::productType());
    query.addQueryItem(QStringLiteral("osVer"), QSysInfo::productVersion());
    query.addQueryItem(QStringLiteral("intercom"), client.user.intercom);
    query.addQueryItem(QStringLiteral("hash"), client.user.hash);
    address.setQuery(query);
    return address;
}

void LoadAssistantPage(AssistantPageView& palette) {
    if (palette.isPageLoaded() || !palette.hasWidget()) return;
    const QUrl address = AssistantPageAddress(palette.paletteText());
    if (address.isEmpty()) return;
    palette.setDefaultUserAgentString(host::userAgent(), true);
    palette.setUrl(address.toString(QUrl::FullyEncoded));
}

}  // namespace vela::bridge
