#include "db/entities/text.h"

#include <cmath>

#include "db/geometry/plane.h"
#include "db/text_metrics.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Text, "AcDbText", "TEXT", Entity)

ErrorStatus Text::setHeight(double h) {
    if (!std::isfinite(h) || h <= 0.0) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    height_ = h;
    return ErrorStatus::Ok;
}

ErrorStatus Text::getGeomExtents(Extents3d& extents) const {
    const double width = static_cast<double>(displayedCharacterCount(text_)) * height_ * widthFactor_ *
                         kCharacterWidth;
    // The box is laid out from the insertion point along the text's direction in its plane; alignment shifts it.
    double x0 = 0.0;
    switch (hmode_) {
        case HorizontalMode::Center:
        case HorizontalMode::Middle: x0 = -width / 2; break;
        case HorizontalMode::Right: x0 = -width; break;
        default: break;
    }
    double y0 = 0.0;
    switch (vmode_) {
        case VerticalMode::Middle: y0 = -height_ / 2; break;
        case VerticalMode::Top: y0 = -height_; break;
        default: break;
    }
    const bool aligned = hmode_ != HorizontalMode::Left || vmode_ != VerticalMode::Baseline;
    const Point3d origin = aligned && hmode_ != HorizontalMode::Aligned && hmode_ != HorizontalMode::Fit
                               ? alignmentPoint_
                               : position_;
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
    const Vector3d dx = ax * std::cos(rotation_) + ay * std::sin(rotation_);
    const Vector3d dy = ay * std::cos(rotation_) - ax * std::sin(rotation_);
    const double w = (hmode_ == HorizontalMode::Aligned || hmode_ == HorizontalMode::Fit)
                         ? alignmentPoint_.distanceTo(position_)
                         : width;
    extents = Extents3d();
    for (double x : {x0, x0 + w})
        for (double y : {y0, y0 + height_}) extents.addPoint(origin + dx * x + dy * y);
    return ErrorStatus::Ok;
}

ErrorStatus Text::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
    const Vector3d dir = m.apply(ax * std::cos(rotation_) + ay * std::sin(rotation_));
    const Vector3d n = m.apply(normal_).normalized();
    const Vector3d local = wcsToOcs(dir, n);
    assertWriteEnabled();
    const double s = m.scaleFactor();
    position_ = m.apply(position_);
    alignmentPoint_ = m.apply(alignmentPoint_);
    height_ *= s;
    thickness_ *= s;
    normal_ = n;
    rotation_ = normalizeAngle(std::atan2(local.y, local.x));
    // A reflection turns the text into its mirror image, which drawings express as "backwards".
    if (m.determinant() < 0) generation_ = static_cast<std::int16_t>(generation_ ^ 2);
    return ErrorStatus::Ok;
}

}  // namespace vela::db
