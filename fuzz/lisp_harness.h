#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/lisp/interpreter.h"

namespace vela::host {
class Host;
}

namespace vela::fuzz {

/// Runs LISP programs as the assistant's evaluation does (one undo step in the active drawing, the host's
/// limits) and afterwards checks what a user relies on. Shared by the LISP fuzzer and the test that replays
/// its corpus.
///
/// Each program gets a drawing of its own, read from the same text, so that what it finds does not depend on
/// the programs before it (globals, entities made, handles used).
class LispHarness {
  public:
    /// Reads `drawing` once; `error` says what failed when `ready()` is false. Evaluations run under
    /// `limits`.
    LispHarness(const std::string& drawing, const host::lisp::Limits& limits);
    ~LispHarness();
    LispHarness(const LispHarness&) = delete;
    LispHarness& operator=(const LispHarness&) = delete;

    bool ready() const { return error_.empty(); }
    const std::string& error() const { return error_; }

    struct Outcome {
        /// Empty when every check held, else what did not.
        std::string problem;
        host::lisp::EvaluationResult result;
    };

    /// Evaluates `program` and checks: that no undo group is left open; that the drawing saves, reads back
    /// without a repair and saves the same again; that the evaluation took at most one undo step, none when
    /// nothing changed, and nothing at all when a limit of the sandbox stopped it; that undoing the step
    /// gives back the drawing as it was and redoing it the drawing as it was after; that the interpreter
    /// evaluates again afterwards.
    Outcome run(std::string_view program);

  private:
    std::unique_ptr<host::Host> host_;
    std::string drawing_;   // the file's text
    std::string original_;  // the drawing as it saves before any program, without its next free handle
    QString probeAnswer_;   // what the probe evaluates to in a fresh interpreter
    std::string error_;
};

}  // namespace vela::fuzz
