#include "db/dxf/tags/tag_writer.h"

#include <cassert>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "db/dxf/tags/group_code.h"

namespace vela::db::dxf {

void TagWriter::endLine() {
    if (eol_ == LineEnding::CrLf) out_ += '\r';
    out_ += '\n';
}

void TagWriter::writeCode(int code) {
    assert(isValidGroupCode(code));
    char buf[16];
    char* end = std::to_chars(buf, buf + sizeof buf, code).ptr;
    const std::size_t len = end - buf;
    if (len < 3) out_.append(3 - len, ' ');
    out_.append(buf, len);
    endLine();
}

void TagWriter::writeString(int code, std::string_view value) {
    writeCode(code);
    // A line break would end the value's line and a NUL byte ends a string for most readers: breaks become
    // spaces, NUL bytes are left out.
    if (value.find_first_of(std::string_view("\n\r\0", 3)) != std::string_view::npos) {
        for (char c : value)
            if (c != '\0') out_ += c == '\n' || c == '\r' ? ' ' : c;
        ++repaired_;
    } else {
        out_.append(value);
    }
    endLine();
}

void TagWriter::writeDouble(int code, double value) {
    assert(isFloating(valueTypeOf(code)));
    writeCode(code);
    if (!std::isfinite(value)) {
        value = 0.0;
        ++repaired_;
    }
    char buf[32];
    char* end = std::to_chars(buf, buf + sizeof buf, value).ptr;
    out_.append(buf, end - buf);
    if (!std::memchr(buf, '.', end - buf) && !std::memchr(buf, 'e', end - buf)) out_ += ".0";
    endLine();
}

void TagWriter::writeInt(int code, std::int64_t value) {
    assert(isInteger(valueTypeOf(code)));
    writeCode(code);
    char buf[24];
    out_.append(buf, std::to_chars(buf, buf + sizeof buf, value).ptr - buf);
    endLine();
}

void TagWriter::writeHandle(int code, std::uint64_t handle) {
    assert(valueTypeOf(code) == ValueType::Handle);
    writeCode(code);
    char buf[20];
    char* end = std::to_chars(buf, buf + sizeof buf, handle, 16).ptr;
    for (char* p = buf; p != end; ++p)
        if (*p >= 'a' && *p <= 'f') *p = static_cast<char>(*p - 'a' + 'A');
    out_.append(buf, end - buf);
    endLine();
}

void TagWriter::writePoint(int code, const Point3d& p) {
    assert(pointAxis(code) == 0);
    writeDouble(code, p.x);
    writeDouble(code + 10, p.y);
    writeDouble(code + 20, p.z);
}

void TagWriter::writePoint(int code, const Point2d& p) {
    assert(pointAxis(code) == 0);
    writeDouble(code, p.x);
    writeDouble(code + 10, p.y);
}

void TagWriter::writeHex(std::string_view bytes) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        out_ += kHex[b >> 4];
        out_ += kHex[b & 15];
    }
}

void TagWriter::writeBinary(int code, std::span<const std::uint8_t> bytes) {
    const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (std::size_t at = 0; at < all.size(); at += kBinaryChunkBytes) {
        writeCode(code);
        writeHex(all.substr(at, kBinaryChunkBytes));
        endLine();
    }
}

void TagWriter::writeTag(const Tag& tag) {
    switch (tag.storage) {
        case Storage::Text:
            writeString(tag.code, tag.value);
            return;
        case Storage::Double:
            writeDouble(tag.code, tag.toDouble().value_or(std::numeric_limits<double>::quiet_NaN()));
            return;
        case Storage::Int16:
        case Storage::Int32:
        case Storage::Int64:
        case Storage::Byte:
            writeInt(tag.code, tag.toInt64().value_or(0));
            return;
        case Storage::Bytes:
            // One tag in, one tag out, even past the ASCII chunk length, so tag counts stay comparable.
            writeCode(tag.code);
            writeHex(tag.value);
            endLine();
            return;
    }
}

}  // namespace vela::db::dxf
