#include "host/text/point_text.h"

#include <cmath>

#include "host/text/number_text.h"

namespace vela::host {

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

std::optional<db::Point3d> ReadCommandLinePoint(QStringView text, const db::Point3d& last) {
    text = text.trimmed();
    const bool relative = text.startsWith(u'@');
    if (relative) text = text.sliced(1).trimmed();
    if (relative && text.isEmpty()) return last;
    const db::Point3d origin = relative ? last : db::Point3d();
    if (const qsizetype lt = text.indexOf(u'<'); lt >= 0) {
        const std::optional<double> distance = NumberFromText(text.first(lt));
        const std::optional<double> degrees = NumberFromText(text.sliced(lt + 1));
        if (!distance || !degrees) return std::nullopt;
        const double a = *degrees * M_PI / 180.0;
        return db::Point3d(origin.x + *distance * std::cos(a), origin.y + *distance * std::sin(a), origin.z);
    }
    const PointText parts = ReadPointText(text);
    if (parts.parts > 3) return std::nullopt;
    const std::optional<db::Point3d> p = parts.point();
    if (!p) return std::nullopt;
    return db::Point3d(origin.x + p->x, origin.y + p->y,
                       (relative || parts.parts > 2) ? origin.z + p->z : 0.0);
}

std::optional<db::Point3d> PointText::point() const {
    if (parts < 2 || !x || !y || (parts > 2 && !z)) return std::nullopt;
    return db::Point3d(*x, *y, parts > 2 ? *z : 0.0);
}

QString CommandLinePointText(const db::Point3d& p) {
    return ShortestNumberText(p.x) + u',' + ShortestNumberText(p.y) + u',' + ShortestNumberText(p.z);
}

}  // namespace vela::host
