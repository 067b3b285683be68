// vela-assist serve [DRAWING | --new] [--port N] [--listen ADDRESS] [--open] [--settings FILE]: the assistant
// page with the drawing, served to the user's browser.
#include <unistd.h>

#include <QCoreApplication>
#include <QDesktopServices>
#include <QHostAddress>
#include <QProcess>
#include <QSocketNotifier>
#include <QUrl>
#include <csignal>
#include <cstdio>
#include <string>

#include "bridge/assistant_page.h"
#include "cli.h"
#include "drawing_loader.h"
#include "host/document.h"
#include "picture_file.h"
#include "serve/assistant_server.h"
#include "serve/serve_settings.h"
#include "session.h"

namespace vela::cli {

namespace {

int usageError(const char* why = nullptr) {
    if (why) std::fprintf(stderr, "vela-assist serve: %s\n", why);
    std::fputs(
        "usage: vela-assist serve [DRAWING | --new] [--port N] [--listen ADDRESS] [--open] [--settings "
        "FILE]\n",
        stderr);
    return 2;
}

// The user's browser stands where a desktop host has its palette's web view.
class BrowserView : public bridge::AssistantPageView {
  public:
    bool isPageLoaded() const override { return !address.isEmpty(); }
    bool hasWidget() const override { return true; }
    QString paletteText() const override { return QStringLiteral("vela-assist serve"); }
    void setDefaultUserAgentString(const QString&, bool) override {}  // a browser keeps its own
    void setUrl(const QString& url) override { address = url; }
    QString address;
};

void openInBrowser(const QString& text) {
    // A page may only hand over web addresses: other schemes start whatever program the desktop ties to them.
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https"))) {
        std::fprintf(stderr, "vela-assist serve: not opened (only http and https addresses are): %s\n",
                     text.left(200).toUtf8().constData());
        return;
    }
    if (QDesktopServices::openUrl(url)) return;
    // Without a desktop session Qt has no way to open it; the system's opener may.
    if (!QProcess::startDetached(QStringLiteral("xdg-open"), {url.toString(QUrl::FullyEncoded)}))
        std::fprintf(stderr, "vela-assist serve: no browser could be started; open the address by hand\n");
}

// Ctrl-C and kill end the event loop, so that the server closes its connections and the host its drawing:
// the handler only writes a byte, which the loop then reads.
int quitPipe[2] = {-1, -1};
void quitOnSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const ssize_t n = ::write(quitPipe[1], &byte, 1);
}

void quitOnSignals(QObject* parent) {
    if (::pipe(quitPipe) != 0) return;
    auto* notifier = new QSocketNotifier(quitPipe[0], QSocketNotifier::Read, parent);
    QObject::connect(notifier, &QSocketNotifier::activated, [] { QCoreApplication::quit(); });
    std::signal(SIGINT, quitOnSignal);
    std::signal(SIGTERM, quitOnSignal);
}

}  // namespace

int serveCommand(const std::vector<std::string>& args) {
    std::string drawing, listen, settingsFile;
    bool fresh = false, open = false;
    int port = 0;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--new") {
            fresh = true;
        } else if (a == "--open") {
            open = true;
        } else if (a == "--port" && i + 1 < args.size()) {
            bool ok = false;
            port = QString::fromStdString(args[++i]).toInt(&ok);
            if (!ok || port < 0 || port > 65535) return usageError("--port takes a number from 0 to 65535");
        } else if (a == "--listen" && i + 1 < args.size()) {
            listen = args[++i];
        } else if (a == "--settings" && i + 1 < args.size()) {
            settingsFile = args[++i];
        } else if (!a.empty() && a[0] != '-' && drawing.empty()) {
            drawing = a;
        } else {
            return usageError();
        }
    }
    QHostAddress address(QHostAddress::LocalHost);
    if (!listen.empty()) {
        address = QHostAddress(QString::fromStdString(listen));
        // A page address must name one place; "every address" names none.
        if (address.isNull() || address == QHostAddress::Any || address == QHostAddress::AnyIPv4 ||
            address == QHostAddress::AnyIPv6)
            return usageError("--listen takes one IP address of this machine (such as 192.168.1.20)");
    }

    // Qt's own event loop rather than GLib's: the server wakes for every message of every page, and Qt's loop
    // takes less time to do it.
    if (!qEnvironmentVariableIsSet("QT_NO_GLIB")) qputenv("QT_NO_GLIB", "1");
    const PictureApplicationScope pictures;
    ensurePictureApplication();
    QString why;
    const serve::ServeSettings settings = serve::readServeSettings(
        settingsFile.empty() ? serve::defaultSettingsPath() : QString::fromStdString(settingsFile), &why);
    if (!why.isEmpty()) {
        std::fprintf(stderr, "vela-assist serve: %s\n", why.toUtf8().constData());
        return 2;
    }
    Session session;
    if (fresh) {
        session.createNew();
    } else if (!session.open(QString::fromStdString(drawing.empty() ? bundledSamplePath() : drawing), &why)) {
        std::fprintf(stderr, "vela-assist serve: %s\n", why.toUtf8().constData());
        return 1;
    }
    if (!session.loadModule(&why)) {
        std::fprintf(stderr, "vela-assist serve: %s\n", why.toUtf8().constData());
        return 1;
    }
    session.host().services().setUrlOpener(openInBrowser);

    serve::AssistantServer server(session, settings);
    const quint16 bound = server.start(address, static_cast<quint16>(port), &why);
    if (!bound) {
        std::fprintf(stderr, "vela-assist serve: cannot listen on %s:%d: %s\n",
                     address.toString().toUtf8().constData(), port, why.toUtf8().constData());
        return 1;
    }
    host::ClientInformation& client = session.host().clientInformation();
    client = settings.client;
    client.resources->assistantPageAddress = server.pageBase();
    BrowserView browser;
    bridge::LoadAssistantPage(browser);
    if (browser.address.isEmpty()) {
        std::fputs("vela-assist serve: the settings name no assistant service ([resources] service=)\n",
                   stderr);
        return 2;
    }
    // The address alone on standard output, for programs that start the server; the words on standard error.
    std::fprintf(stdout, "%s\n", browser.address.toUtf8().constData());
    std::fflush(stdout);
    std::fprintf(
        stderr,
        "vela-assist serve: the assistant page with %s is at the address above. Open it in a browser "
        "on this machine (it carries this start's token; a new one is made at every start). Ctrl-C "
        "stops the server.\n",
        session.activeDocument() ? session.activeDocument()->title().toUtf8().constData() : "no drawing");
    if (!address.isLoopback())
        std::fprintf(
            stderr,
            "vela-assist serve: listening on %s: anyone who can reach it and has the address can change "
            "the drawing\n",
            address.toString().toUtf8().constData());
    std::fflush(stderr);
    if (open) session.bridge().openUrl(browser.address);
    quitOnSignals(&server);
    return QCoreApplication::exec();
}

}  // namespace vela::cli
