#pragma once

#include <cstdint>
#include <string_view>

namespace vela::db::dxf {

/// Highest group code the DXF format assigns (1071: 32-bit extended-data integer).
inline constexpr int kMaxGroupCode = 1071;

/// What kind of value a group code carries. ASCII DXF stores every value as text; binary DXF stores
/// each kind in its own fixed or zero-terminated form, so the reader needs this to find the next tag.
enum class ValueType : std::uint8_t {
    Unknown,  ///< Code in range but not assigned by the format (e.g. 80-89); carried as text in ASCII.
    String,   ///< Names, text, subclass markers, extended-data strings.
    Comment,  ///< 999: comment line; carries no drawing data.
    Handle,   ///< Hexadecimal handle text: 5, 105, 320-369, 390-399, 480-481, 1005.
    Binary,   ///< Binary chunk: hex text in ASCII, length-prefixed bytes in binary DXF (310-319, 1004).
    Double,   ///< Scalar floating-point value.
    Point,    ///< One coordinate of a point; X, Y, Z come as separate tags (e.g. 10, 20, 30).
    Int16,
    Int32,
    Int64,
    Bool,  ///< 290-299: "0"/"1" in ASCII, one byte in binary DXF.
};

/// Value type of `code` by the ranges of the DXF reference; Unknown for unassigned and out-of-range codes.
ValueType valueTypeOf(int code);

/// True for codes 0..kMaxGroupCode.
constexpr bool isValidGroupCode(int code) {
    return code >= 0 && code <= kMaxGroupCode;
}

/// Extended data (xdata) codes 1000-1071. They keep their own value types (1040 is a double,
/// 1070 an int16); this only tells that the tag belongs to an application's extended data.
constexpr bool isXDataCode(int code) {
    return code >= 1000 && code <= kMaxGroupCode;
}

/// For a point coordinate code, 0, 1 or 2 for X, Y or Z (10 -> 0, 20 -> 1, 31 -> 2); -1 otherwise.
/// The X code of a point is `code - 10 * pointAxis(code)`.
int pointAxis(int code);

/// True for the types whose binary DXF form is text (String, Comment, Handle, Unknown).
constexpr bool isTextual(ValueType t) {
    return t == ValueType::String || t == ValueType::Comment || t == ValueType::Handle ||
           t == ValueType::Unknown;
}
constexpr bool isFloating(ValueType t) {
    return t == ValueType::Double || t == ValueType::Point;
}
constexpr bool isInteger(ValueType t) {
    return t == ValueType::Int16 || t == ValueType::Int32 || t == ValueType::Int64 || t == ValueType::Bool;
}

/// Human-readable name for error messages ("a 16-bit integer", "a handle").
std::string_view describe(ValueType t);

}  // namespace vela::db::dxf
