#pragma once

#include <QIcon>

namespace vela::desk {

/// The icon of a menu entry or tool button: a host command's name ("LINE", "MOVE", "U", ...) or one of the
/// window's own actions ("NEW", "OPEN", "ZOOMEXTENTS"). Drawn as strokes at whatever size is asked, in the
/// palette's text colour with the part the command makes or changes in an accent; a null icon for a name
/// with none.
QIcon commandIcon(const QString& name);

}  // namespace vela::desk
