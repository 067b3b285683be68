#include "host/user_input.h"

#include "host/result_codes.h"

namespace vela::host {

int NoUserInput::getString(const QString&, bool, QString&) { return RTCAN; }
int NoUserInput::getPoint(const QString&, InputTracker*, db::Point3d&) { return RTCAN; }

}  // namespace vela::host
