#pragma once

#include <QString>

#include "host/lisp/value.h"

namespace vela::host::lisp {

/// A value as prin1 writes it (`quoted`: strings in quotes with escapes) or as princ does (strings as they
/// are): integers "3", reals in the shortest form with up to six significant digits ("0.25", "2.0",
/// "0.333333"), nil "nil", lists "(1 2 3)", dotted pairs "(8 . \"Walls\")", entity names
/// "<Entity name: 2B7>" (the handle), selection sets "<Selection set: 4>".
QString print(const Value& value, bool quoted = true);

/// A real as the printer writes it.
QString printReal(double value);

}  // namespace vela::host::lisp
