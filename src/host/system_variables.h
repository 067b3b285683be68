#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <variant>

#include "db/geometry/vector.h"

namespace vela::host {

class Document;

/// A system variable's value: an integer, a real, a text or a point.
using VariableValue = std::variant<int, double, QString, db::Point3d>;

/// The system variables users and programs read and set by name (SETVAR, GETVAR, LISP's getvar/setvar): the
/// drawing's current settings (saved with it and undone with the command that set them), the session's
/// settings, and read-only facts about the drawing.
class SystemVariables {
  public:
    enum class Type { Integer, Real, Text, Point };
    struct Info {
        const char* name;
        Type type;
        bool readOnly;
        const char* description;
    };
    /// Every variable, in alphabetical order.
    static const std::vector<Info>& all();
    static const Info* find(const QString& name);

    /// The value in `document` (null: none open); nothing for an unknown name or a drawing variable without a
    /// drawing.
    std::optional<VariableValue> get(const QString& name, Document* document) const;
    /// Sets a value of the variable's type (an integer is taken for a real); empty on success, else why not,
    /// as a message for the user.
    QString set(const QString& name, const VariableValue& value, Document* document);
    /// Reads `text` as the variable's type (a point as typed on the command line) and sets it.
    QString setFromText(const QString& name, const QString& text, Document* document);
    /// The value as the command line shows it: texts in double quotes, points as "x,y,z".
    static QString displayText(const VariableValue& value);

    // The session's own settings (not saved in drawings).
    int objectSnapMode() const { return osmode_; }
    double hatchGapTolerance() const { return hpgaptol_; }
    bool commandEcho() const { return cmdecho_ != 0; }
    double circleRadius() const { return circlerad_; }
    double offsetDistance() const { return offsetdist_; }

  private:
    int osmode_ = 4133;
    double hpgaptol_ = 0.0;
    int cmdecho_ = 1;
    double circlerad_ = 0.0;
    double offsetdist_ = -1.0;  // -1: through a point
};

}  // namespace vela::host
