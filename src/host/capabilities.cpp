#include "host/capabilities.h"

namespace vela::host {

void Capabilities::registerCapability(const QString& name) { registered_.insert(name); }

void Capabilities::setGranted(const QString& name, bool granted) {
    if (granted) {
        registered_.insert(name);
        withdrawn_.remove(name);
    } else {
        withdrawn_.insert(name);
    }
}

}  // namespace vela::host
