#include "host/property_protocol/kind_properties.h"

namespace vela::host::kinds {

std::vector<ClassProperties> frameKindProperties() {
    return {};
}

}  // namespace vela::host::kinds
