#include "db/dxf/file/atomic_save.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <sstream>

namespace vela::db {
namespace {

namespace fs = std::filesystem;

class AtomicSave : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() / ("vela_atomic_" + std::to_string(::getpid()));
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }

    static std::string read(const fs::path& p) {
        std::ifstream in(p);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }
    static mode_t modeOf(const fs::path& p) {
        struct stat st {};
        ::stat(p.c_str(), &st);
        return st.st_mode & 07777;
    }
    std::size_t filesInDir() const {
        std::size_t n = 0;
        for (const auto& entry : fs::directory_iterator(dir_))
            n += entry.is_regular_file() && !entry.is_symlink() ? 1 : 0;
        return n;
    }

    fs::path dir_;
};

TEST_F(AtomicSave, KeepsThePermissionsOfTheFileItReplacesAndFollowsTheUmaskForNewOnes) {
    const fs::path secret = dir_ / "secret.dxf";
    std::ofstream(secret) << "old";
    fs::permissions(secret, fs::perms::owner_read | fs::perms::owner_write);
    ASSERT_EQ(saveFileAtomically(secret, "new"), "");
    EXPECT_EQ(read(secret), "new");
    EXPECT_EQ(modeOf(secret), 0600u);

    const mode_t previous = ::umask(027);
    const std::string error = saveFileAtomically(dir_ / "fresh.dxf", "data");
    ::umask(previous);
    ASSERT_EQ(error, "");
    EXPECT_EQ(modeOf(dir_ / "fresh.dxf"), 0640u);
}

TEST_F(AtomicSave, WritesThroughSymbolicLinksAndKeepsHardLinksTogether) {
    const fs::path real = dir_ / "real.dxf", link = dir_ / "link.dxf";
    std::ofstream(real) << "old";
    fs::create_symlink("real.dxf", link);
    ASSERT_EQ(saveFileAtomically(link, "through the link"), "");
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(read(real), "through the link");

    const fs::path other = dir_ / "other-name.dxf";
    fs::create_hard_link(real, other);
    ASSERT_EQ(saveFileAtomically(real, "both names"), "");
    EXPECT_EQ(read(other), "both names");
    EXPECT_EQ(fs::hard_link_count(real), 2u);
    EXPECT_EQ(filesInDir(), 2u) << "no temporary file is left behind";
}

TEST_F(AtomicSave, RemovesLeftoversOfKilledSavesButNotOfRunningOnes) {
    const fs::path target = dir_ / "plan.dxf";
    const fs::path dead = dir_ / ".plan.dxf.vela-save-abc123", alive = dir_ / ".plan.dxf.vela-save-xyz789",
                   unrelated = dir_ / ".plan.dxf.swp";
    for (const fs::path& p : {dead, alive, unrelated}) std::ofstream(p) << "partial";
    const int held = ::open(alive.c_str(), O_RDONLY);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    ASSERT_EQ(saveFileAtomically(target, "saved"), "");
    EXPECT_FALSE(fs::exists(dead));
    EXPECT_TRUE(fs::exists(alive));
    EXPECT_TRUE(fs::exists(unrelated));
    ::close(held);
}

TEST_F(AtomicSave, AFailedWriteSaysWhyAndLeavesTheOldFileAndNoTemporary) {
    const fs::path target = dir_ / "big.dxf";
    std::ofstream(target) << "old";
    // A file size limit makes the write fail as a full disk would, with the system's reason.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit previous{};
    ::getrlimit(RLIMIT_FSIZE, &previous);
    rlimit small = previous;
    small.rlim_cur = 1000;
    ::setrlimit(RLIMIT_FSIZE, &small);
    const std::string error = saveFileAtomically(target, std::string(100000, 'x'));
    ::setrlimit(RLIMIT_FSIZE, &previous);
    EXPECT_NE(error.find("File too large"), std::string::npos) << error;
    EXPECT_EQ(read(target), "old");
    EXPECT_EQ(filesInDir(), 1u);

    EXPECT_NE(saveFileAtomically(dir_ / "missing-folder" / "x.dxf", "x").find("No such file"),
              std::string::npos);
    fs::create_directory(dir_ / "folder.dxf");
    EXPECT_NE(saveFileAtomically(dir_ / "folder.dxf", "x").find("not a regular file"), std::string::npos);
}

}  // namespace
}  // namespace vela::db
