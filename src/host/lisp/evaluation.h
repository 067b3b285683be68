#pragma once

#include <QString>

#include "host/lisp/interpreter.h"

namespace vela::host::lisp {

/// Evaluates `expression` in the active document, with that document's globals, the host's user input and
/// its command-line log, under the host's LISP settings: how commands and front ends run LISP.
///
/// The evaluation is one undo step. A program that fails with an error keeps what it did before the error
/// (as CAD programs do, and as *error* handlers expect); one stopped by a limit of the sandbox (steps, time,
/// recursion, memory) has everything it did taken back, so the drawing is as it was.
EvaluationResult evaluateLisp(const QString& expression);

}  // namespace vela::host::lisp
