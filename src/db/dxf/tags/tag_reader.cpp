#include "db/dxf/tags/tag_reader.h"

#include <cassert>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>

#include "db/dxf/tags/group_code.h"

namespace vela::db::dxf {

namespace {

constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";
constexpr std::string_view kSentinelText = "AutoCAD Binary DXF";

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\x1A';
}

std::string rangeMessage(long long code) {
    return "group code " + std::to_string(code) + " is out of range (0.." + std::to_string(kMaxGroupCode) +
           ")";
}

}  // namespace

TagReader::TagReader(std::string_view data) : data_(data) {
    if (data_.starts_with(kBinaryDxfSentinel)) {
        binary_ = true;
        pos_ = kBinaryDxfSentinel.size();
        // Files before R13 store a group code in one byte (255 escapes a 2-byte code). Every file starts
        // with 0/SECTION or a 999 comment, which tells the forms apart: 00 'S' and FF E7 03 are one-byte
        // codes, 00 00 and E7 03 two-byte ones.
        if (data_.size() >= pos_ + 2) {
            const auto b0 = static_cast<unsigned char>(data_[pos_]);
            const auto b1 = static_cast<unsigned char>(data_[pos_ + 1]);
            oneByteCodes_ = (b0 == 0 && b1 != 0) || b0 == 255;
        }
    } else if (data_.starts_with(kSentinelText)) {
        binary_ = true;
        fail(0, "truncated binary DXF sentinel");
    } else if (data_.starts_with(kUtf8Bom)) {
        pos_ = kUtf8Bom.size();
    }
}

bool TagReader::fail(std::size_t line, std::string message) {
    if (!error_) error_ = DxfError{line, std::move(message), binary_};
    pos_ = data_.size();
    hasLast_ = false;
    pushedBack_ = false;
    return false;
}

bool TagReader::next(Tag& tag) {
    if (pushedBack_) {
        pushedBack_ = false;
        tag = last_;
        return true;
    }
    if (error_) return false;
    const bool ok = binary_ ? nextBinary(tag) : nextAscii(tag);
    hasLast_ = ok;
    if (ok) last_ = tag;
    return ok;
}

bool TagReader::peek(Tag& tag) {
    if (!next(tag)) return false;
    pushBack();
    return true;
}

void TagReader::pushBack() {
    assert(hasLast_ && !pushedBack_);
    if (hasLast_) pushedBack_ = true;
}

bool TagReader::nextAscii(Tag& tag) {
    const char* const begin = data_.data();
    const char* const end = begin + data_.size();
    const char* const lineStart = begin + pos_;
    if (lineStart == end) return false;

    // The group code line is parsed in place rather than searched with memchr: it is a few bytes
    // ("  0", " 10", "330"), and this loop is where the time of a large file goes.
    const char* p = lineStart;
    while (p != end && (*p == ' ' || *p == '\t')) ++p;
    const char* const digits = p;
    int code = 0;
    while (p != end && static_cast<unsigned>(*p - '0') < 10u) {
        if (code <= kMaxGroupCode) code = code * 10 + (*p - '0');
        ++p;
    }
    const char* const digitsEnd = p;
    while (p != end && (*p == ' ' || *p == '\t' || *p == '\r')) ++p;
    if (digits == digitsEnd || (p != end && *p != '\n')) return badCodeLine(lineStart);
    if (code > kMaxGroupCode) return badCodeLine(lineStart);  // reports the code as written
    if (p == end || p + 1 == end)
        return fail(line_ + 1,
                    "expected a value for group code " + std::to_string(code) + ", found end of file");

    const char* const valueStart = p + 1;
    const auto* nl = static_cast<const char*>(std::memchr(valueStart, '\n', end - valueStart));
    const char* valueEnd = nl ? nl : end;
    if (valueEnd != valueStart && valueEnd[-1] == '\r') --valueEnd;

    tag.code = code;
    tag.value = std::string_view(valueStart, valueEnd - valueStart);
    tag.line = line_;
    tag.storage = Storage::Text;
    tag.fromBinary = false;
    line_ += 2;
    pos_ = nl ? (nl + 1 - begin) : data_.size();
    return true;
}

