#include "db/lineweight.h"

#include <algorithm>

namespace vela::db {

bool isValidLineWeight(int value) {
    if (value == -1 || value == -2 || value == -3) return true;
    return std::binary_search(kStandardLineWeights.begin(), kStandardLineWeights.end(), value);
}

}  // namespace vela::db
