#include "desk_fixture.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QPainter>
#include <QSettings>
#include <QTimer>

#include "builtin_page.h"
#include "drawing_canvas.h"
#include "host/host.h"
#include "render/render.h"
#include "render/screen_view.h"

namespace vela::desk::test {

namespace {
Desk* g_desk = nullptr;
db::Extents3d g_plan;
}  // namespace

Desk& desk() {
    if (!g_desk) {
        g_desk = new Desk;
        g_desk->settings.assistantFile = g_desk->dir.filePath(QStringLiteral("assistant.ini"));
        g_desk->settings.deskFile = g_desk->dir.filePath(QStringLiteral("desk.ini"));
        g_desk->session = std::make_unique<cli::Session>(&g_desk->input);
        QString error;
        if (!g_desk->session->loadModule(&error)) ADD_FAILURE() << error.toStdString();
    }
    return *g_desk;
}

DeskWindow& window() {
    Desk& d = desk();
    if (!d.window) {
        d.window = std::make_unique<DeskWindow>(*d.session, d.input, d.settings);
        d.window->resize(1500, 950);
        d.window->show();
        waitFor([&] { return d.window->isVisible(); });
        EXPECT_TRUE(d.window->openDrawing(QStringLiteral(VELA_SOURCE_DIR "/examples/floor_plan.dxf"), true));
        spin(200);
        g_plan = d.window->canvas()->view()->shownWindow();
    }
    return *d.window;
}

void showPlan() {
    window().canvas()->showWindow(g_plan);
    spin(100);
}

QString saveWindowShot(QWidget* popup, const QString& name) {
    QWidget& w = window();
    QImage picture = w.grab().toImage();
    if (popup && popup->isVisible()) {
        QPainter painter(&picture);
        painter.drawPixmap(w.mapFromGlobal(popup->mapToGlobal(QPoint(0, 0))), popup->grab());
    }
    const QString folder = qEnvironmentVariable("VELA_TEST_OUTPUT", QStringLiteral("test-output"));
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
    picture.save(path);
    return path;
}

void closeDesk() {
    if (!g_desk) return;
    g_desk->window.reset();
    g_desk->session.reset();
    delete g_desk;
    g_desk = nullptr;
}

bool waitFor(const std::function<bool()>& done, int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > milliseconds) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

void spin(int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < milliseconds) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

QString saveShot(QWidget* widget, const QString& name) {
    const QString folder = qEnvironmentVariable("VELA_TEST_OUTPUT", QStringLiteral("test-output"));
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
    widget->grab().save(path);
    return path;
}

void runScripted(const std::function<void()>& start, Script script) {
    Desk& d = desk();
    std::size_t step = 0;
    // Each question waits in its own loop; the next step answers it from there.
    QMetaObject::Connection asked = QObject::connect(&d.input, &DeskInput::waitingChanged, [&] {
        if (!d.input.isWaiting() || step >= script.size()) return;
        const QString prompt = d.input.request()->prompt;
        auto next = script[step++];
        QTimer::singleShot(0, [next, prompt] { next(prompt); });
    });
    start();
    QObject::disconnect(asked);
    EXPECT_EQ(step, script.size()) << "every step of the script answered a question";
}

int runScripted(const QString& command, Script script) {
    QStringList words = command.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QString name = words.takeFirst();
    int result = 0;
    runScripted([&] { result = desk().session->host().services().runCommand(name, words); },
                std::move(script));
    return result;
}

}  // namespace vela::desk::test

int main(int argc, char** argv) {
    vela::desk::prepareWebEngine();
    QApplication app(argc, argv);
    vela::render::loadBundledFonts();
    ::testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    vela::desk::test::closeDesk();
    return result;
}
