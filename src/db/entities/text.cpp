#include "db/entities/text.h"

#include <cmath>

#include "db/database.h"
#include "db/entities/text_dxf.h"
#include "db/geometry/plane.h"
#include "db/geometry/plane_map.h"
#include "db/text_metrics.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Text, "AcDbText", "TEXT", Entity)

template <class Io, class Self>
void Text::dxfFields(Io& io, Self& self) {
    textFields(io, self);
    io.subclass("AcDbText", 1);
    verticalModeField(io, self, 73);
}

VELA_DB_DEFINE_DXF(Text)

Point3d Text::position() const {
    return ocsToWcs(position_, normal_);
}
Point3d Text::alignmentPoint() const {
    return ocsToWcs(alignmentPoint_, normal_);
}

void Text::setPosition(const Point3d& p) {
    assertWriteEnabled();
    position_ = wcsToOcs(p, normal_);
}

void Text::setAlignmentPoint(const Point3d& p) {
    assertWriteEnabled();
    alignmentPoint_ = wcsToOcs(p, normal_);
}

void Text::setNormal(const Vector3d& n) {
    if (n.isZero()) return;
    assertWriteEnabled();
    position_ = reexpressInPlane(position_, normal_, n.normalized());
    alignmentPoint_ = reexpressInPlane(alignmentPoint_, normal_, n.normalized());
    normal_ = n.normalized();
}

ErrorStatus Text::setHeight(double h) {
    if (!std::isfinite(h) || h <= 0.0) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    height_ = h;
    return ErrorStatus::Ok;
}

ErrorStatus Text::getGeomExtents(Extents3d& extents) const {
    const double width =
        static_cast<double>(displayedCharacterCount(text_)) * height_ * widthFactor_ * kCharacterWidth;
    // The box is laid out from the insertion point along the text's direction in its plane; alignment shifts
    // it.
    double x0 = 0.0;
    switch (hmode_) {
        case HorizontalMode::Center:
        case HorizontalMode::Middle:
            x0 = -width / 2;
            break;
        case HorizontalMode::Right:
            x0 = -width;
            break;
        default:
            break;
    }
    double y0 = 0.0;
    switch (vmode_) {
        case VerticalMode::Middle:
            y0 = -height_ / 2;
            break;
        case VerticalMode::Top:
            y0 = -height_;
            break;
        default:
            break;
    }
    const bool aligned = hmode_ != HorizontalMode::Left || vmode_ != VerticalMode::Baseline;
    const Point3d origin = aligned && hmode_ != HorizontalMode::Aligned && hmode_ != HorizontalMode::Fit
                               ? alignmentPoint()
                               : position();
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
    const Vector3d dx = ax * std::cos(rotation_) + ay * std::sin(rotation_);
    const Vector3d dy = ay * std::cos(rotation_) - ax * std::sin(rotation_);
    const double w = (hmode_ == HorizontalMode::Aligned || hmode_ == HorizontalMode::Fit)
                         ? alignmentPoint_.distanceTo(position_)  // both in one plane: distances agree
                         : width;
    extents = Extents3d();
    for (double x : {x0, x0 + w})
        for (double y : {y0, y0 + height_}) extents.addPoint(origin + dx * x + dy * y);
    return ErrorStatus::Ok;
}

ErrorStatus Text::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    assertWriteEnabled();
    // The plane's axes go where the transformation takes them and the normal is the one they make: a mirrored
    // text is the same text seen from the other side of its plane, as other programs record it.
    const AxesTransform plane(m, normal_);
    position_ = plane.point(position_);
    alignmentPoint_ = plane.point(alignmentPoint_);
    rotation_ = plane.angle(rotation_);
    height_ *= m.scaleFactor();
    thickness_ = plane.thickness(thickness_);
    normal_ = plane.newNormal();
    return ErrorStatus::Ok;
}

}  // namespace vela::db
