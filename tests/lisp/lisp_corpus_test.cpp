// The LISP fuzzer's seed corpus replayed through the fuzzer's own harness: every program must leave a drawing
// that saves and reads back cleanly and whose undo step is exact. Beyond that, each program's name says how
// it must end: "limit_" programs are stopped by the sandbox (and everything they did is taken back), "fails_"
// programs end on an error of their own, the others succeed; a first line "; expect: <printed value>" gives
// the value of the last form, counted independently of this program (ezdxf's reading of the sample plan).
#include <gtest/gtest.h>

#include <QString>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "lisp_harness.h"

namespace {

namespace fs = std::filesystem;
using vela::fuzz::LispHarness;

const fs::path kCorpus = fs::path(VELA_SOURCE_DIR) / "fuzz" / "lisp_corpus";

// The limits the fuzzer runs under: the corpus must end fast under them as it does there.
vela::host::lisp::Limits fuzzLimits() {
    vela::host::lisp::Limits limits;
    limits.steps = 200'000;
    limits.milliseconds = 2000;  // more room than the fuzzer's: a loaded test machine must not fail a seed
    limits.depth = 300;
    limits.conses = 200'000;
    limits.stringBytes = 4 << 20;
    return limits;
}

std::string readAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST(LispCorpus, EverySeedEndsAsItsNameSaysAndLeavesTheDrawingSound) {
    LispHarness harness((fs::path(VELA_SOURCE_DIR) / "examples" / "floor_plan.dxf").string(), fuzzLimits());
    ASSERT_TRUE(harness.ready()) << harness.error();
    int seeds = 0, expectations = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(kCorpus)) {
        const std::string name = entry.path().filename().string();
        const std::string program = readAll(entry.path());
        SCOPED_TRACE(name);
        ++seeds;
        const LispHarness::Outcome outcome = harness.run(program);
        EXPECT_EQ(outcome.problem, "");
        const std::string printed = outcome.result.text.toStdString();
        if (name.starts_with("limit_")) {
            EXPECT_TRUE(outcome.result.limitReached) << printed;
        } else if (name.starts_with("fails_")) {
            EXPECT_TRUE(outcome.result.failed) << printed;
            EXPECT_FALSE(outcome.result.limitReached) << printed;
        } else {
            EXPECT_FALSE(outcome.result.failed) << printed;
        }
        const std::string marker = "; expect: ";
        if (program.starts_with(marker)) {
            ++expectations;
            EXPECT_EQ(printed, program.substr(marker.size(), program.find('\n') - marker.size()));
        }
    }
    EXPECT_GE(seeds, 30);
    EXPECT_GE(expectations, 15);
}

// Programs that reach for undo and redo from inside their own evaluation, or that a limit stops after they
// changed the drawing: the evaluation still leaves one exact undo step, or nothing at all.
TEST(LispCorpus, UndoFromInsideAProgramAndStoppedProgramsKeepTheStepExact) {
    LispHarness harness((fs::path(VELA_SOURCE_DIR) / "examples" / "floor_plan.dxf").string(), fuzzLimits());
    ASSERT_TRUE(harness.ready()) << harness.error();
    for (const char* program : {
             "(entmake '((0 . \"LINE\") (10 0 0 0) (11 1 1 0))) (command \"U\")",
             "(entmake '((0 . \"LINE\") (10 0 0 0) (11 1 1 0))) (command \"UNDO\" \"1\")",
             "(entdel (entlast)) (command \"REDO\") (entdel (entnext))",
             "(entmake '((0 . \"LINE\") (10 0 0 0) (11 1 1 0))) (repeat 1000000 (entmod (entget (entlast))))",
         }) {
        SCOPED_TRACE(program);
        EXPECT_EQ(harness.run(program).problem, "");
    }
}

// What the fuzzer's runs found worth keeping: arbitrary programs, each of which must leave the drawing sound
// whatever it answers.
TEST(LispCorpus, FoundInputsLeaveTheDrawingSound) {
    LispHarness harness((fs::path(VELA_SOURCE_DIR) / "examples" / "floor_plan.dxf").string(), fuzzLimits());
    ASSERT_TRUE(harness.ready()) << harness.error();
    int inputs = 0;
    for (const fs::directory_entry& entry :
         fs::directory_iterator(fs::path(VELA_SOURCE_DIR) / "fuzz" / "lisp_found")) {
        SCOPED_TRACE(entry.path().filename().string());
        ++inputs;
        EXPECT_EQ(harness.run(readAll(entry.path())).problem, "");
    }
    EXPECT_GE(inputs, 100);
}

}  // namespace
