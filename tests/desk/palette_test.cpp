// The assistant's dock in the real main window: the panel commands, the status pages with their texts and
// buttons, the consent kept in the user's settings, and the assistant page calling the bridge from the web
// view.
#include <gtest/gtest.h>

#include <QDialog>
#include <QDockWidget>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>
#include <QWebChannel>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <memory>

#include "bridge/velaassistant_communication.h"
#include "desk_fixture.h"
#include "host/document.h"
#include "host/host.h"
#include "host/result_codes.h"
#include "palette/velaassistant_palette.h"

namespace vela::desk::test {
namespace {

using Palette = palette::CJxWidgetVelaAssistantPalette;

host::Host& theHost() {
    return desk().session->host();
}

QDockWidget* assistantDock() {
    return window().findChild<QDockWidget*>(QStringLiteral("VELAASSISTANT"));
}

Palette& thePalette() {
    Palette* p = window().assistantPalette();
    EXPECT_NE(p, nullptr);
    return *p;
}

QStringList buttonsOf(QWidget* page) {
    QStringList captions;
    for (QPushButton* b : page->findChildren<QPushButton*>()) captions << b->text();
    return captions;
}

QPushButton* button(Palette::Page page, const QString& caption) {
    for (QPushButton* b : thePalette().statusPage(page)->findChildren<QPushButton*>())
        if (b->text() == caption) return b;
    ADD_FAILURE() << "no button " << caption.toStdString();
    return nullptr;
}

bool showing(QWidget* page) {
    return waitFor([&] { return thePalette().pageStack()->currentWidget() == page; });
}

bool showingStatus(Palette::Page page) {
    return showing(thePalette().statusPage(page));
}

QString storedConsent() {
    return QSettings(desk().settings.assistantFile, QSettings::IniFormat)
        .value(QStringLiteral("consent/velaassist"))
        .toString();
}

/// Evaluates a script in the page; a promise's value is waited for.
QVariant inPage(const QString& script) {
    QWebEnginePage* page = thePalette().webView()->page();
    const QString run = QStringLiteral(
                            "window.__testDone = false; Promise.resolve((() => %1)()).then("
                            "(v) => { window.__testValue = v; window.__testDone = true; },"
                            "(e) => { window.__testValue = 'error: ' + e; window.__testDone = true; });")
                            .arg(script);
    page->runJavaScript(run);
    // Shared with the page's answers: a look still on its way when the wait ends answers later.
    struct Answer {
        QVariant value;
        bool done = false;
    };
    auto answer = std::make_shared<Answer>();
    waitFor([&] {
        page->runJavaScript(QStringLiteral("window.__testDone ? [window.__testValue] : null"),
                            [answer](const QVariant& v) {
                                if (!answer->done && v.isValid() && !v.isNull()) {
                                    answer->value = v.toList().value(0);
                                    answer->done = true;
                                }
                            });
        spin(30);
        return answer->done;
    });
    EXPECT_TRUE(answer->done) << "the page answered " << script.toStdString();
    return answer->value;
}

}  // namespace

TEST(BeforeWindow, PanelCommandsFailAndChangeNothingUntilTheMainWindowExists) {
    host::SystemServices& services = theHost().services();
    EXPECT_EQ(services.runCommand(QStringLiteral("_VELAAIASSIST"), {}), host::RTERROR);
    EXPECT_EQ(services.runCommand(QStringLiteral("_HIDEVELAAIASSIST"), {}), host::RTERROR);
    for (QWidget* w : QApplication::allWidgets()) EXPECT_NE(w->objectName(), QStringLiteral("VELAASSISTANT"));
    // Once the window is there, both work.
    window();
    EXPECT_EQ(services.runCommand(QStringLiteral("_HIDEVELAAIASSIST"), {}), host::RTNORM);
    EXPECT_EQ(services.runCommand(QStringLiteral("_VELAAIASSIST"), {}), host::RTNORM);
}

TEST(Palette, TheDockHoldsThePaletteWithItsFiveStatusPagesAndTheWebView) {
    QDockWidget* dock = assistantDock();
    ASSERT_NE(dock, nullptr);
    EXPECT_EQ(dock->windowTitle(), QStringLiteral("VELA AI Assist"));
    EXPECT_EQ(window().dockWidgetArea(dock), Qt::RightDockWidgetArea);
    Palette& p = thePalette();
    EXPECT_EQ(dock->widget(), &p);
    EXPECT_EQ(p.objectName(), QStringLiteral("CJxWidgetVelaAssistantPalette"));
    EXPECT_EQ(p.layout()->objectName(), QStringLiteral("verticalLayout"));
    ASSERT_EQ(p.pageStack()->count(), 6);
    EXPECT_EQ(p.pageStack()->widget(5), p.webView());
    EXPECT_TRUE(p.webChannel()->registeredObjects().contains(QStringLiteral("VelaAssistantAPI")));
    EXPECT_EQ(p.webChannel()->registeredObjects().value(QStringLiteral("VelaAssistantAPI")), p.bridge());

    const struct {
        Palette::Page page;
        const char* text;
        QStringList buttons;
    } pages[] = {
        {Palette::CloudStorageFailure,
         "There was an error in accessing\ncloud storage services.\n\nPlease try again.",
         {"TRY AGAIN"}},
        {Palette::NotConnected,
         "You are not connected to your\nOrlentz Account.\n\nPlease log in with your\ncredentials on the "
         "Start "
         "page.",
         {"SHOW START PAGE"}},
        {Palette::AiFeaturesDisabled,
         "AI features are currently disabled for your account.\n\nTo use VELA AI Assist, please enable these "
         "features in your personal settings in the Customer Portal.",
         {"Open Customer Portal"}},
        {Palette::ConsentQuestion,
         "VELA AI Assist uses artificial intelligence to assist you in your work. When enabled, your input "
         "and "
         "relevant data from your current session may be processed by AI systems.\n\nDo you consent to using "
         "VELA AI Assist?",
         {"Yes", "No"}},
        {Palette::ConsentDeclined,
         "You have chosen not to enable VELA AI Assist. This feature will remain disabled until consent is "
         "provided.\n\nTo update your choice, click \"Review Consent\".",
         {"Review Consent"}},
    };
    for (const auto& expected : pages) {
        QWidget* page = p.statusPage(expected.page);
        EXPECT_EQ(p.pageStack()->indexOf(page), int(expected.page));
        auto* text = page->findChild<QLabel*>(QStringLiteral("text"));
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(text->text(), QString::fromUtf8(expected.text));
        EXPECT_TRUE(text->wordWrap());
        EXPECT_EQ(buttonsOf(page), expected.buttons);
        auto* icon = page->findChild<QLabel*>(QStringLiteral("icon"));
        ASSERT_NE(icon, nullptr);
        EXPECT_EQ(icon->pixmap().size(), QSize(48, 48));
        EXPECT_EQ(static_cast<QBoxLayout*>(page->layout())->spacing(), 1);
    }
}

TEST(Palette, PanelCommandsHideShowAndRaiseTheDock) {
    host::SystemServices& services = theHost().services();
    QDockWidget* dock = assistantDock();
    ASSERT_NE(dock, nullptr);
    EXPECT_EQ(services.runCommand(QStringLiteral("_HIDEVELAAIASSIST"), {}), host::RTNORM);
    EXPECT_TRUE(waitFor([&] { return !dock->isVisible(); }));
    EXPECT_EQ(services.runCommand(QStringLiteral("VELAAIASSIST"), {}), host::RTNORM);
    EXPECT_TRUE(waitFor([&] { return dock->isVisible() && thePalette().isVisible(); }));
}

TEST(Palette, ConsentIsAskedStoredAndReviewedAndThePageLoadsOnceGiven) {
    Palette& p = thePalette();
    // Nothing stored yet: the question.
    EXPECT_TRUE(storedConsent().isEmpty());
    p.CheckPages();
    ASSERT_TRUE(showingStatus(Palette::ConsentQuestion));

    button(Palette::ConsentQuestion, QStringLiteral("No"))->click();
    ASSERT_TRUE(showingStatus(Palette::ConsentDeclined));
    EXPECT_EQ(storedConsent(), QStringLiteral("declined"));
    EXPECT_FALSE(p.isConsentRequestInProgress());
    // Looking again keeps the answer.
    p.CheckPages();
    spin(100);
    EXPECT_EQ(p.pageStack()->currentWidget(), p.statusPage(Palette::ConsentDeclined));

    button(Palette::ConsentDeclined, QStringLiteral("Review Consent"))->click();
    ASSERT_TRUE(showingStatus(Palette::ConsentQuestion));

    button(Palette::ConsentQuestion, QStringLiteral("Yes"))->click();
    ASSERT_TRUE(showing(p.webView()));
    EXPECT_EQ(storedConsent(), QStringLiteral("granted"));
    const QUrl address = p.webView()->url();
    EXPECT_EQ(address.scheme(), QStringLiteral("vela-page"));
    EXPECT_TRUE(address.query().startsWith(QStringLiteral("lid="))) << address.toString().toStdString();
    EXPECT_TRUE(waitFor([&] { return inPage(QStringLiteral("!!window.vela")).toBool(); }));
    ASSERT_TRUE(
        inPage(QStringLiteral("window.vela.ready.then(() => vela.idle()).then(() => true)")).toBool());
    showPlan();
    saveShot(&window(), QStringLiteral("desk-window-palette"));
}

TEST(Palette, TheAssistantPageCallsTheBridgeFromTheWebView) {
    Palette& p = thePalette();
    ASSERT_TRUE(showing(p.webView()));
    ASSERT_TRUE(inPage(QStringLiteral("window.vela.ready.then(() => true)")).toBool());
    host::Document* doc = desk().session->activeDocument();
    ASSERT_NE(doc, nullptr);
    const std::size_t before = doc->database()->undoManager().undoCount();

    // A slot that changes the drawing: its answer comes back to the page, the bridge keeps it, and the window
    // sees the change.
    const QString answer =
        inPage(
            QStringLiteral("vela.call('CreateEntities', JSON.stringify({entities: [{className: 'AcDbCircle', "
                           "center: '100,100', radius: 25}]}))"))
            .toString();
    const QJsonObject json = QJsonDocument::fromJson(answer.toUtf8()).object();
    EXPECT_TRUE(json.value(QStringLiteral("success")).toBool()) << answer.toStdString();
    EXPECT_EQ(doc->database()->undoManager().undoCount(), before + 1);

    // A slot that selects: the canvas's document selection follows.
    const QString handle = json.value(QStringLiteral("entities"))
                               .toArray()
                               .at(0)
                               .toObject()
                               .value(QStringLiteral("handle"))
                               .toString();
    ASSERT_FALSE(handle.isEmpty()) << answer.toStdString();
    inPage(
        QStringLiteral("vela.call('SelectEntityByHandle', JSON.stringify({handles: ['%1']}))").arg(handle));
    EXPECT_EQ(doc->selection().ids().size(), 1u);
    // The page's own host object tells it what changed.
    EXPECT_TRUE(waitFor([&] {
        return inPage(QStringLiteral("(window.vela.state().selection || []).join(',')")).toString() == handle;
    }));
    doc->selection().clear();
}

TEST(Palette, WithoutAnAssistantPageTheStartPageIsOffered) {
    Palette& p = thePalette();
    {
        QSettings file(desk().settings.assistantFile, QSettings::IniFormat);
        file.setValue(QStringLiteral("resources/page"), QString());
    }
    window().reloadAssistantSettings();
    ASSERT_TRUE(showingStatus(Palette::NotConnected));

    // SHOW START PAGE opens the host's Start page, where the built-in page is named again.
    bool seen = false;
    QTimer answer;  // gone with the test, should the dialog never come
    answer.setSingleShot(true);
    answer.callOnTimeout([&] {
        auto* dialog = window().findChild<QDialog*>(QStringLiteral("startPage"));
        if (!dialog) return;
        seen = true;
        for (QPushButton* b : dialog->findChildren<QPushButton*>())
            if (b->text() == QStringLiteral("Use the built-in page")) b->click();
        dialog->accept();
    });
    answer.start(200);
    button(Palette::NotConnected, QStringLiteral("SHOW START PAGE"))->click();
    EXPECT_TRUE(seen);
    EXPECT_EQ(QSettings(desk().settings.assistantFile, QSettings::IniFormat)
                  .value(QStringLiteral("resources/page"))
                  .toString(),
              QString::fromLatin1(kBuiltInAssistantPage));
    EXPECT_TRUE(showing(p.webView()));
}

TEST(Palette, WithdrawnAiFeaturesShowTheirPage) {
    Palette& p = thePalette();
    theHost().capabilities().setGranted(QStringLiteral("tessera_ai_features"), false);
    p.CheckPages();
    EXPECT_TRUE(showingStatus(Palette::AiFeaturesDisabled));
    theHost().capabilities().setGranted(QStringLiteral("tessera_ai_features"), true);
    p.CheckPages();
    EXPECT_TRUE(showing(p.webView()));
}

TEST(Palette, AConsentStoreThatCannotBeWrittenShowsTheCloudPageUntilTryAgainSucceeds) {
    Palette& p = thePalette();
    // A settings file whose folder is a plain file can be neither read from nor written to.
    const QString blocker = desk().dir.filePath(QStringLiteral("not-a-folder"));
    QFile(blocker).open(QIODevice::WriteOnly);
    theHost().aiSession().setSettingsFile(blocker + QStringLiteral("/assistant.ini"));
    p.pageStack()->setCurrentWidget(p.statusPage(Palette::ConsentQuestion));
    button(Palette::ConsentQuestion, QStringLiteral("Yes"))->click();
    ASSERT_TRUE(showingStatus(Palette::CloudStorageFailure));
    // Still failing: TRY AGAIN asks again and stays.
    button(Palette::CloudStorageFailure, QStringLiteral("TRY AGAIN"))->click();
    spin(100);
    EXPECT_EQ(p.pageStack()->currentWidget(), p.statusPage(Palette::CloudStorageFailure));
    // Reachable again: the stored consent is found.
    theHost().aiSession().setSettingsFile(desk().settings.assistantFile);
    button(Palette::CloudStorageFailure, QStringLiteral("TRY AGAIN"))->click();
    EXPECT_TRUE(showing(p.webView()));
}

}  // namespace vela::desk::test
