// _HIGHLIGHTUI and the widget highlighter over the real menus and tool bars: which controls, where, in what
// colour, for how long, and that the controls still take their clicks.
#include <gtest/gtest.h>

#include <QAction>
#include <QGraphicsOpacityEffect>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QToolBar>

#include "bridge/velaassistant_communication.h"
#include "desk_fixture.h"
#include "desk_ui.h"
#include "host/result_codes.h"
#include "palette/velaassistant_palette.h"
#include "palette/widget_highlighter.h"

namespace vela::desk::test {
namespace {

using palette::CJxWidgetHighlighter;
using palette::CJxWidgetHighlightHelper;

CJxWidgetHighlighter& highlighter() {
    return CJxWidgetHighlighter::instance();
}

const CJxWidgetHighlightHelper* helperOn(const QWidget* target) {
    for (const CJxWidgetHighlightHelper* h : highlighter().helpers())
        if (h->target() == target) return h;
    return nullptr;
}

/// Overlays that still exist anywhere (a removed helper's overlay goes with it).
int overlaysAlive() {
    int n = 0;
    for (QWidget* w : QApplication::allWidgets())
        if (w->objectName() == QStringLiteral("CJxWidgetHighlightOverlay") && w->isVisible()) ++n;
    return n;
}

QColor pixelOf(QWidget* widget, QPoint at) {
    return widget->grab().toImage().pixelColor(at * widget->devicePixelRatioF());
}

struct HighlightTest : ::testing::Test {
    void SetUp() override {
        window();
        highlighter().Clear();
        highlighter().setInterval(std::chrono::milliseconds(12000));
    }
    void TearDown() override {
        highlighter().Clear();
        highlighter().setInterval(std::chrono::milliseconds(12000));
        spin(50);
    }
    QToolBar* drawTools() { return window().toolBar(QStringLiteral("drawToolBar")); }
    QMenu* drawMenu() { return window().menu(QStringLiteral("drawMenu")); }
    QAction* line() { return window().commandAction(QStringLiteral("LINE")); }
};

}  // namespace

TEST_F(HighlightTest, HighlightUiLineOverlaysTheMenuEntryAndTheToolButtonInTheColourAndPlace) {
    QToolBar* tools = drawTools();
    QWidget* button = tools->widgetForAction(line());
    ASSERT_NE(button, nullptr);
    const QPoint probe = button->geometry().topLeft() + QPoint(3, 3);
    const QColor plain = pixelOf(tools, probe);

    const int result = runScripted(QStringLiteral("_HIGHLIGHTUI"), {[](const QString& prompt) {
                                       EXPECT_TRUE(prompt.startsWith(QStringLiteral("Enter command name:")))
                                           << prompt.toStdString();
                                       desk().input.answerText(QStringLiteral("LINE"));
                                   }});
    EXPECT_EQ(result, host::RTNORM);
    ASSERT_EQ(highlighter().helpers().size(), 2);
    EXPECT_EQ(highlighter().actionCounts().value(line()), 2);
    EXPECT_TRUE(highlighter().timer().isActive());
    EXPECT_EQ(highlighter().timer().interval(), 12000);

    const CJxWidgetHighlightHelper* onTools = helperOn(tools);
    ASSERT_NE(onTools, nullptr);
    QWidget* overlay = onTools->overlay();
    EXPECT_EQ(overlay->parentWidget(), tools);
    EXPECT_EQ(overlay->geometry(), button->geometry());
    EXPECT_EQ(overlay->styleSheet(), QStringLiteral("background-color:rgb(235, 197, 41);"));
    EXPECT_TRUE(overlay->testAttribute(Qt::WA_TransparentForMouseEvents));
    auto* effect = qobject_cast<QGraphicsOpacityEffect*>(overlay->graphicsEffect());
    ASSERT_NE(effect, nullptr);
    EXPECT_DOUBLE_EQ(effect->opacity(), 0.5);
    // On screen: half the yellow over what the button showed.
    spin(50);
    const QColor shown = pixelOf(tools, probe);
    EXPECT_NEAR(shown.red(), (235 + plain.red()) / 2.0, 4);
    EXPECT_NEAR(shown.green(), (197 + plain.green()) / 2.0, 4);
    EXPECT_NEAR(shown.blue(), (41 + plain.blue()) / 2.0, 4);

    // The menu entry's overlay is placed when the menu shows, over the entry's rectangle.
    QMenu* menu = drawMenu();
    const CJxWidgetHighlightHelper* onMenu = helperOn(menu);
    ASSERT_NE(onMenu, nullptr);
    menu->popup(window().mapToGlobal(window().menuBar()->actionGeometry(menu->menuAction()).bottomLeft()));
    ASSERT_TRUE(waitFor([&] { return menu->isVisible(); }));
    spin(100);
    EXPECT_EQ(onMenu->overlay()->geometry(), menu->actionGeometry(line()));
    EXPECT_TRUE(onMenu->overlay()->isVisible());
    showPlan();
    saveWindowShot(menu, QStringLiteral("desk-highlight"));

    // The menu closing ends its highlight; the tool button's stays.
    menu->hide();
    ASSERT_TRUE(waitFor([&] { return highlighter().helpers().size() == 1; }));
    EXPECT_EQ(helperOn(menu), nullptr);
    EXPECT_NE(helperOn(tools), nullptr);
    EXPECT_EQ(highlighter().actionCounts().value(line()), 1);
    spin(50);
    EXPECT_EQ(overlaysAlive(), 1);

    // The workspace the bridge names for the page.
    auto* bridge = window().assistantPalette()->bridge();
    const QJsonObject answer =
        QJsonDocument::fromJson(bridge->HighlightUi(QStringLiteral("LINE")).toUtf8()).object();
    EXPECT_TRUE(answer.value(QStringLiteral("success")).toBool());
    EXPECT_EQ(answer.value(QStringLiteral("targetWorkspace")).toString(), QStringLiteral("Draw"));
    const QJsonObject none =
        QJsonDocument::fromJson(bridge->HighlightUi(QStringLiteral("NOSUCHCOMMAND")).toUtf8()).object();
    EXPECT_FALSE(none.value(QStringLiteral("success")).toBool());
}

TEST_F(HighlightTest, AClickOnAHighlightedButtonReachesIt) {
    highlighter().Highlight(QStringLiteral("LINE"));
    QWidget* button = drawTools()->widgetForAction(line());
    ASSERT_NE(helperOn(drawTools()), nullptr);
    QString asked;
    runScripted([&] { QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center()); },
                {[&](const QString& prompt) {
                    asked = prompt;
                    desk().input.cancel();
                }});
    EXPECT_TRUE(asked.startsWith(QStringLiteral("Specify first point"))) << asked.toStdString();
}

