#pragma once

#include "host/ui_manager.h"
#include "palette/widget_highlighter.h"

class QMainWindow;
class QMenu;

namespace vela::desk {

/// The property of an action that names the host command it starts ("LINE", "U", "VELAAIASSIST").
inline constexpr const char* kCommandProperty = "velaCommand";

/// The main window's user-interface services for modules: dock panels, and where a command's controls are.
class DeskUiManager : public host::UiManager, public palette::CJxApiHelper {
  public:
    /// Dock panels go into `window`; their toggles into `panelsMenu` when given.
    DeskUiManager(QMainWindow& window, QMenu* panelsMenu) : window_(window), panelsMenu_(panelsMenu) {}

    host::DockPanel* createDockPanel(void* content, const QString& name, const QString& title,
                                     const host::DockPlacement& placement, const QString& iconPath,
                                     const QString& iconName) override;
    void removeDockPanel(host::DockPanel* panel) override;
    QString workspaceOfCommand(const QString& commandName) const override;
    void highlightCommandControls(const QString& commandName) override;

    QList<palette::CommandControl> commandControls(const QString& commandName) const override;

  private:
    QMainWindow& window_;
    QMenu* panelsMenu_;
};

}  // namespace vela::desk
