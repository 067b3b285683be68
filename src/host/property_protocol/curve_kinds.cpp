#include "host/property_protocol/kind_properties.h"

namespace vela::host::kinds {

std::vector<ClassProperties> curveKindProperties() {
    return {};
}

}  // namespace vela::host::kinds
