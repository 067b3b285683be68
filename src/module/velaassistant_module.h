#pragma once

#include <memory>
#include <vector>

#include "host/module.h"

namespace vela::host {
class Command;
}

namespace vela::module {

class CJxVelaAssistantAPIImpl;

/// The module object: sets up the capabilities, the debug setting, the dock-panel manager and the commands
/// when the host starts the module, and takes the commands away again (once) when it stops it.
class CJxVelaAssistantModule : public host::Module {
  public:
    CJxVelaAssistantModule();
    ~CJxVelaAssistantModule() override;

    void initApp() override;
    void uninitApp() override;

    /// Adds the commands to the host's command stack, in their order.
    void registerCommands();
    /// Takes the commands away again; does nothing when they are not registered.
    void removeCommands();
    bool isRegistered() const { return registered_; }
    /// The commands this module brings, in registration order.
    const std::vector<host::Command*>& commands() const { return commands_; }

  private:
    bool registered_ = false;
    std::vector<host::Command*> commands_;
    std::unique_ptr<CJxVelaAssistantAPIImpl> api_;
};

}  // namespace vela::module
