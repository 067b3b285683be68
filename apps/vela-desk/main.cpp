// vela-desk: the desktop host. A drawing window with the assistant's palette docked beside it.

#include <QApplication>
#include <cstdio>

#include "builtin_page.h"
#include "desk_input.h"
#include "desk_window.h"
#include "render/render.h"
#include "session.h"

int main(int argc, char** argv) {
    vela::desk::prepareWebEngine();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("vela-desk"));
    QApplication::setOrganizationName(QStringLiteral("vela-assist"));
    const QStringList args = QApplication::arguments().mid(1);
    if (args.size() > 1 || (args.size() == 1 && args[0].startsWith(QLatin1Char('-')))) {
        std::fputs("usage: vela-desk [DRAWING]\n", stderr);
        return 2;
    }
    vela::render::loadBundledFonts();

    vela::desk::DeskInput input;
    vela::cli::Session session(&input);
    QString error;
    if (!session.loadModule(&error)) {
        std::fprintf(stderr, "vela-desk: %s\n", error.toUtf8().constData());
        return 1;
    }
    vela::desk::DeskWindow window(session, input, vela::desk::defaultDeskSettings());
    window.show();
    if (args.isEmpty())
        window.newDrawing();
    else if (!window.openDrawing(args[0]))
        return 1;
    return app.exec();
}
