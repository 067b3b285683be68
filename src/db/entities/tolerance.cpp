#include "db/entities/tolerance.h"

#include <cmath>

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(FeatureControlFrame, "AcDbFcf", "TOLERANCE", Entity)

template <class Io, class Self>
void FeatureControlFrame::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbFcf");
    io.symbolOr(3, self.style_, TableKind::DimStyle, "Standard");
    io.point(10, self.location_);
    io.str(1, self.text_, "");
    io.vec(210, self.normal_, Vector3d::zAxis());
    io.vec(11, self.direction_, Vector3d::xAxis());
}

VELA_DB_DEFINE_DXF(FeatureControlFrame)

std::string FeatureControlFrame::dimensionStyleName() const {
    if (auto* rec = objectCast<SymbolTableRecord>(style_.peek())) return rec->name();
    return {};
}

ErrorStatus FeatureControlFrame::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    return ErrorStatus::InvalidInput;
}

ErrorStatus FeatureControlFrame::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    if (std::abs(m.scaleFactor() - 1.0) > 1e-9) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    // The plane's axes go where the transformation takes them; the normal is the one they make, so that a
    // mirrored frame keeps its layout in its plane.
    const Vector3d x = m.apply(ocsXAxis(normal_)), y = m.apply(ocsYAxis(normal_));
    location_ = m.apply(location_);
    direction_ = m.apply(direction_);
    normal_ = x.cross(y).normalized();
    return ErrorStatus::Ok;
}

}  // namespace vela::db
