#include "db/entities/quadrilateral.h"

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Solid, "AcDbSolid", "SOLID", Entity)
VELA_DB_DEFINE_CLASS(Trace, "AcDbTrace", "TRACE", Entity)
VELA_DB_DEFINE_CLASS(Face, "AcDbFace", "3DFACE", Entity)

template <class Io, class Self>
void OcsQuadrilateral::quadFields(Io& io, Self& self) {
    entityFields(io, self);
    // Files name the section of both kinds after the trace.
    io.subclass("AcDbTrace");
    io.point(10, self.corners_[0]);
    io.point(11, self.corners_[1]);
    io.point(12, self.corners_[2]);
    if constexpr (Io::kReading)
        self.corners_[3] = self.corners_[2];  // a file may leave out a triangle's fourth
    io.point(13, self.corners_[3]);
    io.real(39, self.thickness_, 0.0);
    io.vec(210, self.normal_, Vector3d::zAxis());
}

template <class Io, class Self>
void Solid::dxfFields(Io& io, Self& self) {
    quadFields(io, self);
}

template <class Io, class Self>
void Trace::dxfFields(Io& io, Self& self) {
    quadFields(io, self);
}

VELA_DB_DEFINE_DXF(Solid)
VELA_DB_DEFINE_DXF(Trace)

Point3d OcsQuadrilateral::corner(std::size_t i) const {
    return ocsToWcs(corners_[i & 3], normal_);
}

void OcsQuadrilateral::setCorner(std::size_t i, const Point3d& p) {
    assertWriteEnabled();
    corners_[i & 3] = wcsToOcs(p, normal_);
}

ErrorStatus OcsQuadrilateral::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    for (std::size_t i = 0; i < 4; ++i) extents.addPoint(corner(i));
    return ErrorStatus::Ok;
}

ErrorStatus OcsQuadrilateral::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    // The new plane's normal is the cross product of the images of its axes, as for every planar kind.
    const Vector3d u = m.apply(ocsXAxis(normal_)), v = m.apply(ocsYAxis(normal_));
    const Vector3d n = u.cross(v);
    if (n.isZero(1e-300)) return ErrorStatus::CannotTransform;
    const Vector3d unit = n.normalized();
    assertWriteEnabled();
    for (Point3d& c : corners_) c = wcsToOcs(m.apply(ocsToWcs(c, normal_)), unit);
    thickness_ = wcsToOcs(m.apply(normal_.normalized() * thickness_), unit).z;
    normal_ = unit;
    return ErrorStatus::Ok;
}

template <class Io, class Self>
void Face::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbFace");
    io.point(10, self.corners_[0]);
    io.point(11, self.corners_[1]);
    io.point(12, self.corners_[2]);
    if constexpr (Io::kReading) self.corners_[3] = self.corners_[2];
    io.point(13, self.corners_[3]);
    io.i16(70, self.invisible_, std::int16_t(0));
}

VELA_DB_DEFINE_DXF(Face)

ErrorStatus Face::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    for (const Point3d& c : corners_) extents.addPoint(c);
    return ErrorStatus::Ok;
}

ErrorStatus Face::transformBy(const Matrix3d& m) {
    if (!m.isAffine()) return ErrorStatus::CannotTransform;
    assertWriteEnabled();
    for (Point3d& c : corners_) c = m.apply(c);
    return ErrorStatus::Ok;
}

}  // namespace vela::db
