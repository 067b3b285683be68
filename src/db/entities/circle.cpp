#include "db/entities/circle.h"

#include <cmath>

#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Circle, "AcDbCircle", "CIRCLE", Curve)

ErrorStatus Circle::setRadius(double r) {
    if (!std::isfinite(r) || r <= 0.0) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    radius_ = r;
    return ErrorStatus::Ok;
}

double Circle::circumference() const { return kTwoPi * radius_; }
double Circle::area() const { return kPi * radius_ * radius_; }

ErrorStatus Circle::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    const Vector3d u = ocsXAxis(normal_) * radius_, v = ocsYAxis(normal_) * radius_;
    addEllipticArcExtents(extents, center_, u, v, 0.0, kTwoPi);
    if (thickness_ != 0.0) {
        Extents3d top;
        addEllipticArcExtents(top, center_ + normal_.normalized() * thickness_, u, v, 0.0, kTwoPi);
        extents.addExtents(top);
    }
    return ErrorStatus::Ok;
}

ErrorStatus Circle::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    assertWriteEnabled();
    const double s = m.scaleFactor();
    center_ = m.apply(center_);
    radius_ *= s;
    thickness_ *= s;
    normal_ = m.apply(normal_).normalized();
    return ErrorStatus::Ok;
}

}  // namespace vela::db
