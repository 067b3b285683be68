// Sends arbitrary requests to the assistant's slots, as the page would, on the bundled sample drawing (or the
// drawing VELA_FUZZ_DRAWING names). Besides "no crash, no hang, no sanitizer report" it traps when an answer
// is no JSON object, when the drawing saved after a request does not read back cleanly, or when undo and redo
// do not give back the drawing exactly (see RequestHarness).
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "request_harness.h"

namespace {

vela::fuzz::RequestHarness* g_harness = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* drawing = std::getenv("VELA_FUZZ_DRAWING");
    g_harness = new vela::fuzz::RequestHarness(drawing ? drawing : VELA_SOURCE_DIR "/examples/floor_plan.dxf");
    if (!g_harness->ready()) {
        std::fprintf(stderr, "request_fuzz: %s\n", g_harness->error().c_str());
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string why = g_harness->run(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!why.empty()) {
        std::fprintf(stderr, "request_fuzz: %s\n", why.c_str());
        __builtin_trap();
    }
    return 0;
}
