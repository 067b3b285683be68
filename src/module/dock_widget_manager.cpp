#include "module/dock_widget_manager.h"

#include <QCoreApplication>

#include "host/host.h"
#include "host/result_codes.h"

namespace vela::module {

CJxDockWidgetManager& CJxDockWidgetManager::instance() {
    static CJxDockWidgetManager manager;
    return manager;
}

void CJxDockWidgetManager::mainWindowCreated() {
    hostUiReady_ = true;
    createDock();
}

void CJxDockWidgetManager::createDock() {
    if (!palette_ && factory_.create) palette_ = factory_.create();
    if (!hostUiReady_ || dockCreated_ || !palette_) return;
    host::UiManager* ui = host::systemServices().uiManager();
    if (!ui) return;
    host::DockPlacement placement;
    placement.area = 2;
    placement.allowedAreas = 3;
    placement.size = 200;
    dock_ =
        ui->createDockPanel(palette_, QStringLiteral("VELAASSISTANT"),
                            QCoreApplication::translate("CJxDockWidgetManager", "VELA AI Assist"), placement,
                            QStringLiteral(":/images/VelaAssistant"), QStringLiteral("vela_assistant"));
    dockCreated_ = dock_ != nullptr;
}

void CJxDockWidgetManager::mainWindowToBeDestroyed() {
    if (!dockCreated_) {
        hostUiReady_ = false;
        return;
    }
    if (host::UiManager* ui = host::systemServices().uiManager()) ui->removeDockPanel(dock_);
    if (factory_.destroy) factory_.destroy(palette_);
    palette_ = nullptr;
    dock_ = nullptr;
    dockCreated_ = false;
    hostUiReady_ = false;
}

int CJxDockWidgetManager::showPanel() {
    if (!dockCreated_) return host::RTERROR;
    dock_->setVisible(true);
    dock_->raise();
    return host::RTNORM;
}

int CJxDockWidgetManager::hidePanel() {
    if (!dockCreated_) return host::RTERROR;
    dock_->setVisible(false);
    return host::RTNORM;
}

}  // namespace vela::module
