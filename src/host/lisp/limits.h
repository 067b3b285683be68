#pragma once

#include <cstdint>

namespace vela::host::lisp {

/// What one evaluation may use up. Passing any of them ends the evaluation with an error.
struct Limits {
    /// Forms evaluated.
    std::int64_t steps = 100'000'000;
    /// Wall-clock time.
    int milliseconds = 5000;
    /// Evaluations nested inside one another (recursion).
    int depth = 2000;
    /// List cells and bytes of text alive at once, beyond what the document's globals held before.
    std::int64_t conses = 8'000'000;
    std::int64_t stringBytes = 256LL << 20;
};

/// What an evaluation may reach of its host besides the drawing.
struct EvaluationSettings {
    Limits limits;
    /// Whether `command` may run commands that write or read files (SAVE, QSAVE).
    bool allowFileCommands = false;
};

}  // namespace vela::host::lisp
