#pragma once

#include <QJsonValue>
#include <QString>
#include <optional>

namespace vela::properties {

// Requests send numbers, booleans and texts interchangeably where a text is meant; these are the ways a JSON
// value is read as a text or as a truth value.

/// The plain text of a value: a string as it is, a number in its shortest form that reads back exactly (a
/// whole number in plain digits, never with an exponent), "true" or "false" for a boolean, and the empty text
/// for null, an array, an object or an absent key.
QString PlainText(const QJsonValue& value);

/// The text of a property value as queries carry it: a string as it is, a number in general form with six
/// significant digits ("2.5", "1.23457e+06"), "true" or "false" for a boolean; nothing for null, arrays and
/// objects.
std::optional<QString> SixDigitText(const QJsonValue& value);

/// The truth of a value: a boolean as it is; a number when it is not zero; a text unless it is empty, "0" or
/// "false" in any letter case; null, arrays, objects and absent keys are false.
bool Truth(const QJsonValue& value);

}  // namespace vela::properties
