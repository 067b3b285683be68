#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>
#include <optional>

#include "db/geometry/vector.h"

namespace vela::host {

/// Reads one decimal number the way the assistant writes them: C locale, "." as decimal point, blanks around
/// it allowed, an optional sign, an optional exponent. Empty text, any other character and values that are
/// not finite (infinities, NaN, overflow) give nothing.
std::optional<double> NumberFromText(QStringView text);

/// The shortest decimal text that reads back to exactly `value` ("0.1", "250000", "1e+20"): plain notation
/// for exponents from -5 to 15 and wherever it is shorter, else scientific; -0 is written as "0".
QString ShortestNumberText(double value);

/// A number in general form with six significant digits ("2.5", "1.23457e+06"), whatever the process's
/// locale.
QString SixDigitNumberText(double value);

/// "x,y,z", each coordinate in the shortest text that reads back exactly.
QString PointToText(const db::Point3d& point);

// The same texts appended to a byte array, for writers of large answers.
void AppendShortestNumber(QByteArray& out, double value);
void AppendSixDigitNumber(QByteArray& out, double value);
void AppendPointText(QByteArray& out, const db::Point3d& point);

}  // namespace vela::host
