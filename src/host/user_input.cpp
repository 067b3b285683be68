#include "host/user_input.h"

#include "host/result_codes.h"

namespace vela::host {

int NoUserInput::getInput(const InputRequest&, InputAnswer&) {
    return RTCAN;
}

}  // namespace vela::host
