#pragma once

#include <QJsonValue>
#include <QString>

namespace vela::commands {

// The layer and block commands read each element of their batch as a map from key to a loosely typed value:
// the page sends numbers, booleans and texts interchangeably, so every value is read through these two
// functions.

/// The text of a value: a string as it is, a number in its shortest decimal form (an integral number in plain
/// decimal, never with an exponent), "true" or "false" for a boolean, and the empty text for null, for an
/// array, for an object and for a key that is absent.
QString AttributeText(const QJsonValue& value);

/// The truth of a value: a boolean as it is; a number when it is not zero; a text unless it is empty, "0" or
/// "false" in any letter case; null, arrays, objects and absent keys are false.
bool AttributeTruth(const QJsonValue& value);

}  // namespace vela::commands
