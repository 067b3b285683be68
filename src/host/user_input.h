#pragma once

#include <QString>

#include "db/geometry/vector.h"

namespace vela::host {

/// Follows the cursor while a point is asked for, to draw a live preview (a rubber band, a hatch to be).
class InputTracker {
public:
    virtual ~InputTracker() = default;
    /// The cursor is at `point` (drawing coordinates).
    virtual void track(const db::Point3d& point) = 0;
};

/// A front end's way of asking its user. Each call returns RTNORM with the answer, or RTCAN when the user
/// cancelled; a front end with no user answers RTCAN at once.
class UserInputSource {
public:
    virtual ~UserInputSource() = default;
    virtual int getString(const QString& prompt, bool allowSpaces, QString& answer) = 0;
    virtual int getPoint(const QString& prompt, InputTracker* tracker, db::Point3d& answer) = 0;
};

/// The input source of a front end without a user (a script, a server): everything is cancelled.
class NoUserInput : public UserInputSource {
public:
    int getString(const QString&, bool, QString&) override;
    int getPoint(const QString&, InputTracker*, db::Point3d&) override;
};

}  // namespace vela::host
