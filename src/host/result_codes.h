#pragma once

namespace vela::host {

/// Result codes of host commands and user input, with the values CAD hosts use.
inline constexpr int RTNONE = 5000;    // the user answered with Enter alone where that is allowed
inline constexpr int RTNORM = 5100;    // normal completion
inline constexpr int RTERROR = -5001;  // failure
inline constexpr int RTCAN = -5002;    // the user cancelled (or there is no user to answer)
inline constexpr int RTKWORD = -5005;  // the user chose one of the prompt's keywords

}  // namespace vela::host
