#pragma once

namespace vela::host {

/// Result codes of host commands and user input, with the values CAD hosts use.
inline constexpr int RTNORM = 5100;    // normal completion
inline constexpr int RTERROR = -5001;  // failure
inline constexpr int RTCAN = -5002;    // the user cancelled (or there is no user to answer)

}  // namespace vela::host
