#include "db/entities/ole_frame.h"

#include <cmath>

#include "db/entity_dxf.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Ole2Frame, "AcDbOle2Frame", "OLE2FRAME", Entity)

// The data length (90), the binary chunks (310) and the end marker (1) that follow are not declared: they
// are kept, in their order, after the declared groups, which is where they stand in the file.
template <class Io, class Self>
void Ole2Frame::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbOle2Frame");
    io.i16(70, self.version_);
    io.str(3, self.description_);
    io.point(10, self.upperLeft_);
    io.point(11, self.lowerRight_);
    io.enumeration(71, self.type_, ObjectType::Link, ObjectType::Static, ObjectType::Embedded);
    io.i16(72, self.tileMode_);
}

VELA_DB_DEFINE_DXF(Ole2Frame)

ErrorStatus Ole2Frame::setFrame(const Point3d& upperLeft, const Point3d& lowerRight) {
    if (!(lowerRight.x > upperLeft.x) || !(upperLeft.y > lowerRight.y)) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    upperLeft_ = upperLeft;
    lowerRight_ = lowerRight;
    return ErrorStatus::Ok;
}

ErrorStatus Ole2Frame::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    extents.addPoint(upperLeft_).addPoint(lowerRight_);
    return ErrorStatus::Ok;
}

ErrorStatus Ole2Frame::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    const double s = m(0, 0);
    if (!(s > 0.0)) return ErrorStatus::CannotTransform;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            if (std::abs(m(r, c) - (r == c ? s : 0.0)) > 1e-12 * s) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    upperLeft_ = m.apply(upperLeft_);
    lowerRight_ = m.apply(lowerRight_);
    return ErrorStatus::Ok;
}

}  // namespace vela::db
