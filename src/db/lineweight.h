#pragma once

#include <array>
#include <cstdint>

namespace vela::db {

/// Lineweights in hundredths of a millimetre, with three special values.
enum class LineWeight : std::int16_t {
    ByLayer = -1,
    ByBlock = -2,
    ByLineWeightDefault = -3,
    W000 = 0, W005 = 5, W009 = 9, W013 = 13, W015 = 15, W018 = 18, W020 = 20, W025 = 25, W030 = 30, W035 = 35,
    W040 = 40, W050 = 50, W053 = 53, W060 = 60, W070 = 70, W080 = 80, W090 = 90, W100 = 100, W106 = 106,
    W120 = 120, W140 = 140, W158 = 158, W200 = 200, W211 = 211,
};

/// The widths a drawing may store, in ascending order.
inline constexpr std::array<int, 24> kStandardLineWeights = {0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                                            53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};

/// True for the special values and the standard widths.
bool isValidLineWeight(int value);

}  // namespace vela::db
