#pragma once

// Checks on a drawing saved as DXF text, shared by the harnesses of the fuzzers that change drawings.

#include <string>

#include "db/database.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"

namespace vela::fuzz {

/// Where two saved drawings part: "line N: 'a' / 'b'", for the report of a finding.
inline std::string firstDifference(const std::string& a, const std::string& b) {
    std::size_t line = 1, start = 0, i = 0;
    for (; i < a.size() && i < b.size() && a[i] == b[i]; ++i)
        if (a[i] == '\n') ++line, start = i + 1;
    auto lineAt = [&](const std::string& s) {
        return s.substr(start, s.find('\n', start) - start).substr(0, 80);
    };
    return "line " + std::to_string(line) + ": '" + lineAt(a) + "' / '" + lineAt(b) + "'";
}

/// The saved drawing without the next free handle: undo takes objects back but not the handles they had, so
/// that nothing referring to a handle from before the undo finds another object under it.
inline std::string withoutHandseed(std::string text) {
    const std::string key = "$HANDSEED\n  5\n";
    if (const std::size_t at = text.find(key); at != std::string::npos) {
        const std::size_t from = at + key.size();
        text.erase(from, text.find('\n', from) - from);
    }
    return text;
}

/// Empty when the saved drawing reads back without a repair and saves the same again, else what failed.
inline std::string checkSavedDrawing(const std::string& saved) {
    db::DxfReadResult again = db::readDxf(saved);
    if (!again.database) return "the saved drawing does not read back: " + again.error->text();
    if (!again.warnings.empty())
        return "the saved drawing reads back only with a repair: " + again.warnings.front();
    if (const std::string resaved = db::writeDxf(*again.database); resaved != saved)
        return "the saved drawing, read back, saves differently at " + firstDifference(saved, resaved);
    return {};
}

}  // namespace vela::fuzz
