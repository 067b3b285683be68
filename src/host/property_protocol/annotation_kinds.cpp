#include "host/property_protocol/kind_properties.h"

namespace vela::host::kinds {

std::vector<ClassProperties> annotationKindProperties() {
    return {};
}

}  // namespace vela::host::kinds
