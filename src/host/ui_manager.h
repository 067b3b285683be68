#pragma once

#include <QString>

namespace vela::host {

/// A dockable panel of the main window.
class DockPanel {
public:
    virtual ~DockPanel() = default;
    virtual void setVisible(bool visible) = 0;
    virtual bool isVisible() const = 0;
    virtual void raise() = 0;
};

/// Geometry of a new dock panel: the areas it may dock in, its size, and the five optional values (-1 for the
/// default) a desktop host passes to its window system.
struct DockPlacement {
    int area = 2;
    int allowedAreas = 3;
    int size = 200;
    int x = -1, y = -1, width = -1, height = -1, flags = -1;
};

/// The main window's user-interface services, provided by a desktop front end. A headless host has none.
/// The panel's content is the front end's own widget, passed as an opaque pointer so that this layer needs no
/// widget library.
class UiManager {
public:
    virtual ~UiManager() = default;
    virtual DockPanel* createDockPanel(void* content, const QString& name, const QString& title,
                                       const DockPlacement& placement, const QString& iconPath,
                                       const QString& iconName) = 0;
    virtual void removeDockPanel(DockPanel* panel) = 0;
    /// The workspace (ribbon tab, tool bar, menu) that holds the control starting `commandName`, or empty.
    virtual QString workspaceOfCommand(const QString& commandName) const = 0;
    /// Lays overlays over the controls that start `commandName` for a while.
    virtual void highlightCommandControls(const QString& commandName) = 0;
};

}  // namespace vela::host
