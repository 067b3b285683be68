#include "db/entities/mtext.h"

#include <cmath>

#include "db/database.h"
#include "db/entities/text.h"
#include "db/entity_dxf.h"
#include "db/geometry/plane.h"
#include "db/geometry/plane_map.h"
#include "db/text_metrics.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(MText, "AcDbMText", "MTEXT", Entity)

template <class Io, class Self>
void MText::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbMText");
    io.point(10, self.location_);
    io.real(40, self.height_);
    io.real(41, self.width_, 0.0);
    io.enumeration(71, self.attachment_, Attachment::TopLeft, Attachment::BottomRight, Attachment::TopLeft);
    io.i16(72, self.flow_);
    io.chunkedText(1, 3, self.contents_);
    io.symbolOr(7, self.style_, TableKind::TextStyle, "Standard");
    io.direction(210, self.normal_, Vector3d::zAxis());
    // Some writers give a rotation angle in the plane instead of a direction vector; it is written back the
    // same way. The normal is read by then.
    io.either(
        self.directionAsRotation_, 11,
        [&] {
            io.converted([&] { return self.direction_; }, [&](auto& d) { io.vec(11, d); },
                         [&](const auto& d) { self.direction_ = d.isZero() ? Vector3d::xAxis() : d; });
        },
        50,
        [&] {
            io.converted([&] { return self.rotation(); }, [&](auto& a) { io.angle(50, a); },
                         [&](auto a) {
                             self.direction_ =
                                 ocsXAxis(self.normal_) * std::cos(a) + ocsYAxis(self.normal_) * std::sin(a);
                         });
        });
    io.i16(73, self.lineSpacingStyle_, std::int16_t(1));
    io.real(44, self.lineSpacing_, 1.0);
}

VELA_DB_DEFINE_DXF(MText)

ErrorStatus MText::setTextHeight(double h) {
    if (!std::isfinite(h) || h <= 0.0) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    height_ = h;
    return ErrorStatus::Ok;
}

double MText::rotation() const {
    const Vector3d local = wcsToOcs(direction_, normal_);
    return normalizeAngle(std::atan2(local.y, local.x));
}

void MText::setRotation(double angle) {
    assertWriteEnabled();
    directionAsRotation_ = false;
    direction_ = ocsXAxis(normal_) * std::cos(angle) + ocsYAxis(normal_) * std::sin(angle);
}

ErrorStatus MText::getGeomExtents(Extents3d& extents) const {
    const MTextLayout layout = measureMText(contents_);
    const double w =
        width_ > 0.0 ? width_ : static_cast<double>(layout.longestLine) * height_ * Text::kCharacterWidth;
    // Lines are spaced 5/3 of the height apart, the usual default for multi-line text.
    const double h =
        height_ + (static_cast<double>(layout.lines) - 1.0) * height_ * (5.0 / 3.0) * lineSpacing_;
    const int a = static_cast<int>(attachment_) - 1;
    const double x0 = -w * ((a % 3) / 2.0);
    const double y0 = -h * (1.0 - (a / 3) / 2.0);
    const Vector3d dx = direction_.normalized();
    const Vector3d dy = normal_.normalized().cross(dx);
    extents = Extents3d();
    for (double x : {x0, x0 + w})
        for (double y : {y0, y0 + h}) extents.addPoint(location_ + dx * x + dy * y);
    return ErrorStatus::Ok;
}

ErrorStatus MText::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    assertWriteEnabled();
    const double s = m.scaleFactor();
    location_ = m.apply(location_);
    // The normal is the one the images of the plane's axes make: a mirrored text is the same text seen from the
    // other side of its plane, as other programs record it.
    normal_ = AxesTransform(m, normal_).newNormal();
    direction_ = m.apply(direction_).normalized();
    height_ *= s;
    width_ *= s;
    return ErrorStatus::Ok;
}

}  // namespace vela::db
