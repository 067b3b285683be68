#include "db/support/support_path.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>

namespace vela::db {
namespace {

namespace fs = std::filesystem;

// Temporary folders a, b and drawing under one root, and VELA_SUPPORT_PATH restored afterwards.
class SupportPathTest : public ::testing::Test {
  protected:
    void SetUp() override {
        root_ =
            fs::temp_directory_path() / ("vela_support_path_test_" + std::to_string(std::random_device{}()));
        for (const char* sub : {"a", "b", "drawing"}) fs::create_directories(root_ / sub);
        if (const char* old = std::getenv("VELA_SUPPORT_PATH")) savedEnv_ = old;
    }
    void TearDown() override {
        if (savedEnv_) {
            ::setenv("VELA_SUPPORT_PATH", savedEnv_->c_str(), 1);
        } else {
            ::unsetenv("VELA_SUPPORT_PATH");
        }
        std::error_code ec;
        fs::remove_all(root_, ec);
    }

    fs::path touch(const fs::path& relative) {
        const fs::path p = root_ / relative;
        std::ofstream(p) << "x\n";
        return p;
    }

    static fs::path bundled() { return fs::path(VELA_SOURCE_DIR) / "support"; }

    fs::path root_;
    std::optional<std::string> savedEnv_;
};

TEST_F(SupportPathTest, FirstFolderHoldingTheFileWins) {
    const SupportPath path({root_ / "a", root_ / "missing", root_ / "b"});
    const fs::path inA = touch("a/both.lin");
    touch("b/both.lin");
    const fs::path inB = touch("b/only_b.pat");
    // A folder of that name is not a file: the search goes on.
    fs::create_directories(root_ / "a" / "dir.lin");
    const fs::path dirInB = touch("b/dir.lin");

    EXPECT_EQ(path.find("both.lin"), inA);
    EXPECT_EQ(path.find("only_b.pat"), inB);
    EXPECT_EQ(path.find("dir.lin"), dirInB);
    EXPECT_EQ(path.find("nowhere.lin"), std::nullopt);
    EXPECT_EQ(SupportPath().find("both.lin"), std::nullopt);
}

TEST_F(SupportPathTest, MatchesNamesIgnoringCaseButPrefersExactMatchAndFolderOrder) {
    const SupportPath path({root_ / "a", root_ / "b"});
    const fs::path upperInA = touch("a/MM.LIN");
    touch("b/mm.lin");
    // Folder order beats exactness: a is searched fully before b.
    EXPECT_EQ(path.find("mm.lin"), upperInA);

    const fs::path exactInA = touch("a/Inch.Pat");
    touch("a/INCH.PAT");
    EXPECT_EQ(path.find("Inch.Pat"), exactInA);
    // No exact match: of two names differing only in case, the same one is chosen every time.
    const auto chosen = path.find("inch.pat");
    ASSERT_TRUE(chosen.has_value());
    EXPECT_EQ(chosen->parent_path(), root_ / "a");
    EXPECT_EQ(path.find("inch.pat"), chosen);
}

TEST_F(SupportPathTest, OnlyPlainFileNamesAreLookedUp) {
    touch("secret.lin");  // in the root, one level above folder a
    touch("a/ok.lin");
    fs::create_directories(root_ / "a" / "sub");
    touch("a/sub/nested.lin");
    const SupportPath path({root_ / "a"});
    EXPECT_TRUE(path.find("ok.lin").has_value());
    for (const char* name : {"../secret.lin", "sub/nested.lin", "", ".", "..", "/etc/hostname"}) {
        EXPECT_EQ(path.find(name), std::nullopt) << name;
    }
    EXPECT_EQ(path.find(std::string_view("ok.lin\0x", 8)), std::nullopt);
}

TEST_F(SupportPathTest, StandardOrderIsBundledThenEnvironmentThenDrawing) {
    const std::string list = ":" + (root_ / "a").string() + "::" + (root_ / "b").string() + ":";
    ::setenv("VELA_SUPPORT_PATH", list.c_str(), 1);
    const SupportPath path = SupportPath::standard(root_ / "drawing");
    const std::vector<fs::path> expected = {bundled(), root_ / "a", root_ / "b", root_ / "drawing"};
    ASSERT_EQ(path.folders().size(), expected.size());
    EXPECT_EQ(path.folders()[0].lexically_normal(), expected[0].lexically_normal());
    for (std::size_t i = 1; i < expected.size(); ++i) EXPECT_EQ(path.folders()[i], expected[i]);

    // The product's own file wins over a same-named one in a user folder or beside the drawing...
    touch("a/mm.lin");
    touch("drawing/mm.lin");
    const auto mm = path.find("mm.lin");
    ASSERT_TRUE(mm.has_value());
    EXPECT_EQ(mm->parent_path().lexically_normal(), bundled().lexically_normal());
    // ...user folders can add names, and come before the drawing's folder.
    const fs::path custom = touch("b/custom.lin");
    touch("drawing/custom.lin");
    EXPECT_EQ(path.find("custom.lin"), custom);
    const fs::path local = touch("drawing/local.pat");
    EXPECT_EQ(path.find("local.pat"), local);
}

}  // namespace
}  // namespace vela::db
