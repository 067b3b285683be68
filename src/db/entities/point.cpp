#include "db/entities/point.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(PointEntity, "AcDbPoint", "POINT", Entity)

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
