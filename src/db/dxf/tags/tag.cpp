#include "db/dxf/tags/tag.h"

#include <fast_float/fast_float.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace vela::db::dxf {

namespace {

template <class T>
T loadLittleEndian(std::string_view bytes) {
    static_assert(std::is_trivially_copyable_v<T>);
    unsigned char b[sizeof(T)] = {};
    std::memcpy(b, bytes.data(), std::min(bytes.size(), sizeof(T)));
    if constexpr (std::endian::native == std::endian::big) std::reverse(b, b + sizeof(T));
    T value;
    std::memcpy(&value, b, sizeof(T));
    return value;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

std::string_view trimBlanks(std::string_view s) {
    while (!s.empty() && isBlank(s.front())) s.remove_prefix(1);
    while (!s.empty() && isBlank(s.back())) s.remove_suffix(1);
    return s;
}

// std::from_chars rejects a leading '+', which a few exporters write; skip it when a digit follows.
std::string_view skipPlus(std::string_view s) {
    if (s.size() >= 2 && s[0] == '+' && s[1] != '-' && s[1] != '+') s.remove_prefix(1);
    return s;
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
    text = skipPlus(trimBlanks(text));
    std::int64_t v = 0;
    const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || ptr != text.data() + text.size() || text.empty()) return std::nullopt;
    return v;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

template <class T>
std::optional<T> narrow(std::optional<std::int64_t> v) {
    if (!v || *v < std::numeric_limits<T>::min() || *v > std::numeric_limits<T>::max()) return std::nullopt;
    return static_cast<T>(*v);
}

// Integer content of the tag whatever its storage; doubles do not silently become integers.
std::optional<std::int64_t> integerOf(const Tag& t) {
    switch (t.storage) {
        case Storage::Text:
            return parseInteger(t.value);
        case Storage::Int16:
            return loadLittleEndian<std::int16_t>(t.value);
        case Storage::Int32:
            return loadLittleEndian<std::int32_t>(t.value);
        case Storage::Int64:
            return loadLittleEndian<std::int64_t>(t.value);
        case Storage::Byte:
            return loadLittleEndian<std::uint8_t>(t.value);
        case Storage::Double:
        case Storage::Bytes:
            return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

std::optional<double> parseDecimalComma(std::string_view text) {
    text = skipPlus(trimBlanks(text));
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos || text.find(',', comma + 1) != std::string_view::npos ||
        text.find('.') != std::string_view::npos || text.size() > 64)
        return std::nullopt;
    char buf[64];
    std::memcpy(buf, text.data(), text.size());
    buf[comma] = '.';
    double v = 0.0;
    const auto r = fast_float::from_chars(buf, buf + text.size(), v);
    if (r.ec != std::errc() || r.ptr != buf + text.size() || !std::isfinite(v)) return std::nullopt;
    return v;
}

std::optional<double> Tag::toDouble() const {
    double v = 0.0;
    if (storage == Storage::Text) {
        const std::string_view text = skipPlus(trimBlanks(value));
        const auto r = fast_float::from_chars(text.data(), text.data() + text.size(), v);
        if (r.ec != std::errc() || r.ptr != text.data() + text.size() || text.empty())
            return parseDecimalComma(text);
    } else if (storage == Storage::Double) {
        v = loadLittleEndian<double>(value);
    } else {
        const auto i = integerOf(*this);
        if (!i) return std::nullopt;
        v = static_cast<double>(*i);
    }
    // A NaN or infinite coordinate would poison every later computation; no CAD program writes one.
    if (!std::isfinite(v)) return std::nullopt;
    return v;
}

std::optional<std::int16_t> Tag::toInt16() const {
    return narrow<std::int16_t>(integerOf(*this));
}
std::optional<std::int32_t> Tag::toInt32() const {
    return narrow<std::int32_t>(integerOf(*this));
}
std::optional<std::int64_t> Tag::toInt64() const {
    return integerOf(*this);
}

std::optional<bool> Tag::toBool() const {
    const auto v = integerOf(*this);
    if (!v) return std::nullopt;
    return *v != 0;
}

std::optional<std::uint64_t> Tag::toHandle() const {
    if (storage != Storage::Text) return std::nullopt;
    const std::string_view text = trimBlanks(value);
    if (text.empty() || text.size() > 16) return std::nullopt;
    std::uint64_t h = 0;
    for (char c : text) {
        const int d = hexDigit(c);
        if (d < 0) return std::nullopt;
        h = (h << 4) | static_cast<std::uint64_t>(d);
    }
    return h;
}

bool Tag::appendBinary(std::vector<std::uint8_t>& out) const {
    if (storage == Storage::Bytes) {
        out.insert(out.end(), value.begin(), value.end());
        return true;
    }
    if (storage != Storage::Text) return false;
    const std::string_view text = trimBlanks(value);
    if (text.size() % 2 != 0) return false;
    const std::size_t old = out.size();
    out.reserve(old + text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int hi = hexDigit(text[i]), lo = hexDigit(text[i + 1]);
        if (hi < 0 || lo < 0) {
            out.resize(old);
            return false;
        }
        out.push_back(static_cast<std::uint8_t>(hi << 4 | lo));
    }
    return true;
}

DxfError Tag::error(std::string_view expected) const {
    std::string msg = "expected ";
    msg += expected;
    msg += " for group code ";
    msg += std::to_string(code);
    msg += ", found ";
    msg += displayValue();
    return DxfError{line, std::move(msg), fromBinary};
}

std::string Tag::displayValue() const {
    switch (storage) {
        case Storage::Double: {
            char buf[32];
            const auto r = std::to_chars(buf, buf + sizeof buf, loadLittleEndian<double>(value));
            return std::string(buf, r.ptr);
        }
        case Storage::Int16:
        case Storage::Int32:
        case Storage::Int64:
        case Storage::Byte:
            return std::to_string(*integerOf(*this));
        case Storage::Bytes:
            return "<" + std::to_string(value.size()) + " bytes>";
        case Storage::Text:
            break;
    }
    // Messages must stay printable ASCII whatever the file holds, so every other byte is escaped.
    constexpr std::size_t kMaxShown = 40;
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out = "'";
    for (std::size_t i = 0; i < value.size() && i < kMaxShown; ++i) {
        const auto c = static_cast<unsigned char>(value[i]);
        if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
        } else {
            out += "\\x";
            out += kHex[c >> 4];
            out += kHex[c & 15];
        }
    }
    if (value.size() > kMaxShown) out += "...";
    out += '\'';
    return out;
}

}  // namespace vela::db::dxf
