#include "properties/point_text.h"

#include "properties/number_text.h"

namespace vela::properties {

PointText ReadPointText(QStringView text) {
    PointText point;
    point.parts = text.count(u',') + 1;
    std::optional<double>* coordinates[] = {&point.x, &point.y, &point.z};
    for (std::optional<double>* coordinate : coordinates) {
        const qsizetype comma = text.indexOf(u',');
        *coordinate = NumberFromText(comma < 0 ? text : text.first(comma));
        if (comma < 0) break;
        text = text.sliced(comma + 1);
    }
    return point;
}

std::optional<db::Point3d> PointText::point() const {
    if (parts < 2 || !x || !y || (parts > 2 && !z)) return std::nullopt;
    return db::Point3d(*x, *y, parts > 2 ? *z : 0.0);
}

}  // namespace vela::properties
