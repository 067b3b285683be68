// Feeds arbitrary text to the LISP reader and evaluator in a drawing (the bundled sample plan, or the drawing
// VELA_FUZZ_DRAWING names), under tight limits so that every input ends quickly. Besides "no crash, no hang,
// no sanitizer report" it traps when the drawing afterwards does not save and read back cleanly, when the
// evaluation's undo step does not give back the drawing exactly, or when the interpreter no longer answers
// (see LispHarness).
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "lisp_harness.h"

namespace {

vela::fuzz::LispHarness* g_harness = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    vela::host::lisp::Limits limits;
    limits.steps = 200'000;
    limits.milliseconds = 200;
    limits.depth = 300;
    limits.conses = 200'000;
    limits.stringBytes = 4 << 20;
    const char* drawing = std::getenv("VELA_FUZZ_DRAWING");
    g_harness =
        new vela::fuzz::LispHarness(drawing ? drawing : VELA_SOURCE_DIR "/examples/floor_plan.dxf", limits);
    if (!g_harness->ready()) {
        std::fprintf(stderr, "lisp_fuzz: %s\n", g_harness->error().c_str());
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto outcome = g_harness->run(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!outcome.problem.empty()) {
        std::fprintf(stderr, "lisp_fuzz: %s\n", outcome.problem.c_str());
        __builtin_trap();
    }
    return 0;
}
