#include "db/entities/point.h"

#include "db/entity_dxf.h"
namespace vela::db {

VELA_DB_DEFINE_CLASS(PointEntity, "AcDbPoint", "POINT", Entity)

template <class Io, class Self>
void PointEntity::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbPoint");
    io.point(10, self.position_);
    io.real(39, self.thickness_, 0.0);
    io.vec(210, self.normal_, Vector3d::zAxis());
    io.angle(50, self.ecsRotation_, 0.0);
}

VELA_DB_DEFINE_DXF(PointEntity)

ErrorStatus PointEntity::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d(position_, position_);
    return ErrorStatus::Ok;
}

ErrorStatus PointEntity::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    position_ = m.apply(position_);
    const Vector3d n = m.apply(normal_);
    if (!n.isZero()) normal_ = n.normalized();
    return ErrorStatus::Ok;
}

}  // namespace vela::db
