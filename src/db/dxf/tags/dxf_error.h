#pragma once

#include <cstddef>
#include <string>

namespace vela::db::dxf {

/// A problem found while reading DXF. Errors travel as values so that a damaged file can never throw
/// through the loader; the position lets a user open the file at the offending place.
struct DxfError {
    /// 1-based line number for ASCII DXF, byte offset from the start of the file for binary DXF.
    std::size_t line = 0;
    std::string message;
    /// True when `line` is a byte offset (binary DXF has no lines).
    bool isOffset = false;

    /// "line 12: expected ..." or "offset 345: expected ...".
    std::string text() const {
        return (isOffset ? "offset " : "line ") + std::to_string(line) + ": " + message;
    }
};

}  // namespace vela::db::dxf
