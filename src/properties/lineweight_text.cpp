#include "properties/lineweight_text.h"

#include "host/lineweight_names.h"

namespace vela::properties {

QString LineWeightToText(db::LineWeight weight) {
    return host::specialLineWeightName(weight).value_or(QString::number(static_cast<int>(weight)));
}

}  // namespace vela::properties
