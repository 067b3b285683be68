#include "db/entities/ellipse.h"

#include <cmath>

#include "db/entity_dxf.h"
#include "db/geometry/plane.h"

namespace vela::db {

VELA_DB_DEFINE_CLASS(Ellipse, "AcDbEllipse", "ELLIPSE", Curve)

namespace {
// A full ellipse keeps its end parameter at exactly 2pi so that it reads as closed; arcs use [0, 2pi).
void normalizeParams(double& start, double& end) {
    const bool full = std::abs(end - start) >= Ellipse::kFullTurn - 1e-12 || std::abs(end - start) <= 1e-12;
    start = normalizeAngle(start);
    end = full ? start + Ellipse::kFullTurn : normalizeAngle(end);
    if (full && start == 0.0) end = Ellipse::kFullTurn;
}
}  // namespace

template <class Io, class Self>
void Ellipse::dxfFields(Io& io, Self& self) {
    entityFields(io, self);
    io.subclass("AcDbEllipse");
    io.point(10, self.center_);
    io.vec(11, self.majorAxis_);
    io.direction(210, self.normal_, Vector3d::zAxis());
    io.real(40, self.radiusRatio_);
    io.real(41, self.startParam_);
    io.real(42, self.endParam_);
    // Parameters stay as the file gives them (2pi is not folded to 0), so they are written back unchanged.
}

VELA_DB_DEFINE_DXF(Ellipse)

ErrorStatus Ellipse::set(const Point3d& center, const Vector3d& normal, const Vector3d& majorAxis,
                         double ratio, double startParam, double endParam) {
    if (majorAxis.isZero() || normal.isZero()) return ErrorStatus::InvalidInput;
    if (!std::isfinite(ratio) || ratio <= 0.0 || ratio > 1.0 + 1e-12) return ErrorStatus::InvalidInput;
    const Vector3d n = normal.normalized();
    if (std::abs(n.dot(majorAxis.normalized())) > 1e-9) return ErrorStatus::InvalidInput;
    if (!std::isfinite(startParam) || !std::isfinite(endParam)) return ErrorStatus::InvalidInput;
    assertWriteEnabled();
    center_ = center;
    normal_ = n;
    majorAxis_ = majorAxis;
    radiusRatio_ = std::min(ratio, 1.0);
    startParam_ = startParam;
    endParam_ = endParam;
    normalizeParams(startParam_, endParam_);
    return ErrorStatus::Ok;
}

Vector3d Ellipse::minorAxis() const {
    return normal_.cross(majorAxis_) * radiusRatio_;
}

void Ellipse::setParams(double start, double end) {
    assertWriteEnabled();
    startParam_ = start, endParam_ = end;
    normalizeParams(startParam_, endParam_);
}

bool Ellipse::isClosed() const {
    return std::abs(endParam_ - startParam_ - kFullTurn) <= 1e-12;
}

Point3d Ellipse::pointAtParam(double t) const {
    return center_ + majorAxis_ * std::cos(t) + minorAxis() * std::sin(t);
}

ErrorStatus Ellipse::getGeomExtents(Extents3d& extents) const {
    extents = Extents3d();
    if (isClosed())
        addEllipticArcExtents(extents, center_, majorAxis_, minorAxis(), 0.0, kTwoPi);
    else
        addEllipticArcExtents(extents, center_, majorAxis_, minorAxis(), startParam_, endParam_);
    return ErrorStatus::Ok;
}

ErrorStatus Ellipse::transformBy(const Matrix3d& m) {
    if (ErrorStatus es = checkUniformTransform(m); es != ErrorStatus::Ok) return es;
    assertWriteEnabled();
    const bool closed = isClosed();
    center_ = m.apply(center_);
    majorAxis_ = m.apply(majorAxis_);
    normal_ = m.apply(normal_).normalized();
    // Under a reflection the transformed normal turns the minor axis around, so parameter t now runs as -t.
    if (m.determinant() < 0 && !closed) {
        const double s = startParam_, e = endParam_;
        startParam_ = -e, endParam_ = -s;
        normalizeParams(startParam_, endParam_);
    }
    return ErrorStatus::Ok;
}

}  // namespace vela::db
