#include "db/entities/line.h"

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Line, "AcDbLine", "LINE", Curve)

template <class Io, class Self>
void Line::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbLine");
    io.real(39, self.thickness_, 0.0);
    io.point(10, self.start_);
    io.point(11, self.end_);
    io.vec(210, self.normal_, Vector3d::zAxis());
}

VELA_DB_DEFINE_DXF(Line)

ErrorStatus Line::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d(start_, end_);
    if (thickness_ != 0.0) {
        const Vector3d up = normal_.normalized() * thickness_;
        extents.addPoint(start_ + up).addPoint(end_ + up);
    }
    return ErrorStatus::Ok;
}

ErrorStatus Line::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    start_ = m.apply(start_);
    end_ = m.apply(end_);
    const Vector3d n = m.apply(normal_);
    if (!n.isZero()) {
        thickness_ *= n.length();
        normal_ = n.normalized();
    }
    return ErrorStatus::Ok;
}

}  // namespace vela::db
