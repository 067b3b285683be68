#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "request_harness.h"

namespace vela::fuzz {
namespace {

std::string contents(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The request fuzzer's inputs (its seeds and whatever it once found): each answers a JSON object, leaves a
// drawing that saves and reads back cleanly, and undoes and redoes exactly.
TEST(RequestCorpus, EveryInputKeepsTheDrawingSoundThroughUndoAndRedo) {
    RequestHarness harness(VELA_SOURCE_DIR "/examples/floor_plan.dxf");
    ASSERT_TRUE(harness.ready()) << harness.error();
    std::size_t inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VELA_SOURCE_DIR "/fuzz/request_corpus")) {
        ++inputs;
        EXPECT_EQ(harness.run(contents(entry.path())), "") << entry.path().filename();
    }
    EXPECT_GE(inputs, harness.slots().size()) << "at least one seed a slot";
}

}  // namespace
}  // namespace vela::fuzz
