// The drawing window as a CAD user works it: drawing with the mouse, the hatch picked with its preview, zoom,
// pan, picking and window selection, the command line, and saving.
#include <gtest/gtest.h>

#include <QAction>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QWheelEvent>

#include "bridge/velaassistant_communication.h"
#include "command_line.h"
#include "db/database.h"
#include "db/entities/hatch.h"
#include "db/entities/line.h"
#include "db/records/block_table_record.h"
#include "desk_fixture.h"
#include "drawing_canvas.h"
#include "host/commands/command_support.h"
#include "host/document.h"
#include "host/result_codes.h"
#include "palette/velaassistant_palette.h"
#include "render/screen_view.h"

namespace vela::desk::test {
namespace {

host::Document& doc() {
    host::Document* d = desk().session->activeDocument();
    EXPECT_NE(d, nullptr);
    return *d;
}

DrawingCanvas& canvas() {
    return *window().canvas();
}

template <class T>
std::vector<T*> entitiesOf() {
    std::vector<T*> found;
    auto* space = db::objectCast<db::BlockTableRecord>(doc().database()->modelSpaceId().peek());
    space->forEachEntity([&](db::Entity* e) {
        if (auto* t = db::objectCast<T>(e)) found.push_back(t);
    });
    return found;
}

void mouse(QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons held,
           Qt::KeyboardModifiers modifiers = {}) {
    QWidget& c = canvas();
    QMouseEvent event(type, at, c.mapToGlobal(at), button, held, modifiers);
    QApplication::sendEvent(&c, &event);
}

void drag(QPointF from, QPointF to, Qt::MouseButton button, Qt::KeyboardModifiers modifiers = {}) {
    mouse(QEvent::MouseButtonPress, from, button, button, modifiers);
    for (int i = 1; i <= 5; ++i)
        mouse(QEvent::MouseMove, from + (to - from) * (i / 5.0), Qt::NoButton, button, modifiers);
    mouse(QEvent::MouseButtonRelease, to, button, Qt::NoButton, modifiers);
}

void wheel(QPointF at, int angle) {
    QWidget& c = canvas();
    QWheelEvent event(at, c.mapToGlobal(at), QPoint(), QPoint(0, angle), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&c, &event);
}

bool near(const db::Point3d& a, const db::Point3d& b, double tolerance) {
    return std::abs(a.x - b.x) <= tolerance && std::abs(a.y - b.y) <= tolerance;
}

/// Shows an empty part of the drawing far from the plan and from what other tests drew, a thousand units
/// wide.
void showEmptyArea() {
    static int used = 0;
    const double x = 1e6 + 1e5 * ++used;
    canvas().showWindow(db::Extents3d(db::Point3d(x, 1e6), db::Point3d(x + 1000, 1e6 + 700)));
    spin(50);
}

QColor background() {
    return canvas().view()->image().pixelColor(0, 0);
}

}  // namespace

TEST(DeskWindow, ALineIsDrawnWithTheMouseWhileTheCommandAsksForItsPoints) {
    window();
    showEmptyArea();
    const std::size_t before = entitiesOf<db::Line>().size();
    const QPointF p1(300, 260), p2(640, 420);
    QStringList prompts;
    runScripted([] { window().commandAction(QStringLiteral("LINE"))->trigger(); },
                {[&](const QString& prompt) {
                     prompts << prompt;
                     QTest::mouseClick(&canvas(), Qt::LeftButton, {}, p1.toPoint());
                 },
                 [&](const QString& prompt) {
                     prompts << prompt;
                     // The rubber band follows the cursor from the first point.
                     mouse(QEvent::MouseMove, p2 + QPointF(-40, -20), Qt::NoButton, Qt::NoButton);
                     spin(50);
                     QTest::mouseClick(&canvas(), Qt::LeftButton, {}, p2.toPoint());
                 },
                 [&](const QString& prompt) {
                     prompts << prompt;
                     desk().input.answerText(QString());  // Enter ends the line
                 }});
    ASSERT_EQ(prompts.size(), 3);
    EXPECT_TRUE(prompts[0].startsWith(QStringLiteral("Specify first point"))) << prompts[0].toStdString();
    EXPECT_TRUE(prompts[1].startsWith(QStringLiteral("Specify next point"))) << prompts[1].toStdString();
    const std::vector<db::Line*> lines = entitiesOf<db::Line>();
    ASSERT_EQ(lines.size(), before + 1);
    const db::Line* line = lines.back();
    const double pixel = canvas().view()->unitsPerPixel();
    EXPECT_TRUE(near(line->startPoint(), canvas().toDrawing(QPoint(300, 260)), pixel * 1e-6));
    EXPECT_TRUE(near(line->endPoint(), canvas().toDrawing(QPoint(640, 420)), pixel * 1e-6));
    // The canvas shows it, whoever asks how the picture looks now.
    spin(50);
    const QImage picture = canvas().view()->image();
    const QPoint middle = ((p1 + p2) / 2).toPoint();
    bool inked = false;
    for (int dy = -1; dy <= 1; ++dy) inked |= picture.pixelColor(middle + QPoint(0, dy)) != background();
    EXPECT_TRUE(inked);
    // The command line logged the questions with the points given.
    EXPECT_TRUE(window().commandLine()->log()->toPlainText().contains(QStringLiteral("Specify next point")));
    saveShot(&window(), QStringLiteral("desk-line"));

    // Undo from the Edit menu takes it away again.
    window().commandAction(QStringLiteral("U"))->trigger();
    EXPECT_EQ(entitiesOf<db::Line>().size(), before);
}

TEST(DeskWindow, AHatchIsPickedWithItsPreviewFollowingTheCursor) {
    window();
    showEmptyArea();
    // A closed square to hatch, drawn by the host's own command.
    const db::Point3d a = canvas().toDrawing(QPointF(400, 200)), b = canvas().toDrawing(QPointF(700, 500));
    ASSERT_EQ(desk().session->host().services().runCommand(
                  QStringLiteral("RECTANG"), {host::commands::pointText(a), host::commands::pointText(b)}),
              host::RTNORM);
    const std::size_t before = entitiesOf<db::Hatch>().size();
    const QPointF inside(550, 350), outside(900, 350);
    QString answer;
    bool previewShown = false;
    bool previewGoneOutside = false;
    runScripted(
        [&] {
            answer = window().assistantPalette()->bridge()->CreateHatch(QStringLiteral(
                R"({"entities":[{"pattern":"ANSI31","scale":10,"needsInternalPoint":true}]})"));
        },
        {[&](const QString& prompt) {
            EXPECT_TRUE(prompt.startsWith(QStringLiteral("Specify internal point"))) << prompt.toStdString();
            mouse(QEvent::MouseMove, inside, Qt::NoButton, Qt::NoButton);
            previewShown = waitFor([&] { return entitiesOf<db::Hatch>().size() == before + 1; }, 5000);
            spin(100);
            // The preview is on the canvas: the square's inside is inked somewhere along a row.
            const QImage picture = canvas().view()->image();
            int inked = 0;
            for (int x = 410; x < 690; ++x) inked += picture.pixelColor(x, 350) != background();
            EXPECT_GT(inked, 5);
            saveShot(&window(), QStringLiteral("desk-hatch-preview"));
            mouse(QEvent::MouseMove, outside, Qt::NoButton, Qt::NoButton);
            previewGoneOutside = waitFor([&] { return entitiesOf<db::Hatch>().size() == before; }, 5000);
            mouse(QEvent::MouseMove, inside, Qt::NoButton, Qt::NoButton);
            QTest::mouseClick(&canvas(), Qt::LeftButton, {}, inside.toPoint());
        }});
    EXPECT_TRUE(previewShown);
    EXPECT_TRUE(previewGoneOutside);
    EXPECT_TRUE(answer.contains(QStringLiteral("\"success\":true"))) << answer.toStdString();
    // One hatch: the preview went, the picked one stays.
    const std::vector<db::Hatch*> hatches = entitiesOf<db::Hatch>();
    ASSERT_EQ(hatches.size(), before + 1);
    EXPECT_EQ(hatches.back()->numLoops(), 1);
}

TEST(DeskWindow, TheWheelZoomsAtTheCursorAndTheMiddleButtonPans) {
    window();
    canvas().zoomExtents();
    const QPointF at(500, 300);
    const db::Point3d under = canvas().toDrawing(at);
    const double scale = canvas().view()->unitsPerPixel();
    wheel(at, 120);
    EXPECT_NEAR(canvas().view()->unitsPerPixel(), scale / 1.2, scale * 1e-9);
    EXPECT_TRUE(near(canvas().toDrawing(at), under, scale * 1e-6));
    wheel(at, -240);
    EXPECT_NEAR(canvas().view()->unitsPerPixel(), scale * 1.2, scale * 1e-9);

    const db::Point3d grabbed = canvas().toDrawing(QPointF(200, 200));
    drag(QPointF(200, 200), QPointF(320, 260), Qt::MiddleButton);
    EXPECT_TRUE(
        near(canvas().toDrawing(QPointF(320, 260)), grabbed, canvas().view()->unitsPerPixel() * 1e-6));
    // The status bar tells where the cursor is.
    mouse(QEvent::MouseMove, QPointF(320, 260), Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(window().coordinates()->text(),
              QStringLiteral("%1, %2").arg(host::commands::numberText(grabbed.x),
                                           host::commands::numberText(grabbed.y)));
    // The document knows what the canvas shows (ZOOM and programs ask it).
    EXPECT_TRUE(near(doc().view().center(), canvas().view()->shownWindow().center(),
                     canvas().view()->unitsPerPixel()));
}

TEST(DeskWindow, ClicksPickAndDragsSelectByWindowOrCrossing) {
    window();
    showEmptyArea();
    doc().selection().clear();
    // Two lines: one short inside the coming window, one long crossing its edge.
    auto lineAt = [](QPointF from, QPointF to) {
        return QStringLiteral("LINE %1 %2")
            .arg(host::commands::pointText(canvas().toDrawing(from)),
                 host::commands::pointText(canvas().toDrawing(to)));
    };
    auto draw = [](const QString& command) {
        QStringList words = command.split(QLatin1Char(' '));
        const QString name = words.takeFirst();
        words << QString();
        desk().session->host().services().runCommand(name, words);
    };
    draw(lineAt(QPointF(300, 300), QPointF(400, 300)));
    const db::ObjectId shortLine = entitiesOf<db::Line>().back()->objectId();
    draw(lineAt(QPointF(350, 400), QPointF(900, 400)));
    const db::ObjectId longLine = entitiesOf<db::Line>().back()->objectId();
    spin(50);

    // A click on a line picks it, and the canvas draws it in the selection's colour.
    mouse(QEvent::MouseButtonPress, QPointF(350, 300), Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, QPointF(350, 301), Qt::LeftButton, Qt::NoButton);
    ASSERT_EQ(doc().selection().ids(), std::vector<db::ObjectId>{shortLine});
    spin(100);
    // The strongest pixel across the line (it may fall between two rows, each half inked): orange.
    QColor picked;
    for (int dy = -1; dy <= 1; ++dy) {
        const QColor c = canvas().view()->image().pixelColor(350, 300 + dy);
        if (c.red() > picked.red()) picked = c;
    }
    EXPECT_GT(picked.red(), 120) << picked.name().toStdString();
    EXPECT_GT(picked.red(), 1.4 * picked.green()) << picked.name().toStdString();
    EXPECT_GT(picked.green(), 2 * picked.blue()) << picked.name().toStdString();
    // Escape lets go.
    QTest::keyClick(&canvas(), Qt::Key_Escape);
    EXPECT_TRUE(doc().selection().isEmpty());

    // Left to right: only what lies wholly inside.
    drag(QPointF(250, 250), QPointF(600, 450), Qt::LeftButton);
    EXPECT_EQ(doc().selection().ids(), std::vector<db::ObjectId>{shortLine});
    doc().selection().clear();
    // Right to left: what it touches too.
    drag(QPointF(600, 450), QPointF(250, 250), Qt::LeftButton);
    std::vector<db::ObjectId> both = doc().selection().ids();
    std::sort(both.begin(), both.end());
    std::vector<db::ObjectId> expected{shortLine, longLine};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(both, expected);
    // Shift takes away.
    mouse(QEvent::MouseButtonPress, QPointF(350, 300), Qt::LeftButton, Qt::LeftButton, Qt::ShiftModifier);
    mouse(QEvent::MouseButtonRelease, QPointF(350, 300), Qt::LeftButton, Qt::NoButton, Qt::ShiftModifier);
    EXPECT_EQ(doc().selection().ids(), std::vector<db::ObjectId>{longLine});

    // Picked first, then ERASE takes what was picked.
    window().commandAction(QStringLiteral("ERASE"))->trigger();
    EXPECT_TRUE(longLine.peek() == nullptr || longLine.peek()->isErased());
    EXPECT_FALSE(shortLine.peek()->isErased());
}

TEST(DeskWindow, AMenuPickWhileACommandAsksCancelsItAndStartsTheNewOne) {
    window();
    QStringList prompts;
    const QMetaObject::Connection asked = QObject::connect(&desk().input, &DeskInput::waitingChanged, [&] {
        if (!desk().input.isWaiting()) return;
        const QString prompt = desk().input.request()->prompt;
        prompts << prompt;
        if (prompt.startsWith(QStringLiteral("Specify first point")))
            QTimer::singleShot(0, [] { window().commandAction(QStringLiteral("CIRCLE"))->trigger(); });
        else
            QTimer::singleShot(0, [] { desk().input.cancel(); });
    });
    window().commandAction(QStringLiteral("LINE"))->trigger();
    EXPECT_TRUE(waitFor(
        [&] { return prompts.size() >= 2 && !desk().input.isWaiting() && !window().isCommandRunning(); }));
    QObject::disconnect(asked);
    ASSERT_EQ(prompts.size(), 2);
    EXPECT_TRUE(prompts[1].startsWith(QStringLiteral("Specify center point"))) << prompts[1].toStdString();
}

TEST(DeskWindow, EveryToolButtonHasAnIconDrawnOnAClearGroundAndGreyedWhenDisabled) {
    int buttons = 0;
    for (QToolBar* bar : window().findChildren<QToolBar*>()) {
        for (QAction* action : bar->actions()) {
            if (action->isSeparator()) continue;
            ++buttons;
            const QString what = action->text();
            ASSERT_FALSE(action->icon().isNull()) << what.toStdString();
            for (int size : {24, 48}) {
                const QImage normal = action->icon().pixmap(size).toImage();
                const QImage disabled = action->icon().pixmap(QSize(size, size), QIcon::Disabled).toImage();
                int inked = 0;
                for (int y = 0; y < normal.height(); ++y)
                    for (int x = 0; x < normal.width(); ++x) inked += qAlpha(normal.pixel(x, y)) > 128;
                EXPECT_EQ(qAlpha(normal.pixel(0, normal.height() / 2)), 0)
                    << what.toStdString() << " at " << size;
                EXPECT_GT(inked, size) << what.toStdString() << " at " << size;
                EXPECT_LT(inked, size * size / 2) << what.toStdString() << " at " << size;
                EXPECT_NE(normal, disabled) << what.toStdString() << " at " << size;
            }
        }
    }
    EXPECT_GE(buttons, 15);
}

TEST(DeskWindow, TheCommandLineRunsCommandsAndLispAndKeepsItsHistory) {
    CommandLine& line = *window().commandLine();
    QLineEdit* edit = line.editor();
    edit->setText(QStringLiteral("(+ 1 2)"));
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_TRUE(line.log()->toPlainText().endsWith(QStringLiteral("3")));
    edit->setText(QStringLiteral("NOSUCHTHING"));
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_TRUE(line.log()->toPlainText().endsWith(QStringLiteral("Unknown command \"NOSUCHTHING\".")));
    QTest::keyClick(edit, Qt::Key_Up);
    EXPECT_EQ(edit->text(), QStringLiteral("NOSUCHTHING"));
    QTest::keyClick(edit, Qt::Key_Up);
    EXPECT_EQ(edit->text(), QStringLiteral("(+ 1 2)"));
    edit->clear();
    EXPECT_EQ(line.prompt(), QStringLiteral("Command: "));
}

TEST(DeskWindow, SaveAsWritesADrawingEzdxfReadsAndRemembersIt) {
    window();
    const QString path = desk().dir.filePath(QStringLiteral("saved plan.dxf"));
    ASSERT_TRUE(window().saveDrawingAs(path));
    EXPECT_FALSE(window().isWindowModified());
    QProcess audit;
    audit.start(QStringLiteral("/usr/bin/python3"),
                {QStringLiteral("-c"),
                 QStringLiteral("import sys, ezdxf; d = ezdxf.readfile(sys.argv[1]); a = d.audit(); "
                                "print(len(a.errors), len(d.modelspace()))"),
                 path});
    ASSERT_TRUE(audit.waitForFinished(60000));
    const QStringList out = QString::fromUtf8(audit.readAllStandardOutput()).split(QLatin1Char(' '));
    ASSERT_EQ(out.size(), 2) << audit.readAllStandardError().toStdString();
    EXPECT_EQ(out[0], QStringLiteral("0"));
    EXPECT_GT(out[1].trimmed().toInt(), 0);
    QMenu* recent = window().findChild<QMenu*>(QStringLiteral("recentMenu"));
    ASSERT_NE(recent, nullptr);
    ASSERT_FALSE(recent->actions().isEmpty());
    EXPECT_EQ(recent->actions().front()->statusTip(), QFileInfo(path).absoluteFilePath());
    // Opening it again through the window.
    EXPECT_TRUE(window().openDrawing(path, true));
    EXPECT_EQ(doc().path(), path);
}

}  // namespace vela::desk::test