TEST_F(HighlightTest, OverlaysGoWhenTheTimeIsUp) {
    highlighter().setInterval(std::chrono::milliseconds(300));
    highlighter().Highlight(QStringLiteral("LINE"));
    ASSERT_EQ(highlighter().helpers().size(), 2);
    spin(100);
    EXPECT_EQ(highlighter().helpers().size(), 2);
    ASSERT_TRUE(waitFor([&] { return highlighter().helpers().isEmpty(); }, 3000));
    EXPECT_FALSE(highlighter().timer().isActive());
    EXPECT_TRUE(highlighter().actionCounts().isEmpty());
    spin(50);
    EXPECT_EQ(overlaysAlive(), 0);
}

TEST_F(HighlightTest, HoveringOneEntryKeepsOnlyItAndRestartsTheTime) {
    // ERASE has two entries of its own (Edit and Modify menus); the Edit entry is also a tool button.
    highlighter().Highlight(QStringLiteral("ERASE"));
    ASSERT_EQ(highlighter().helpers().size(), 3);
    QAction* modifyErase = nullptr;
    for (QAction* a : window().menu(QStringLiteral("modifyMenu"))->actions())
        if (a->property(kCommandProperty) == QStringLiteral("ERASE")) modifyErase = a;
    ASSERT_NE(modifyErase, nullptr);
    spin(500);
    const int before = highlighter().timer().remainingTime();
    modifyErase->hover();
    ASSERT_EQ(highlighter().helpers().size(), 1);
    EXPECT_EQ(highlighter().helpers().front()->action(), modifyErase);
    EXPECT_GT(highlighter().timer().remainingTime(), before);
    EXPECT_TRUE(highlighter().timer().isActive());
}

TEST_F(HighlightTest, NamesAreTakenWithoutLeadingUnderscoresOrHyphensAndANewCommandReplacesTheOld) {
    for (const char* name : {"_LINE", "__LINE", "-LINE", "_-line", "line"}) {
        highlighter().Highlight(QString::fromLatin1(name));
        EXPECT_EQ(highlighter().helpers().size(), 2) << name;
    }
    highlighter().Highlight(QStringLiteral("_"));
    EXPECT_TRUE(highlighter().helpers().isEmpty());
    EXPECT_TRUE(highlighter().timer().isActive());
    EXPECT_EQ(CJxWidgetHighlighter::normalizedName(QStringLiteral("-")), QString());

    highlighter().Highlight(QStringLiteral("LINE"));
    highlighter().Highlight(QStringLiteral("CIRCLE"));
    QAction* circle = window().commandAction(QStringLiteral("CIRCLE"));
    ASSERT_EQ(highlighter().helpers().size(), 2);
    for (const CJxWidgetHighlightHelper* h : highlighter().helpers()) EXPECT_EQ(h->action(), circle);
    spin(50);
    EXPECT_EQ(overlaysAlive(), 1);  // the tool button's; the menu is closed
}

TEST_F(HighlightTest, OverlaysFollowTheirControlWhenTheBarChanges) {
    highlighter().Highlight(QStringLiteral("CIRCLE"));
    QToolBar* tools = drawTools();
    QWidget* button = tools->widgetForAction(window().commandAction(QStringLiteral("CIRCLE")));
    const CJxWidgetHighlightHelper* h = helperOn(tools);
    ASSERT_NE(h, nullptr);
    // Text beside icons makes every button wider: the bar is laid out and resized again.
    tools->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    tools->setIconSize(QSize(40, 40));
    ASSERT_TRUE(waitFor([&] { return h->overlay()->geometry() == button->geometry(); }, 3000))
        << "overlay " << h->overlay()->geometry().width() << " button " << button->geometry().width();
    tools->setToolButtonStyle(Qt::ToolButtonIconOnly);
    tools->setIconSize(QSize(24, 24));
    EXPECT_TRUE(waitFor([&] { return h->overlay()->geometry() == button->geometry(); }, 3000));
}

}  // namespace vela::desk::test
