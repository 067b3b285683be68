#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace vela::db {

/// The ordered folders searched for support files (linetype and hatch pattern files).
///
/// The standard order is: the product's bundled folder, then the folders in the environment variable
/// VELA_SUPPORT_PATH, then the drawing's own folder. Bundled files come first on purpose: a drawing or
/// a user folder can add files under new names but cannot silently change what "mm.lin" means.
class SupportPath {
  public:
    SupportPath() = default;
    explicit SupportPath(std::vector<std::filesystem::path> folders) : folders_(std::move(folders)) {}

    /// The standard search path. The bundled folder is the one the build names (VELA_SUPPORT_DIR) or,
    /// without it, "support" beside the executable and then "../share/vela/support" relative to it.
    /// VELA_SUPPORT_PATH lists folders separated by ':' (';' on Windows); empty entries are ignored.
    /// `drawingFolder` is added last when not empty.
    static SupportPath standard(const std::filesystem::path& drawingFolder = {});

    const std::vector<std::filesystem::path>& folders() const { return folders_; }

    /// The file called `fileName` in the first folder that holds it. Within a folder an exact match is
    /// preferred; failing that a name differing only in ASCII case is accepted, because drawings made on
    /// case-insensitive systems name files in any case. Only plain file names are looked up: a name
    /// with a folder part (or "..") gives nullopt, so a drawing cannot point outside the search path.
    std::optional<std::filesystem::path> find(std::string_view fileName) const;

  private:
    std::vector<std::filesystem::path> folders_;
};

/// The bundled linetype file for the drawing's unit system: "mm.lin" or "inch.lin".
std::string_view linetypeFileName(bool metric);

/// The bundled hatch pattern file for the drawing's unit system: "mm.pat" or "inch.pat".
std::string_view hatchPatternFileName(bool metric);

}  // namespace vela::db
