#pragma once

namespace vela::host {

/// A loadable module's object: the host creates it through the module's exported entry point
/// `odrxCreateModuleObject`, calls initApp after loading and uninitApp before unloading.
class Module {
public:
    virtual ~Module() = default;
    virtual void initApp() = 0;
    virtual void uninitApp() = 0;
};

/// The version of this interface; a module built against another one is refused.
inline constexpr int kModuleApiVersion = 1;

}  // namespace vela::host

// The entry points every module exports (C linkage, looked up by name).
extern "C" {
using VelaCreateModuleObjectFn = vela::host::Module* (*)();
using VelaGetApiVersionFn = int (*)();
}
