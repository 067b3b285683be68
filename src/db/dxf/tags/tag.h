#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/dxf/tags/dxf_error.h"

namespace vela::db::dxf {

/// How a tag's value bytes are stored. ASCII DXF only has Text; binary DXF stores numbers in
/// little-endian fixed-width form and binary chunks as raw bytes.
enum class Storage : std::uint8_t { Text, Double, Int16, Int32, Int64, Byte, Bytes };

/// A number written with a decimal comma ("1,5", " -0,25"), as writers set to some locales put them: the
/// value, or nullopt for text that is not one (no comma, more than one, a point as well, or not a finite
/// number).
std::optional<double> parseDecimalComma(std::string_view text);

/// One (group code, value) pair. A tag views the reader's buffer: it is valid only while that buffer
/// lives, and copying it never allocates.
struct Tag {
    int code = 0;
    /// The value as stored. For text (every ASCII value, and strings/handles in binary DXF) this is the
    /// text with the line end removed; leading blanks of strings are kept. For other binary values it
    /// holds the raw little-endian bytes; use the typed accessors to read them.
    std::string_view value;
    /// ASCII: 1-based line number of the group code line. Binary: byte offset of the group code.
    std::size_t line = 0;
    Storage storage = Storage::Text;
    bool fromBinary = false;

    bool is(int c, std::string_view v) const { return code == c && storage == Storage::Text && value == v; }

    // Typed accessors. They accept surrounding blanks in text (AutoCAD right-aligns numbers) and fail
    // with nullopt on anything else: wrong syntax, out of range, non-finite.
    std::optional<double> toDouble() const;
    std::optional<std::int16_t> toInt16() const;
    std::optional<std::int32_t> toInt32() const;
    std::optional<std::int64_t> toInt64() const;
    /// Any integer; non-zero is true.
    std::optional<bool> toBool() const;
    /// Hexadecimal handle text, at most 16 digits. Empty text fails.
    std::optional<std::uint64_t> toHandle() const;
    /// Appends the bytes of a binary chunk (hex text in ASCII) to `out`; false, leaving `out` as it was,
    /// on odd length or a non-hex digit. Chunks of one object come in several tags and are concatenated.
    bool appendBinary(std::vector<std::uint8_t>& out) const;

    /// An error at this tag: "line 12: expected <expected> for group code 40, found 'abc'".
    DxfError error(std::string_view expected) const;
    /// The value for messages: quoted and shortened text with control bytes escaped, or the number.
    std::string displayValue() const;
};

}  // namespace vela::db::dxf
