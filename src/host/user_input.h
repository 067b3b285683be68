#pragma once

#include <QString>
#include <optional>

#include "db/geometry/vector.h"

namespace vela::host {

/// Follows the cursor while a point is asked for, to draw a live preview (a rubber band, a hatch to be).
class InputTracker {
public:
    virtual ~InputTracker() = default;
    /// The cursor is at `point` (drawing coordinates).
    virtual void track(const db::Point3d& point) = 0;
};

/// One question to the user, as the command line shows it.
struct InputRequest {
    /// The whole prompt with its options and default: "Specify next point or [Close/Undo]: ".
    QString prompt;
    /// A point is asked for: a front end with a canvas may answer with a click as well as with typed text.
    bool wantsPoint = false;
    /// A typed answer may hold blanks (text for a label); otherwise a blank ends the answer as Enter does.
    bool allowSpaces = false;
    /// Told where the cursor is while the user looks for a point.
    InputTracker* tracker = nullptr;
    /// Where a rubber band starts (the last point of a line being drawn), when there is one.
    std::optional<db::Point3d> basePoint;
};

/// The user's answer: what was typed (possibly empty: Enter), or a point picked on a canvas.
struct InputAnswer {
    QString text;
    std::optional<db::Point3d> point;
};

/// A front end's way of asking its user. Returns RTNORM with the answer, or RTCAN when the user cancelled
/// (Escape); a front end with no user answers RTCAN at once. The host reads and checks the answer itself and
/// asks again when it does not fit, so a front end does no parsing of its own.
class UserInputSource {
public:
    virtual ~UserInputSource() = default;
    virtual int getInput(const InputRequest& request, InputAnswer& answer) = 0;
};

/// The input source of a front end without a user (a script, a server): everything is cancelled.
class NoUserInput : public UserInputSource {
public:
  int getInput(const InputRequest&, InputAnswer&) override;
};

}  // namespace vela::host
