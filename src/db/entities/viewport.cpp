#include "db/entities/viewport.h"

#include <cmath>

#include "db/entity_dxf.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Viewport, "AcDbViewport", "VIEWPORT", Entity)

template <class Io, class Self>
void Viewport::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbViewport");
    io.point(10, self.center_);
    io.real(40, self.width_);
    io.real(41, self.height_);
    io.i16(68, self.status_);
    io.i16(69, self.id_);
    io.point2(12, self.viewCenter_);
    io.point2(13, self.snapBase_);
    io.point2(14, self.snapSpacing_);
    io.point2(15, self.gridSpacing_);
    io.vec(16, self.viewDirection_);
    io.point(17, self.viewTarget_);
    io.real(42, self.lensLength_);
    io.real(43, self.frontClip_);
    io.real(44, self.backClip_);
    io.real(45, self.viewHeight_);
    io.angle(50, self.snapAngle_);
    io.angle(51, self.twist_);
    io.i16(72, self.circleZoom_);
    io.items(331, self.frozenLayers_, [](auto& io, auto& layer) { io.id(331, layer); });
    io.i32(90, self.flags_);
    io.id(340, self.clipEntity_);
}

VELA_DB_DEFINE_DXF(Viewport)

ErrorStatus Viewport::setSize(double width, double height) {
    if (!(width > 0.0) || !(height > 0.0) || !std::isfinite(width) || !std::isfinite(height))
        return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    width_ = width;
    height_ = height;
    return ErrorStatus::Ok;
}

double Viewport::customScale() const {
    return std::abs(viewHeight_) < 1e-12 ? 0.0 : height_ / viewHeight_;
}

ErrorStatus Viewport::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    if (status_ == 0) return ErrorStatus::InvalidInput;
    if ((flags_ & kNonRectangularClipping) != 0)
        if (auto* clip = objectCast<Entity>(clipEntity_.peek()); clip && clip != this)
            return clip->getGeomExtents(extents);
    // The frame is drawn in the layout's plane whatever elevation its center has.
    extents.addPoint(Point3d(center_.x - width_ / 2, center_.y - height_ / 2, 0.0));
    extents.addPoint(Point3d(center_.x + width_ / 2, center_.y + height_ / 2, 0.0));
    return ErrorStatus::Ok;
}

ErrorStatus Viewport::transformBy(const Matrix3d&) {
    return ErrorStatus::CannotTransform;
}

}  // namespace vela::db
