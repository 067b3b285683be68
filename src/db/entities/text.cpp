#include "db/entities/text.h"

#include <cmath>

#include "db/database.h"
#include "db/entity_dxf.h"
#include "db/geometry/plane.h"
#include "db/text_metrics.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Text, "AcDbText", "TEXT", Entity)

template <class Io, class Self>
void Text::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbText");
    io.real(39, self.thickness_, 0.0);
    io.point(10, self.position_);
    io.real(40, self.height_);
    io.str(1, self.text_);
    io.angle(50, self.rotation_, 0.0);
    io.real(41, self.widthFactor_, 1.0);
    io.angle(51, self.oblique_, 0.0);
    io.symbolOr(7, self.style_, TableKind::TextStyle, "Standard");
    io.i16(71, self.generation_, std::int16_t(0));
    std::int16_t h = static_cast<std::int16_t>(self.hmode_), v = static_cast<std::int16_t>(self.vmode_);
    io.i16(72, h, std::int16_t(0));
    // The second alignment point is meaningful (and written) only for texts that are not left/baseline.
    if constexpr (Io::kReading) {
        io.point(11, self.alignmentPoint_);
    } else if (h != 0 || v != 0) {
        io.point(11, self.alignmentPoint_);
    }
    io.vec(210, self.normal_, Vector3d::zAxis());
    io.subclass("AcDbText", 1);
    io.i16(73, v, std::int16_t(0));
    if constexpr (Io::kReading) {
        self.hmode_ = static_cast<HorizontalMode>(h >= 0 && h <= 5 ? h : 0);
        self.vmode_ = static_cast<VerticalMode>(v >= 0 && v <= 3 ? v : 0);
    }
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
    const Vector3d ax = ocsXAxis(normal_), ay = ocsYAxis(normal_);
    const Vector3d dir = m.apply(ax * std::cos(rotation_) + ay * std::sin(rotation_));
    const Vector3d n = m.apply(normal_).normalized();
    const Vector3d local = wcsToOcs(dir, n);
    assertWriteEnabled();
    const double s = m.scaleFactor();
    const Point3d p = m.apply(position()), a = m.apply(alignmentPoint());
    height_ *= s;
    thickness_ *= s;
    normal_ = n;
    position_ = wcsToOcs(p, n);
    alignmentPoint_ = wcsToOcs(a, n);
    rotation_ = normalizeAngle(std::atan2(local.y, local.x));
    // A reflection turns the text into its mirror image, which drawings express as "backwards".
    if (m.determinant() < 0) generation_ = static_cast<std::int16_t>(generation_ ^ 2);
    return ErrorStatus::Ok;
}

}  // namespace vela::db
