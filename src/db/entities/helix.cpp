#include "db/entities/helix.h"

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Helix, "AcDbHelix", "HELIX", Spline)

template <class Io, class Self>
void Helix::dxfFields(Io& io, Self& self) {
    Spline::dxfFields(io, self);
    io.subclass("AcDbHelix");
    io.i32(90, self.majorRelease_);
    io.i32(91, self.maintenanceRelease_);
    io.point(10, self.axisBase_);
    io.point(11, self.start_);
    io.vec(12, self.axis_);
    io.real(40, self.topRadius_);
    io.real(41, self.turns_);
    io.real(42, self.turnHeight_);
    io.boolean(290, self.rightHanded_);
    io.i16(280, self.constrain_);
}

VELA_DB_DEFINE_DXF(Helix)

ErrorStatus Helix::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    const double scale = m.scaleFactor();
    const bool reflects = m.determinant() < 0;
    if (ErrorStatus es = Spline::transformBy(m); es != ErrorStatus::Ok) return es;
    axisBase_ = m.apply(axisBase_);
    start_ = m.apply(start_);
    axis_ = m.apply(axis_);
    topRadius_ *= scale;
    turnHeight_ *= scale;
    if (reflects) rightHanded_ = !rightHanded_;
    return ErrorStatus::Ok;
}

}  // namespace vela::db
