#include "db/entities/arc.h"

#include "db/entity_dxf.h"
#include <cmath>

#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Arc, "AcDbArc", "ARC", Curve)

template <class Io, class Self>
void Arc::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbCircle");
    io.real(39, self.thickness_, 0.0);
    io.point(10, self.center_);
    io.real(40, self.radius_);
    io.vec(210, self.normal_, Vector3d::zAxis());
    io.subclass("AcDbArc");
    io.angle(50, self.startAngle_);
    io.angle(51, self.endAngle_);
    if constexpr (Io::kReading) {
        self.startAngle_ = normalizeAngle(self.startAngle_);
        self.endAngle_ = normalizeAngle(self.endAngle_);
    }
}

VELA_DB_DEFINE_DXF(Arc)

Arc::Arc(const Point3d& center, double radius, double startAngle, double endAngle)
    : center_(center), radius_(radius), startAngle_(normalizeAngle(startAngle)), endAngle_(normalizeAngle(endAngle)) {}

ErrorStatus Arc::setRadius(double r) {
    if (!std::isfinite(r) || r <= 0.0) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    radius_ = r;
    return ErrorStatus::Ok;
}

void Arc::setStartAngle(double a) { assertWriteEnabled(), startAngle_ = normalizeAngle(a); }
void Arc::setEndAngle(double a) { assertWriteEnabled(), endAngle_ = normalizeAngle(a); }

Point3d Arc::center() const { return ocsToWcs(center_, normal_); }

void Arc::setCenter(const Point3d& p) {
    assertWriteEnabled();
    center_ = wcsToOcs(p, normal_);
}

void Arc::setNormal(const Vector3d& n) {
    if (n.isZero()) return;
    assertWriteEnabled();
    center_ = reexpressInPlane(center_, normal_, n.normalized());
    normal_ = n.normalized();
}

double Arc::totalAngle() const { return sweepAngle(startAngle_, endAngle_); }

Point3d Arc::pointAtAngle(double a) const {
    return center() + (ocsXAxis(normal_) * std::cos(a) + ocsYAxis(normal_) * std::sin(a)) * radius_;
}

ErrorStatus Arc::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    const Vector3d u = ocsXAxis(normal_) * radius_, v = ocsYAxis(normal_) * radius_;
    const Point3d c = center();
    addEllipticArcExtents(extents, c, u, v, startAngle_, endAngle_);
    if (thickness_ != 0.0) {
        Extents3d top;
        addEllipticArcExtents(top, c + normal_.normalized() * thickness_, u, v, startAngle_, endAngle_);
        extents.addExtents(top);
    }
    return ErrorStatus::Ok;
}

ErrorStatus Arc::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    const Point3d start = m.apply(startPoint()), end = m.apply(endPoint());
    const Vector3d n = m.apply(normal_).normalized();
    const Point3d c = m.apply(center());
    const Vector3d ds = wcsToOcs(start - c, n), de = wcsToOcs(end - c, n);
    assertWriteEnabled();
    const double s = m.scaleFactor();
    center_ = wcsToOcs(c, n);
    radius_ *= s;
    thickness_ *= s;
    normal_ = n;
    // A reflection reverses the direction of travel, so the transformed end becomes the start.
    const bool reflected = m.determinant() < 0;
    const double a0 = normalizeAngle(std::atan2(ds.y, ds.x)), a1 = normalizeAngle(std::atan2(de.y, de.x));
    startAngle_ = reflected ? a1 : a0;
    endAngle_ = reflected ? a0 : a1;
    return ErrorStatus::Ok;
}

}  // namespace vela::db
