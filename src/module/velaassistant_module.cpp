#include "module/velaassistant_module.h"

#include "bridge/electrical_go_to.h"
#include "commands/commands.h"
#include "host/command.h"
#include "host/host.h"
#include "module/command_table.h"
#include "module/dock_widget_manager.h"
#include "module/module_constants.h"
#include "module/velaassistant_api.h"
#include "tracking/change_tracker.h"

namespace vela::module {

CJxVelaAssistantModule::CJxVelaAssistantModule() = default;

CJxVelaAssistantModule::~CJxVelaAssistantModule() {
    removeCommands();
}

void CJxVelaAssistantModule::initApp() {
    if (host::Capabilities* caps = host::capabilities()) caps->registerCapability(kSelectEntitiesCapability);
    host::debugSettings().setDescription(kDebugSettingKey, QStringLiteral("V3 services debugging"));
    host::editor().addReactor(&CJxDockWidgetManager::instance());
    registerCommands();
    if (host::isTestFrameworkMode()) {
        QString error;
        if (!host::Host::instance()->modules().load(kTestFrameworkModule, &error))
            host::systemServices().writeMessage(QStringLiteral("VELA AI Assist: %1").arg(error));
        api_ = std::make_unique<CJxVelaAssistantAPIImpl>();
        SetJxVelaAssistantAPI(api_.get());
    }
    if (host::Capabilities* caps = host::capabilities()) caps->registerCapability(kAiFeaturesCapability);
    bridge::ElectricalGoTo() = [](const QString& query) {
        CJxElectricalAssistantAPI* api = GetJxElectricalAssistantAPI();
        return api && api->GoTo(query);
    };
}

void CJxVelaAssistantModule::uninitApp() {
    removeCommands();
    // The dock manager's code leaves with the module: it must not stay on the editor's list.
    if (host::Host::instance()) host::editor().removeReactor(&CJxDockWidgetManager::instance());
    bridge::ElectricalGoTo() = nullptr;
}

void CJxVelaAssistantModule::registerCommands() {
    if (registered_) return;
    commands_ = moduleCommands();
    host::CommandStack& stack = host::systemServices().commandStack();
    // The change tracker starts right after the entity summary command, between the sixteenth and the
    // seventeenth command of the full set, so that it hears the documents before the last two can run.
    tracking::CJxV3ChangeTracker* tracker = tracking::GetV3ChangeTracker();
    for (host::Command* c : commands_) {
        stack.addCommand(c);
        if (c->globalName() == QLatin1String(commands::kSummarizeEntities.globalName)) tracker->Start();
    }
    registered_ = true;
}

void CJxVelaAssistantModule::removeCommands() {
    if (!registered_) return;
    if (host::Host* h = host::Host::instance())
        for (host::Command* c : commands_) h->commands().removeCommand(c);
    tracking::GetV3ChangeTracker()->Stop();
    if (host::isTestFrameworkMode()) {
        if (host::Host* h = host::Host::instance()) h->modules().unload(kTestFrameworkModule);
        SetJxVelaAssistantAPI(nullptr);
        api_.reset();
    }
    registered_ = false;
}

}  // namespace vela::module

extern "C" {
__attribute__((visibility("default"))) vela::host::Module* odrxCreateModuleObject() {
    return new vela::module::CJxVelaAssistantModule();
}
__attribute__((visibility("default"))) int odrxGetAPIVersion() {
    return vela::host::kModuleApiVersion;
}
}

// How a desktop front end tells the module how to make its palette widget (the module needs no widget library
// to be loaded by a headless host).
extern "C" __attribute__((visibility("default"))) void VelaAssistSetPaletteFactory(void* (*create)(),
                                                                                   void (*destroy)(void*)) {
    vela::module::CJxDockWidgetManager::PaletteFactory factory;
    if (create) factory.create = create;
    if (destroy) factory.destroy = destroy;
    vela::module::CJxDockWidgetManager::instance().setPaletteFactory(std::move(factory));
}
