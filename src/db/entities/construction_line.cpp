#include "db/entities/construction_line.h"

#include <cmath>

#include "db/entity_dxf.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Xline, "AcDbXline", "XLINE", Curve)
VELA_DB_DEFINE_CLASS(Ray, "AcDbRay", "RAY", Curve)

template <class Io, class Self>
void ConstructionLine::lineFields(Io& io, Self& self, const char* marker) {
    entityFields(io, self);
    io.subclass(marker);
    io.point(10, self.base_);
    io.vec(11, self.direction_);
}

template <class Io, class Self>
void Xline::dxfFields(Io& io, Self& self) {
    lineFields(io, self, "AcDbXline");
}

template <class Io, class Self>
void Ray::dxfFields(Io& io, Self& self) {
    lineFields(io, self, "AcDbRay");
}

VELA_DB_DEFINE_DXF(Xline)
VELA_DB_DEFINE_DXF(Ray)

ErrorStatus ConstructionLine::setUnitDir(const Vector3d& d) {
    if (!std::isfinite(d.x) || !std::isfinite(d.y) || !std::isfinite(d.z) || d.isZero())
        return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    direction_ = d.normalized();
    return ErrorStatus::Ok;
}

ErrorStatus ConstructionLine::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    return ErrorStatus::InvalidInput;
}

ErrorStatus ConstructionLine::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    const Vector3d d = m.apply(direction_);
    if (d.isZero(1e-300)) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    base_ = m.apply(base_);
    direction_ = d.normalized();
    return ErrorStatus::Ok;
}

}  // namespace vela::db