// The slow path for a code line the fast parser did not accept: a clean end of file (trailing blank
// lines), a negative or huge code, or something that is no number at all.
bool TagReader::badCodeLine(const char* lineStart) {
    const char* const end = data_.data() + data_.size();
    const char* p = lineStart;
    while (p != end && isSpace(*p)) ++p;
    if (p == end) {
        pos_ = data_.size();
        return false;
    }
    const auto* nl = static_cast<const char*>(std::memchr(lineStart, '\n', end - lineStart));
    std::string_view line(lineStart, (nl ? nl : end) - lineStart);
    while (!line.empty() && isSpace(line.back())) line.remove_suffix(1);
    while (!line.empty() && isSpace(line.front())) line.remove_prefix(1);

    long long code = 0;
    const auto [ptr, ec] = std::from_chars(line.data(), line.data() + line.size(), code);
    if (ptr == line.data() + line.size() && !line.empty()) {
        if (ec == std::errc()) return fail(line_, rangeMessage(code));
        return fail(line_, "group code " + std::string(line) + " is out of range");
    }
    Tag shown;
    shown.value = line;
    return fail(line_, "expected a group code, found " + shown.displayValue());
}

bool TagReader::nextBinary(Tag& tag) {
    const auto* const d = reinterpret_cast<const unsigned char*>(data_.data());
    const std::size_t n = data_.size();
    const std::size_t at = pos_;
    if (at == n) return false;

    int code = 0;
    if (oneByteCodes_ && d[at] != 255) {
        code = d[at];
        pos_ += 1;
    } else {
        const std::size_t off = oneByteCodes_ ? at + 1 : at;
        if (n - off < 2) return fail(at, "expected a group code, found end of file");
        code = d[off] | (d[off + 1] << 8);
        if (oneByteCodes_) code = static_cast<std::int16_t>(code);
        pos_ = off + 2;
    }
    if (!isValidGroupCode(code)) return fail(at, rangeMessage(code));

    const ValueType type = valueTypeOf(code);
    const std::size_t valueAt = pos_;
    std::size_t width = 0;
    Storage storage = Storage::Text;
    switch (type) {
        case ValueType::String:
        case ValueType::Comment:
        case ValueType::Handle: {
            const void* nul = std::memchr(d + valueAt, 0, n - valueAt);
            if (!nul)
                return fail(at, "expected a zero-terminated string for group code " + std::to_string(code) +
                                    ", found end of file");
            width = static_cast<const unsigned char*>(nul) - (d + valueAt);
            pos_ = valueAt + width + 1;
            break;
        }
        case ValueType::Binary: {
            if (valueAt == n)
                return fail(at, "expected a binary chunk length for group code " + std::to_string(code) +
                                    ", found end of file");
            width = d[valueAt];
            if (n - valueAt - 1 < width)
                return fail(at, "binary chunk of group code " + std::to_string(code) + " declares " +
                                    std::to_string(width) + " bytes but only " +
                                    std::to_string(n - valueAt - 1) + " remain");
            tag.value = std::string_view(data_.data() + valueAt + 1, width);
            pos_ = valueAt + 1 + width;
            storage = Storage::Bytes;
            break;
        }
        case ValueType::Double:
        case ValueType::Point:
            width = 8, storage = Storage::Double;
            break;
        case ValueType::Int16:
            width = 2, storage = Storage::Int16;
            break;
        case ValueType::Int32:
            width = 4, storage = Storage::Int32;
            break;
        case ValueType::Int64:
            width = 8, storage = Storage::Int64;
            break;
        case ValueType::Bool:
            width = 1, storage = Storage::Byte;
            break;
        case ValueType::Unknown:
            // Without a type the length of the value is unknown, so nothing after it can be trusted.
            return fail(at, "group code " + std::to_string(code) + " has no defined value type");
    }
    if (storage != Storage::Text && storage != Storage::Bytes) {
        if (n - valueAt < width)
            return fail(at, "expected " + std::string(describe(type)) + " (" + std::to_string(width) +
                                " bytes) for group code " + std::to_string(code) + ", found " +
                                std::to_string(n - valueAt) + " bytes before end of file");
        pos_ = valueAt + width;
    }
    if (storage != Storage::Bytes) tag.value = std::string_view(data_.data() + valueAt, width);
    tag.code = code;
    tag.line = at;
    tag.storage = storage;
    tag.fromBinary = true;
    return true;
}

}  // namespace vela::db::dxf
