#include "db/dxf/file/atomic_save.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>

namespace vela::db {

namespace fs = std::filesystem;

namespace {

// The system's reason for the last failure, after what failed. Taken at once, before other calls change
// errno.
std::string because(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// The file a path names, following symbolic links (at most 40, as the system does); a path that names nothing
// yet is a new file.
std::optional<fs::path> followLinks(fs::path path, std::string& error) {
    for (int hops = 0; hops < 40; ++hops) {
        struct stat st {};
        if (::lstat(path.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return path;
        std::error_code ec;
        const fs::path next = fs::read_symlink(path, ec);
        if (ec) {
            error = ec.message();
            return std::nullopt;
        }
        path = next.is_absolute() ? next : path.parent_path() / next;
    }
    error = "too many levels of symbolic links";
    return std::nullopt;
}

// The process's file-creation mask, read without changing it (setting it to learn it would race with other
// threads creating files).
mode_t creationMask() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("Umask:", 0) == 0)
            return static_cast<mode_t>(std::strtoul(line.c_str() + 6, nullptr, 8));
    return 022;
}

bool writeAll(int fd, std::string_view data) {
    const char* p = data.data();
    std::size_t left = data.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, left);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        p += n, left -= static_cast<std::size_t>(n);
    }
    return true;
}

// Temporary files of saves of `prefix`'s target that were killed: ours by name, and dead because no save
// holds their lock. A save that is still running holds it and keeps its file.
void removeLeftovers(const fs::path& folder, const std::string& prefix) {
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string_view name = entry->d_name;
        if (name.size() != prefix.size() + 6 || name.substr(0, prefix.size()) != prefix) continue;
        const fs::path file = folder / std::string(name);
        const int fd = ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
        if (fd < 0) continue;
        struct stat st {};
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0 && ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) &&
            st.st_uid == ::geteuid())
            ::unlink(file.c_str());
        ::close(fd);
    }
    ::closedir(dir);
}

void syncFolder(const fs::path& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    // Some file systems cannot sync a folder; the rename has happened and is as safe as they make it.
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

std::string saveFileAtomically(const fs::path& target, std::string_view data) {
    std::string error;
    const std::optional<fs::path> resolved = followLinks(target, error);
    if (!resolved) return "cannot save " + target.string() + ": " + error;
    const fs::path& path = *resolved;
    const fs::path folder = path.parent_path().empty() ? fs::path(".") : path.parent_path();

    struct stat old {};
    const bool exists = ::stat(path.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) return "cannot save " + target.string() + ": not a regular file";

    std::string prefix = ".";
    prefix += path.filename().string();
    prefix += ".vela-save-";
    removeLeftovers(folder, prefix);
    std::string temporary = (folder / (prefix + "XXXXXX")).string();
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) return because("cannot create a temporary file in " + folder.string());
    // Held until the file is renamed or removed: a save started meanwhile sees that this one is alive.
    ::flock(fd, LOCK_EX);
    auto fail = [&](std::string why) {
        ::unlink(temporary.c_str());
        ::close(fd);
        return why;
    };

    if (!writeAll(fd, data)) return fail(because("cannot write " + path.string()));
    if (::fsync(fd) != 0) return fail(because("cannot write " + path.string()));
    const mode_t mode = exists ? (old.st_mode & 07777) : (0666 & ~creationMask());
    if (::fchmod(fd, mode) != 0) return fail(because("cannot set the permissions of " + path.string()));
    if (exists && (old.st_uid != ::geteuid() || old.st_gid != ::getegid())) {
        // Only the superuser may give a file away; a member of the file's group may at least keep the group.
        if (::fchown(fd, old.st_uid, old.st_gid) != 0) (void)::fchown(fd, static_cast<uid_t>(-1), old.st_gid);
    }

    if (exists && old.st_nlink > 1) {
        // Renaming would leave the other names with the old file. The new contents are safe in the temporary
        // file, which stays if writing in place fails, so nothing is lost either way.
        const int out = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        const bool written = out >= 0 && ::ftruncate(out, 0) == 0 && writeAll(out, data) && ::fsync(out) == 0;
        const std::string why = written ? std::string() : because("cannot write " + path.string());
        if (out >= 0) ::close(out);
        if (!written) {
            ::close(fd);
            return why + "; the new contents are in " + temporary;
        }
        return fail(std::string());
    }

    if (::rename(temporary.c_str(), path.c_str()) != 0)
        return fail(because("cannot replace " + path.string()));
    ::close(fd);
    syncFolder(folder);
    return std::string();
}

}  // namespace vela::db
