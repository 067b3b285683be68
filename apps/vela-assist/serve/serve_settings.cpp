#include "serve_settings.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include "host/host.h"

namespace vela::cli::serve {

QString defaultSettingsPath() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
        .filePath(QStringLiteral("vela-assist/assistant.ini"));
}

ServeSettings readServeSettings(const QString& path, QString* why) {
    ServeSettings out;
    out.path = path;
    if (QFileInfo(path).exists() && !QFileInfo(path).isReadable()) {
        if (why) *why = QStringLiteral("cannot read the settings file %1").arg(path);
        return out;
    }
    const QSettings file(path, QSettings::IniFormat);
    if (file.status() == QSettings::FormatError) {
        if (why) *why = QStringLiteral("the settings file %1 is not an INI file").arg(path);
        return out;
    }
    auto text = [&](const char* key, const QString& fallback = {}) {
        return file.value(QLatin1String(key), fallback).toString().trimmed();
    };
    auto number = [&](const char* key, int fallback, int lowest, int highest) -> int {
        bool ok = false;
        const int n = file.value(QLatin1String(key), fallback).toInt(&ok);
        if (!ok || n < lowest || n > highest) {
            if (why && why->isEmpty())
                *why = QStringLiteral("%1 in %2 must be a whole number from %3 to %4")
                           .arg(QLatin1String(key), path)
                           .arg(lowest)
                           .arg(highest);
            return fallback;
        }
        return n;
    };

    host::Resources resources;
    resources.applicationName = text("resources/application", QStringLiteral("VELA AI Assist"));
    resources.assistantService = text("resources/service", QStringLiteral("velaassist"));
    resources.customerPortalAddress = text("resources/customerPortal");
    out.client.resources = resources;
    if (file.contains(QStringLiteral("resources/page"))) out.page = text("resources/page");
    out.client.user.userId = text("user/id", qEnvironmentVariable("USER", QStringLiteral("user")));
    out.client.user.intercom = text("user/intercom");
    out.client.user.hash = text("user/hash");
    out.client.licence.text = text("licence/text", QStringLiteral("Apache-2.0"));
    out.client.licence.version = text("licence/version", host::hostVersion());
    out.client.licence.specialKind = file.value(QStringLiteral("licence/special"), false).toBool();
    out.client.theme = number("interface/theme", 0, 0, 99);
    out.client.language = number("interface/language", 0, 0, 9999);

    out.chat.url = text("chat/url");
    while (out.chat.url.endsWith(u'/')) out.chat.url.chop(1);
    out.chat.model = text("chat/model");
    out.chat.key = text("chat/key");
    out.chat.maxToolRounds = number("chat/maxToolRounds", 16, 1, 100);
    out.chat.timeoutSeconds = number("chat/timeout", 120, 1, 3600);
    return out;
}

}  // namespace vela::cli::serve
