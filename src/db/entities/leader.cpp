#include "db/entities/leader.h"

#include "db/entity_dxf.h"
#include "db/geometry/plane_map.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Leader, "AcDbLeader", "LEADER", Entity)

template <class Io, class Self>
void Leader::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbLeader");
    io.symbolOr(3, self.style_, TableKind::DimStyle, "Standard");
    io.boolean(71, self.hasArrowHead_);
    io.boolean(72, self.splined_);
    io.enumeration(73, self.annotationType_, AnnotationType::Text, AnnotationType::None,
                   AnnotationType::None);
    io.list(76, 10, self.vertices_, [](auto& io, auto& v) { io.point(10, v); });
    io.id(340, self.annotation_);
    io.direction(210, self.normal_, Vector3d::zAxis());
    io.direction(211, self.horizontalDirection_, Vector3d::xAxis());
}

VELA_DB_DEFINE_DXF(Leader)

std::string Leader::dimensionStyleName() const {
    if (auto* rec = objectCast<SymbolTableRecord>(style_.peek())) return rec->name();
    return {};
}

ErrorStatus Leader::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    if (splined_) return ErrorStatus::InvalidInput;
    for (const Point3d& p : vertices_) extents.addPoint(p);
    return extents.isValid() ? ErrorStatus::Ok : ErrorStatus::InvalidInput;
}

ErrorStatus Leader::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    assertWriteEnabled();
    for (Point3d& p : vertices_) p = m.apply(p);
    horizontalDirection_ = m.apply(horizontalDirection_).normalized();
    normal_ = AxesTransform(m, normal_).newNormal();
    return ErrorStatus::Ok;
}

}  // namespace vela::db
