#include "db/entities/circle.h"

#include "db/entity_dxf.h"
#include <cmath>

#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Circle, "AcDbCircle", "CIRCLE", Curve)

template <class Io, class Self>
void Circle::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbCircle");
    io.real(39, self.thickness_, 0.0);
    io.point(10, self.center_);
    io.real(40, self.radius_);
    io.vec(210, self.normal_, Vector3d::zAxis());
}

VELA_DB_DEFINE_DXF(Circle)

ErrorStatus Circle::setRadius(double r) {
    if (!std::isfinite(r) || r <= 0.0) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    radius_ = r;
    return ErrorStatus::Ok;
}

Point3d Circle::center() const { return ocsToWcs(center_, normal_); }

void Circle::setCenter(const Point3d& p) {
    assertWriteEnabled();
    center_ = wcsToOcs(p, normal_);
}

void Circle::setNormal(const Vector3d& n) {
    if (n.isZero()) return;
    assertWriteEnabled();
    center_ = reexpressInPlane(center_, normal_, n.normalized());
    normal_ = n.normalized();
}

double Circle::circumference() const { return kTwoPi * radius_; }
double Circle::area() const { return kPi * radius_ * radius_; }

ErrorStatus Circle::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    const Vector3d u = ocsXAxis(normal_) * radius_, v = ocsYAxis(normal_) * radius_;
    const Point3d c = center();
    addEllipticArcExtents(extents, c, u, v, 0.0, kTwoPi);
    if (thickness_ != 0.0) {
        Extents3d top;
        addEllipticArcExtents(top, c + normal_.normalized() * thickness_, u, v, 0.0, kTwoPi);
        extents.addExtents(top);
    }
    return ErrorStatus::Ok;
}

ErrorStatus Circle::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    assertWriteEnabled();
    const double s = m.scaleFactor();
    const Point3d c = m.apply(center());
    radius_ *= s;
    thickness_ *= s;
    normal_ = m.apply(normal_).normalized();
    center_ = wcsToOcs(c, normal_);
    return ErrorStatus::Ok;
}

}  // namespace vela::db
