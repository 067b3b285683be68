#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "db/dxf/tags/dxf_error.h"
#include "db/dxf/tags/tag.h"

namespace vela::db::dxf {

/// First bytes of every binary DXF file.
inline constexpr std::string_view kBinaryDxfSentinel{"AutoCAD Binary DXF\r\n\x1a\0", 22};

/// Splits a DXF file held in memory into tags, ASCII or binary (told apart by the sentinel).
/// The caller owns the bytes and keeps them alive while tags are in use; the reader never copies or
/// allocates per tag. Malformed input stops the reader with an error; it never throws or loops.
///
///     TagReader reader(bytes);
///     Tag tag;
///     while (reader.next(tag)) { ... }
///     if (reader.failed()) report(reader.error()->text());
class TagReader {
  public:
    explicit TagReader(std::string_view data);

    bool isBinary() const { return binary_; }

    /// Reads the next tag. False at the end of the data or on an error; failed() tells which.
    bool next(Tag& tag);
    /// The next tag without consuming it.
    bool peek(Tag& tag);
    /// Makes the following next() return the tag the last next() returned again. One tag deep: a
    /// second push-back without a next() in between does nothing.
    void pushBack();

    bool failed() const { return error_.has_value(); }
    const std::optional<DxfError>& error() const { return error_; }
    /// Offset of the first unread byte, for progress reports.
    std::size_t position() const { return pos_; }

  private:
    bool nextAscii(Tag& tag);
    bool nextBinary(Tag& tag);
    bool badCodeLine(const char* lineStart);
    bool fail(std::size_t line, std::string message);

    std::string_view data_;
    std::size_t pos_ = 0;
    std::size_t line_ = 1;  // line of the next code line (ASCII only)
    Tag last_;
    bool hasLast_ = false;
    bool pushedBack_ = false;
    bool binary_ = false;
    bool oneByteCodes_ = false;  // binary DXF before R13: 1-byte codes, 255 escapes a 2-byte code
    std::optional<DxfError> error_;
};

}  // namespace vela::db::dxf
