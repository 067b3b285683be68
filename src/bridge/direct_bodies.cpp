#include "bridge/direct_bodies.h"

namespace vela::bridge {

DirectBodies& DirectBodies::instance() {
    static DirectBodies bodies;
    return bodies;
}

}  // namespace vela::bridge
