#include "builtin_page.h"

#include <unistd.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QWebEngineProfile>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>
#include <QWebEngineUrlSchemeHandler>

namespace vela::desk {

namespace {

const QByteArray kScheme = QByteArrayLiteral("vela-page");

/// The page's files from the program's resources; the web channel's client from Qt's own.
class BuiltInPageHandler : public QWebEngineUrlSchemeHandler {
  public:
    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;
    void requestStarted(QWebEngineUrlRequestJob* job) override {
        static const QHash<QString, std::pair<QString, QByteArray>> files{
            {QStringLiteral("/"), {QStringLiteral(":/vela/web/index.html"), "text/html"}},
            {QStringLiteral("/app.js"), {QStringLiteral(":/vela/web/app.js"), "text/javascript"}},
            {QStringLiteral("/style.css"), {QStringLiteral(":/vela/web/style.css"), "text/css"}},
            {QStringLiteral("/icon.svg"), {QStringLiteral(":/vela/web/icon.svg"), "image/svg+xml"}},
            {QStringLiteral("/qwebchannel.js"),
             {QStringLiteral(":/qtwebchannel/qwebchannel.js"), "text/javascript"}},
        };
        const QUrl url = job->requestUrl();
        const auto it = files.find(url.path().isEmpty() ? QStringLiteral("/") : url.path());
        if (url.host() != QLatin1String("assistant") || it == files.end()) {
            job->fail(QWebEngineUrlRequestJob::UrlNotFound);
            return;
        }
        QFile file(it->first);
        if (!file.open(QIODevice::ReadOnly)) {
            job->fail(QWebEngineUrlRequestJob::UrlNotFound);
            return;
        }
        auto* buffer = new QBuffer(job);
        buffer->setData(file.readAll());
        buffer->open(QIODevice::ReadOnly);
        job->reply(it->second, buffer);
    }
};

}  // namespace

void prepareWebEngine() {
    if (::geteuid() == 0 && qEnvironmentVariableIsEmpty("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QWebEngineUrlScheme scheme(kScheme);
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Host);
    scheme.setFlags(QWebEngineUrlScheme::SecureScheme | QWebEngineUrlScheme::LocalScheme |
                    QWebEngineUrlScheme::LocalAccessAllowed);
    QWebEngineUrlScheme::registerScheme(scheme);
}

void serveBuiltInPage(QWebEngineProfile* profile) {
    if (!profile) profile = QWebEngineProfile::defaultProfile();
    if (profile->urlSchemeHandler(kScheme)) return;
    profile->installUrlSchemeHandler(kScheme, new BuiltInPageHandler(profile));
}

}  // namespace vela::desk
