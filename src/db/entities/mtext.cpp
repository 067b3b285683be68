#include "db/entities/mtext.h"

#include "db/database.h"
#include "db/entity_dxf.h"
#include <cmath>

#include "db/entities/text.h"
#include "db/geometry/plane.h"
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
    std::int16_t attachment = static_cast<std::int16_t>(self.attachment_);
    io.i16(71, attachment);
    io.i16(72, self.flow_);
    if constexpr (Io::kReading) {
        self.attachment_ = static_cast<Attachment>(attachment >= 1 && attachment <= 9 ? attachment : 1);
        // Contents come in chunks: any number of 3 groups, then the last part in a 1 group.
        DxfInput& in = io.input();
        std::string contents, part;
        in.seek(3);
        while (in.takeString(3, part)) contents += part;
        if (in.readString(1, part)) contents += part;
        self.contents_ = std::move(contents);
    } else {
        // Long contents are split into 250-byte chunks, never inside a UTF-8 character.
        std::string_view rest = self.contents_;
        while (rest.size() > 250) {
            std::size_t cut = 250;
            while (cut > 0 && (static_cast<unsigned char>(rest[cut]) & 0xC0) == 0x80) --cut;
            io.output().writeString(3, rest.substr(0, cut));
            rest.remove_prefix(cut);
        }
        io.output().writeString(1, rest);
    }
    io.symbol(7, self.style_, TableKind::TextStyle, "Standard");
    io.vec(210, self.normal_, Vector3d::zAxis());
    if constexpr (Io::kReading) {
        io.vec(11, self.direction_);
        // Some writers give a rotation angle instead of a direction vector; it is written back the same way.
        double rotation = 0.0;
        if (!io.input().has(11) && io.input().readDouble(50, rotation)) {
            const double a = rotation * (kPi / 180.0);
            self.directionAsRotation_ = true;
            io.input().afterReading([&self, a] {
                self.direction_ = ocsXAxis(self.normal_) * std::cos(a) + ocsYAxis(self.normal_) * std::sin(a);
            });
        }
        if (self.style_.isNull() && io.input().database())
            self.style_ = io.input().database()->textStyleTable()->getAt("Standard");
        self.normal_ = self.normal_.normalized();
        if (self.direction_.isZero()) self.direction_ = Vector3d::xAxis();
    } else if (self.directionAsRotation_) {
        io.angle(50, self.rotation());
    } else {
        io.vec(11, self.direction_);
    }
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
    const double w = width_ > 0.0 ? width_ : static_cast<double>(layout.longestLine) * height_ * Text::kCharacterWidth;
    // Lines are spaced 5/3 of the height apart, the usual default for multi-line text.
    const double h = height_ + (static_cast<double>(layout.lines) - 1.0) * height_ * (5.0 / 3.0) * lineSpacing_;
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
    direction_ = m.apply(direction_).normalized();
    normal_ = m.apply(normal_).normalized();
    // Multi-line text has no mirrored form: the frame is rebuilt from the images of normal and direction, so
    // under a reflection the text moves and turns but stays readable.
    height_ *= s;
    width_ *= s;
    return ErrorStatus::Ok;
}

}  // namespace vela::db
