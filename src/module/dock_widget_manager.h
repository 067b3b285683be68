#pragma once

#include <functional>

#include "host/editor.h"

namespace vela::host {
class DockPanel;
}

namespace vela::module {

/// Puts the assistant palette into the host's main window as a dock panel once the window exists, and takes
/// it out again when the window goes. One per process, created on first use.
class CJxDockWidgetManager : public host::EditorReactor {
  public:
    static CJxDockWidgetManager& instance();

    /// How the palette widget is made and destroyed: installed by the desktop front end, which owns the
    /// widget library. Without it no palette can be made and no dock appears.
    struct PaletteFactory {
        std::function<void*()> create;
        std::function<void(void*)> destroy;
    };
    void setPaletteFactory(PaletteFactory factory) { factory_ = std::move(factory); }

    void mainWindowCreated() override;
    void mainWindowToBeDestroyed() override;

    /// Shows and raises the dock; RTERROR when there is none yet.
    int showPanel();
    /// Hides the dock; RTERROR when there is none yet.
    int hidePanel();

    bool isHostUiReady() const { return hostUiReady_; }
    bool isDockCreated() const { return dockCreated_; }
    host::DockPanel* dock() const { return dock_; }

  private:
    CJxDockWidgetManager() = default;
    void createDock();

    PaletteFactory factory_;
    void* palette_ = nullptr;
    host::DockPanel* dock_ = nullptr;
    bool hostUiReady_ = false;
    bool dockCreated_ = false;
};

}  // namespace vela::module
