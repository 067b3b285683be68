#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "db/dxf/tags/tag.h"
#include "db/geometry/vector.h"

namespace vela::db::dxf {

enum class LineEnding : std::uint8_t { Lf, CrLf };

/// Appends ASCII DXF tags to a string the caller owns (and later writes to disk in one go). Group
/// codes are right-aligned in three columns as AutoCAD writes them; values are one line each.
/// Debug builds check that each code carries the kind of value written to it.
class TagWriter {
  public:
    explicit TagWriter(std::string& out, LineEnding eol = LineEnding::Lf) : out_(out), eol_(eol) {}

    /// A string value. CR and LF become blanks: a value must stay on its one line or every later tag
    /// would be misread; NUL bytes, which end a string for most readers, are left out. Each such change is
    /// counted in repairedValues().
    void writeString(int code, std::string_view value);
    void writeComment(std::string_view text) { writeString(999, text); }
    /// Shortest text that reads back to the same double, always with a '.' or an exponent ("1.0",
    /// "0.1", "1e+20") so a reader sees it is no integer. NaN and infinity, which no reader accepts,
    /// are written as 0.0 and counted in repairedValues().
    void writeDouble(int code, double value);
    void writeInt(int code, std::int64_t value);
    void writeBool(int code, bool value) { writeInt(code, value ? 1 : 0); }
    /// Upper-case hexadecimal without leading zeros ("1F", "0" for the null handle).
    void writeHandle(int code, std::uint64_t handle);
    /// Three tags: code, code + 10, code + 20 (X, Y, Z); the 2D form writes two.
    void writePoint(int code, const Point3d& p);
    void writePoint(int code, const Point2d& p);
    /// Hex text in tags of at most kBinaryChunkBytes bytes each, all with the same code.
    void writeBinary(int code, std::span<const std::uint8_t> bytes);
    /// Writes a tag as read from an ASCII or binary file, e.g. to keep data this program does not model.
    void writeTag(const Tag& tag);

    /// Values changed to keep the file readable (line breaks in strings, non-finite doubles).
    std::size_t repairedValues() const { return repaired_; }

    /// 127 bytes, 254 hex digits: the longest binary chunk line AutoCAD writes.
    static constexpr std::size_t kBinaryChunkBytes = 127;

  private:
    void writeCode(int code);
    void endLine();
    void writeHex(std::string_view bytes);

    std::string& out_;
    LineEnding eol_;
    std::size_t repaired_ = 0;
};

}  // namespace vela::db::dxf
