#include "db/support/support_path.h"

#include <cstdlib>
#include <string>
#include <system_error>

#include "db/support/support_text.h"

#if !defined(VELA_SUPPORT_DIR)
#if defined(_WIN32)
#include <windows.h>
#elif defined(__APPLE__)
#include <mach-o/dyld.h>
#endif
#endif

namespace vela::db {

namespace fs = std::filesystem;

namespace {

#if defined(_WIN32)
constexpr char kListSeparator = ';';  // ':' follows every drive letter there
#else
constexpr char kListSeparator = ':';
#endif

#if !defined(VELA_SUPPORT_DIR)
// The folder of the running executable, or empty when the system will not tell.
fs::path executableFolder() {
    std::error_code ec;
#if defined(_WIN32)
    std::wstring buffer(32768, L'\0');
    const DWORD n = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (n == 0 || n >= buffer.size()) return {};
    buffer.resize(n);
    const fs::path exe(buffer);
#elif defined(__APPLE__)
    uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string buffer(size, '\0');
    if (_NSGetExecutablePath(buffer.data(), &size) != 0) return {};
    buffer.resize(std::char_traits<char>::length(buffer.c_str()));
    const fs::path exe = fs::weakly_canonical(fs::path(buffer), ec);
#else
    const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
#endif
    if (ec || exe.empty()) return {};
    return exe.parent_path();
}
#endif

std::vector<fs::path> bundledFolders() {
#if defined(VELA_SUPPORT_DIR)
    return {fs::path(VELA_SUPPORT_DIR)};
#else
    const fs::path exeFolder = executableFolder();
    if (exeFolder.empty()) return {};
    return {exeFolder / "support", (exeFolder / ".." / "share" / "vela" / "support").lexically_normal()};
#endif
}

// A bare file name: no folder part, no "." or "..", nothing that could leave the folder it is looked up in.
bool isPlainFileName(std::string_view name) {
    if (name.empty() || name == "." || name == ".." || name.find('\0') != std::string_view::npos) {
        return false;
    }
    const fs::path p(name);
    return !p.has_root_path() && !p.has_parent_path() && p.filename() == p;
}

std::optional<fs::path> findInFolder(const fs::path& folder, std::string_view fileName) {
    std::error_code ec;
    const fs::path exact = folder / fs::path(fileName);
    if (fs::is_regular_file(exact, ec)) return exact;

    // Several names may differ only in case; take the smallest so the answer does not depend on the
    // order the file system lists them in.
    std::optional<fs::path> best;
    fs::directory_iterator it(folder, ec);
    if (ec) return std::nullopt;
    for (; it != fs::directory_iterator(); it.increment(ec)) {
        if (ec) break;
        const fs::path& candidate = it->path();
        if (!support_text::equalsIgnoreCase(candidate.filename().string(), fileName)) continue;
        std::error_code typeError;
        if (!fs::is_regular_file(candidate, typeError)) continue;
        if (!best || candidate < *best) best = candidate;
    }
    return best;
}

}  // namespace

SupportPath SupportPath::standard(const fs::path& drawingFolder) {
    std::vector<fs::path> folders = bundledFolders();
    if (const char* list = std::getenv("VELA_SUPPORT_PATH")) {
        std::string_view rest(list);
        while (true) {
            const std::size_t sep = rest.find(kListSeparator);
            const std::string_view entry = rest.substr(0, sep);
            if (!entry.empty()) folders.emplace_back(entry);
            if (sep == std::string_view::npos) break;
            rest.remove_prefix(sep + 1);
        }
    }
    if (!drawingFolder.empty()) folders.push_back(drawingFolder);
    return SupportPath(std::move(folders));
}

std::optional<fs::path> SupportPath::find(std::string_view fileName) const {
    if (!isPlainFileName(fileName)) return std::nullopt;
    for (const fs::path& folder : folders_) {
        if (auto found = findInFolder(folder, fileName)) return found;
    }
    return std::nullopt;
}

std::string_view linetypeFileName(bool metric) {
    return metric ? "mm.lin" : "inch.lin";
}

std::string_view hatchPatternFileName(bool metric) {
    return metric ? "mm.pat" : "inch.pat";
}

}  // namespace vela::db
