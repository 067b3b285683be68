#pragma once

#include <cstddef>
#include <string>

namespace vela::db {

/// A problem found while reading a linetype or hatch pattern file. The reader keeps going after one, so
/// a file may report several; each names the 1-based line it was found on so the user can fix the file.
struct SupportFileError {
    std::size_t line = 0;
    std::string message;

    /// "line 12: message", the form shown to users.
    std::string text() const { return "line " + std::to_string(line) + ": " + message; }
};

}  // namespace vela::db
