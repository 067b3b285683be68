#include "db/dxf/tags/group_code.h"

#include <array>

namespace vela::db::dxf {

namespace {

struct CodeRange {
    int first, last;
    ValueType type;
};

// The group code ranges of the DXF reference. Later entries override earlier ones, which lets the
// few single codes inside a range (5 and 105 handles among strings) stay readable.
constexpr CodeRange kRanges[] = {
    {0, 9, ValueType::String},       {5, 5, ValueType::Handle},       {10, 39, ValueType::Point},
    {40, 59, ValueType::Double},     {60, 79, ValueType::Int16},      {90, 99, ValueType::Int32},
    {100, 102, ValueType::String},   {105, 105, ValueType::Handle},   {110, 139, ValueType::Point},
    {140, 149, ValueType::Double},   {160, 169, ValueType::Int64},    {170, 179, ValueType::Int16},
    {210, 239, ValueType::Point},    {270, 289, ValueType::Int16},    {290, 299, ValueType::Bool},
    {300, 309, ValueType::String},   {310, 319, ValueType::Binary},   {320, 369, ValueType::Handle},
    {370, 389, ValueType::Int16},    {390, 399, ValueType::Handle},   {400, 409, ValueType::Int16},
    {410, 419, ValueType::String},   {420, 429, ValueType::Int32},    {430, 439, ValueType::String},
    {440, 459, ValueType::Int32},    {460, 469, ValueType::Double},   {470, 479, ValueType::String},
    {480, 481, ValueType::Handle},   {999, 999, ValueType::Comment},  {1000, 1009, ValueType::String},
    {1004, 1004, ValueType::Binary}, {1005, 1005, ValueType::Handle}, {1010, 1039, ValueType::Point},
    {1040, 1059, ValueType::Double}, {1060, 1070, ValueType::Int16},  {1071, 1071, ValueType::Int32},
};

// A flat table: the binary reader asks for the type of every tag, so this must be one load.
constexpr std::array<ValueType, kMaxGroupCode + 1> makeTable() {
    std::array<ValueType, kMaxGroupCode + 1> table{};
    for (const CodeRange& r : kRanges)
        for (int c = r.first; c <= r.last; ++c) table[c] = r.type;
    return table;
}

constexpr auto kTable = makeTable();

}  // namespace

ValueType valueTypeOf(int code) {
    return isValidGroupCode(code) ? kTable[code] : ValueType::Unknown;
}

int pointAxis(int code) {
    if (!isValidGroupCode(code) || kTable[code] != ValueType::Point) return -1;
    return (code % 100) / 10 - 1;
}

std::string_view describe(ValueType t) {
    switch (t) {
        case ValueType::Unknown:
            return "a value";
        case ValueType::String:
            return "a string";
        case ValueType::Comment:
            return "a comment";
        case ValueType::Handle:
            return "a handle";
        case ValueType::Binary:
            return "binary data";
        case ValueType::Double:
            return "a floating-point number";
        case ValueType::Point:
            return "a coordinate";
        case ValueType::Int16:
            return "a 16-bit integer";
        case ValueType::Int32:
            return "a 32-bit integer";
        case ValueType::Int64:
            return "a 64-bit integer";
        case ValueType::Bool:
            return "a boolean (0 or 1)";
    }
    return "a value";
}

}  // namespace vela::db::dxf
