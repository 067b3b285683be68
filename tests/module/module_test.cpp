#include "host/module.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QLibrary>

#include "host/command.h"
#include "host/command_context.h"
#include "host/host.h"
#include "host/result_codes.h"
#include "module/velaassistant_api.h"
#include "tracking/change_tracker.h"

namespace vela::host {
namespace {

const QString kModule = QStringLiteral("VelaAssist");

// A desktop front end's user-interface services, as far as a dock panel goes.
class DesktopUi : public UiManager {
  public:
    struct Panel : DockPanel {
        bool visible = false;
        int raised = 0;
        void setVisible(bool v) override { visible = v; }
        bool isVisible() const override { return visible; }
        void raise() override { ++raised; }
    };
    std::vector<std::unique_ptr<Panel>> panels;
    QString name, title, icon;
    DockPlacement placement;
    void* content = nullptr;
    int removed = 0;

    DockPanel* createDockPanel(void* c, const QString& n, const QString& t, const DockPlacement& p,
                               const QString& iconPath, const QString& iconName) override {
        content = c, name = n, title = t, placement = p, icon = iconPath + QLatin1Char('/') + iconName;
        panels.push_back(std::make_unique<Panel>());
        return panels.back().get();
    }
    void removeDockPanel(DockPanel*) override { ++removed; }
    QString workspaceOfCommand(const QString&) const override { return {}; }
    void highlightCommandControls(const QString& name) override { highlighted << name; }
    QStringList highlighted;
};

int palettesAlive = 0;
void* makePalette() {
    ++palettesAlive;
    return &palettesAlive;
}
void destroyPalette(void*) {
    --palettesAlive;
}

TEST(Module, LoadsRegistersItsCommandsAndSettingsAndUnloadsCleanly) {
    Host host;
    const QStringList own = host.commands().globalNames();  // the host's own drawing commands
    QString error;
    ASSERT_TRUE(host.modules().load(kModule, &error)) << error.toStdString();
    EXPECT_TRUE(host.capabilities().hasCapability(QStringLiteral("veladesk.v3.selectentities")));
    EXPECT_TRUE(host.capabilities().hasCapability(QStringLiteral("tessera_ai_features")));
    EXPECT_EQ(host.debugSettings().description(QStringLiteral("V3Debugging")),
              QStringLiteral("V3 services debugging"));
    const QStringList names = host.commands().globalNames();
    EXPECT_EQ(names.mid(own.size(), 3),
              (QStringList{QStringLiteral("_VELAAIASSIST"), QStringLiteral("_HIDEVELAAIASSIST"),
                           QStringLiteral("_HIGHLIGHTUI")}));
    Command* show = host.commands().lookup(QStringLiteral("VELAAIASSIST"));
    ASSERT_NE(show, nullptr);
    EXPECT_EQ(show->localName(), QStringLiteral("VELAAIASSIST"))
        << "the empty catalogue gives the name itself";
    EXPECT_TRUE(host.modules().load(kModule)) << "loading twice is loading once";
    EXPECT_TRUE(tracking::GetV3ChangeTracker()->isStarted())
        << "the change tracker runs while the module is loaded";
    EXPECT_TRUE(names.contains(QStringLiteral("_V3_GETCHANGESINFO")));

    EXPECT_TRUE(host.modules().unload(kModule));
    EXPECT_EQ(host.commands().globalNames(), own);
    EXPECT_FALSE(tracking::GetV3ChangeTracker()->isStarted());
    EXPECT_FALSE(host.modules().unload(kModule));
    EXPECT_FALSE(host.modules().load(QStringLiteral("NoSuchModule"), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("not found")));
    // Loaded again after an unload, it works as the first time.
    ASSERT_TRUE(host.modules().load(kModule, &error));
    EXPECT_EQ(host.commands().globalNames(), names);
}

TEST(Module, RemovingTheCommandsTwiceRemovesThemOnce) {
    Host host;
    QLibrary library(QStringLiteral(VELA_MODULE_FILE));
    ASSERT_TRUE(library.load()) << library.errorString().toStdString();
    auto create = reinterpret_cast<VelaCreateModuleObjectFn>(library.resolve("odrxCreateModuleObject"));
    ASSERT_NE(create, nullptr);
    std::unique_ptr<Module> module(create());
    const QStringList own = host.commands().globalNames();
    module->initApp();
    const qsizetype registered = host.commands().globalNames().size();
    EXPECT_GE(registered, own.size() + 3);
    // Another module's command stays when ours go, however often.
    struct Other : Command {
        QString globalName() const override { return QStringLiteral("_OTHER"); }
        QString localName() const override { return QStringLiteral("OTHER"); }
        int execute(CommandContext&) override { return RTNORM; }
    } other;
    host.commands().addCommand(&other);
    module->uninitApp();
    module->uninitApp();
    EXPECT_EQ(host.commands().globalNames(), own + QStringList{QStringLiteral("_OTHER")});
    host.commands().removeCommand(&other);
}

TEST(Module, TestFrameworkModeInstallsTheApiAndRemovalTakesItBack) {
    Host host;
    struct Log : MessageSink {
        QStringList lines;
        void writeMessage(const QString& t) override { lines << t; }
    } log;
    host.services().setMessageSink(&log);
    QLibrary library(QStringLiteral(VELA_MODULE_FILE));
    ASSERT_TRUE(library.load());
    using GetApi = void* (*)();
    auto getApi = reinterpret_cast<GetApi>(library.resolve("GetJxVelaAssistantAPI"));
    ASSERT_NE(getApi, nullptr);

    ASSERT_TRUE(host.modules().load(kModule));
    EXPECT_EQ(getApi(), nullptr) << "outside the test framework there is no API object";
    host.modules().unload(kModule);

    host.setTestFrameworkMode(true);
    ASSERT_TRUE(host.modules().load(kModule));
    ASSERT_NE(getApi(), nullptr);
    // The API's bodies are the catalogue's: its changes report sees what the drawing's commands did.
    auto* api = static_cast<vela::module::CJxVelaAssistantAPI*>(getApi());
    Document* doc = host.documents().createNew();
    UserIO io({}, host.services().userInput());
    CommandContext context(doc, io);
    QJsonObject response;
    api->CreateLayers(QJsonDocument::fromJson(R"({"layers":[{"name":"Notes"}]})"), &context, response);
    ASSERT_TRUE(response.value("success").toBool());
    api->GetChangesInfo(&context, response);
    EXPECT_EQ(response.value("changes").toObject().value("summary").toObject().value("created").toInt(), 1);
    api->GetChangesInfo(nullptr, response);
    EXPECT_EQ(response, QJsonObject({{"error", "Invalid command context"}}));
    api->CreateHatch(QJsonDocument::fromJson(R"({"entities":[]})"), nullptr, response);
    EXPECT_EQ(response, QJsonObject({{"error", "Invalid command context"}, {"success", false}}));
    api->CreateHatch(QJsonDocument::fromJson(R"({"entities":[]})"), &context, response);
    EXPECT_EQ(response, QJsonObject({{"count", 0}, {"entities", QJsonArray()}, {"success", false}}));
    EXPECT_TRUE(log.lines.join(QLatin1Char('\n')).contains(QStringLiteral("JxVelaAssistantTestFramework")))
        << "the missing test-framework module is reported, not fatal";
    host.modules().unload(kModule);
    EXPECT_EQ(getApi(), nullptr) << "no dangling instance after removal";
}

TEST(Module, PanelCommandsFollowTheMainWindow) {
    Host host;
    DesktopUi ui;
    host.services().setUiManager(&ui);
    ASSERT_TRUE(host.modules().load(kModule));
    QLibrary library(QStringLiteral(VELA_MODULE_FILE));
    ASSERT_TRUE(library.load());
    using SetFactory = void (*)(void* (*)(), void (*)(void*));
    auto setFactory = reinterpret_cast<SetFactory>(library.resolve("VelaAssistSetPaletteFactory"));
    ASSERT_NE(setFactory, nullptr);
    setFactory(&makePalette, &destroyPalette);

    EXPECT_EQ(host.services().runCommand(QStringLiteral("_HIDEVELAAIASSIST"), {}), RTERROR)
        << "no window yet";
    EXPECT_EQ(host.services().runCommand(QStringLiteral("_VELAAIASSIST"), {}), RTERROR);
    EXPECT_TRUE(ui.panels.empty());

    host.editor().fireMainWindowCreated();
    ASSERT_EQ(ui.panels.size(), 1u);
    EXPECT_EQ(ui.name, QStringLiteral("VELAASSISTANT"));
    EXPECT_EQ(ui.title, QStringLiteral("VELA AI Assist"));
    EXPECT_EQ(ui.icon, QStringLiteral(":/images/VelaAssistant/vela_assistant"));
    EXPECT_EQ(ui.placement.area, 2);
    EXPECT_EQ(ui.placement.allowedAreas, 3);
    EXPECT_EQ(ui.placement.size, 200);
    EXPECT_EQ(ui.content, &palettesAlive);
    EXPECT_EQ(palettesAlive, 1);

    EXPECT_EQ(host.services().runCommand(QStringLiteral("_VELAAIASSIST"), {}), RTNORM);
    EXPECT_TRUE(ui.panels[0]->visible);
    EXPECT_EQ(ui.panels[0]->raised, 1);
    EXPECT_EQ(host.services().runCommand(QStringLiteral("HIDEVELAAIASSIST"), {}), RTNORM);
    EXPECT_FALSE(ui.panels[0]->visible);
    host.editor().fireMainWindowCreated();
    EXPECT_EQ(ui.panels.size(), 1u) << "one dock for one window";

    EXPECT_EQ(host.services().runCommand(QStringLiteral("_HIGHLIGHTUI"), {QStringLiteral("LINE AND MORE")}),
              RTNORM);
    EXPECT_EQ(ui.highlighted, QStringList{QStringLiteral("LINE AND MORE")}) << "the name may hold spaces";
    EXPECT_EQ(host.services().runCommand(QStringLiteral("_HIGHLIGHTUI"), {}), RTCAN) << "no user to ask";

    host.editor().fireMainWindowToBeDestroyed();
    EXPECT_EQ(ui.removed, 1);
    EXPECT_EQ(palettesAlive, 0);
    EXPECT_EQ(host.services().runCommand(QStringLiteral("_VELAAIASSIST"), {}), RTERROR);
    setFactory(nullptr, nullptr);
}

}  // namespace
}  // namespace vela::host
