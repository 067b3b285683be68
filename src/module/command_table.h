#pragma once

#include <vector>

namespace vela::host {
class Command;
}

namespace vela::module {

/// The module's commands in the order the host gets them: the panel commands, the highlight command, then the
/// assistant commands whose bodies are built, in name order. Each object is a static of the module.
std::vector<host::Command*> moduleCommands();

}  // namespace vela::module
