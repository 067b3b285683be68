#include "db/dxf/file/value_repair.h"

#include <fast_float/fast_float.h>

#include <charconv>
#include <cmath>

#include "db/dxf/tags/group_code.h"
#include "db/dxf/tags/tag.h"

namespace vela::db::dxf {

namespace {

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

std::string_view withoutPlus(std::string_view s) {
    if (s.size() >= 2 && s[0] == '+' && s[1] != '+' && s[1] != '-') s.remove_prefix(1);
    return s;
}

/// The number the text starts with; `whole` tells whether it is all of the text.
bool leadingDouble(std::string_view text, double& v, bool& whole) {
    text = withoutPlus(trimmed(text));
    const auto r = fast_float::from_chars(text.data(), text.data() + text.size(), v);
    if (r.ec != std::errc() || r.ptr == text.data() || !std::isfinite(v)) return false;
    whole = r.ptr == text.data() + text.size();
    return true;
}

bool leadingInteger(std::string_view text, std::int64_t& v, bool& whole) {
    text = withoutPlus(trimmed(text));
    const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
    if (r.ec != std::errc() || r.ptr == text.data()) return false;
    whole = r.ptr == text.data() + text.size();
    return true;
}

std::string shown(int code, const std::string& value) {
    Tag tag;
    tag.code = code;
    tag.value = value;
    return tag.displayValue();
}

template <class T>
std::string numberText(T v) {
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, r.ptr);
}

bool isHex(std::string_view s) {
    for (char c : s)
        if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'))) return false;
    return true;
}

ValueRepair changed(std::string& value, std::string repaired, std::string description) {
    value = std::move(repaired);
    return {ValueRepair::Changed, std::move(description)};
}

}  // namespace

ValueRepair repairValue(int code, std::string& value, std::string_view recordType) {
    // A dimension style's handle is group 105: its groups 5 to 7 are the names of its arrow blocks (older
    // files write them so).
    const bool arrowName = recordType == "DIMSTYLE" && code >= 5 && code <= 7;
    const ValueType type = arrowName ? ValueType::String : valueTypeOf(code);
    bool whole = false;
    if (isFloating(type)) {
        double v = 0;
        if (leadingDouble(value, v, whole) && whole) return {};
        // A decimal comma is a spelling, not damage: the number is kept as written with a point.
        if (const auto withComma = parseDecimalComma(value))
            return changed(value, numberText(*withComma), "");
        const std::string before = shown(code, value);
        if (leadingDouble(value, v, whole))
            return changed(value, numberText(v), before + " is read as " + numberText(v));
        return changed(value, "0", before + " is no number; 0 is read");
    }
    if (isInteger(type)) {
        std::int64_t i = 0;
        if (leadingInteger(value, i, whole) && whole) return {};
        // Whole numbers written as reals ("1.0") are the same number; anything else keeps what it starts
        // with.
        double v = 0;
        const auto withComma = parseDecimalComma(value);
        if (withComma) v = *withComma, whole = true;
        if ((withComma || (leadingDouble(value, v, whole) && whole)) && v >= -0x1p63 && v < 0x1p63) {
            const auto n = static_cast<std::int64_t>(v);
            if (static_cast<double>(n) == v) return changed(value, numberText(n), "");
            return changed(value, numberText(n), shown(code, value) + " is read as " + numberText(n));
        }
        const std::string before = shown(code, value);
        if (leadingInteger(value, i, whole))
            return changed(value, numberText(i), before + " is read as " + numberText(i));
        return changed(value, "0", before + " is no integer; 0 is read");
    }
    if (type == ValueType::Handle || type == ValueType::Binary) {
        const std::string_view t = trimmed(value);
        const bool valid =
            !t.empty() && isHex(t) && (type == ValueType::Handle ? t.size() <= 16 : t.size() % 2 == 0);
        if (!valid)
            return {ValueRepair::Dropped, shown(code, value) + " is no " +
                                              (type == ValueType::Handle ? "handle" : "binary data") +
                                              "; it is dropped"};
        if (t.size() != value.size()) value = std::string(t);
        return {};
    }
    // Text: a NUL byte ends a string for most readers and a line break ends the line it is written on.
    if (value.find_first_of(std::string_view("\0\r\n", 3)) == std::string::npos) return {};
    const std::string before = shown(code, value);
    if (!caretEncodeLineBreaks(value)) return {ValueRepair::Changed, ""};
    return {ValueRepair::Changed, before + " loses its NUL bytes"};
}

bool caretEncodeLineBreaks(std::string& text) {
    std::string out;
    out.reserve(text.size() + 8);
    bool nul = false;
    for (char c : text) {
        if (c == '\n')
            out += "^J";
        else if (c == '\r')
            out += "^M";
        else if (c == '\0')
            nul = true;
        else
            out += c;
    }
    text = std::move(out);
    return nul;
}

}  // namespace vela::db::dxf
