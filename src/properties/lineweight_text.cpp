#include "properties/lineweight_text.h"

namespace vela::properties {

QString LineWeightToText(db::LineWeight weight) {
    switch (weight) {
        case db::LineWeight::ByLayer:
            return QStringLiteral("ByLayer");
        case db::LineWeight::ByBlock:
            return QStringLiteral("ByBlock");
        case db::LineWeight::ByLineWeightDefault:
            return QStringLiteral("Default");
        default:
            return QString::number(static_cast<int>(weight));
    }
}

}  // namespace vela::properties
