#include "db/entities/shape.h"

#include <cmath>

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Shape, "AcDbShape", "SHAPE", Entity)

template <class Io, class Self>
void Shape::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbShape");
    io.real(39, self.thickness_, 0.0);
    io.point(10, self.position_);
    io.real(40, self.size_);
    io.str(2, self.name_);
    io.angle(50, self.rotation_, 0.0);
    io.real(41, self.xScale_, 1.0);
    io.angle(51, self.oblique_, 0.0);
    io.vec(210, self.normal_, Vector3d::zAxis());
}

VELA_DB_DEFINE_DXF(Shape)

ErrorStatus Shape::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    return ErrorStatus::InvalidInput;
}

ErrorStatus Shape::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    // The new plane's normal is the cross product of the images of its axes; a reflection turns it over.
    const Vector3d u = m.apply(ocsXAxis(normal_)), v = m.apply(ocsYAxis(normal_));
    const Vector3d n = u.cross(v).normalized();
    const Vector3d along = m.apply(ocsToWcs(Vector3d(std::cos(rotation_), std::sin(rotation_), 0), normal_));
    const Vector3d inPlane = wcsToOcs(along, n);
    const double s = m.scaleFactor();
    assertWriteEnabled();
    position_ = m.apply(position_);
    rotation_ = normalizeAngle(std::atan2(inPlane.y, inPlane.x));
    size_ *= s;  // the width factor is relative to the size: it stays
    thickness_ = wcsToOcs(m.apply(normal_.normalized() * thickness_), n).z;
    normal_ = n;
    return ErrorStatus::Ok;
}

}  // namespace vela::db
