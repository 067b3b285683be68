#pragma once

#include "db/entities/curve.h"

namespace vela::db {

/// An ellipse or elliptic arc: P(t) = center + cos(t) major + sin(t) minor, with minor = ratio * (normal x
/// major), for t from the start to the end parameter (radians, counter-clockwise about the normal).
class Ellipse : public Curve {
    VELA_DB_DECLARE_CLASS(Ellipse)
public:
    Ellipse() = default;

    /// Sets all of the geometry at once. InvalidInput when the major axis is zero or not perpendicular to the
    /// normal, or the ratio is outside (0, 1].
    ErrorStatus set(const Point3d& center, const Vector3d& normal, const Vector3d& majorAxis, double radiusRatio,
                    double startParam = 0.0, double endParam = kFullTurn);

    const Point3d& center() const { return center_; }
    void setCenter(const Point3d& p) { assertWriteEnabled(), center_ = p; }
    const Vector3d& normal() const { return normal_; }
    const Vector3d& majorAxis() const { return majorAxis_; }
    Vector3d minorAxis() const;
    double radiusRatio() const { return radiusRatio_; }
    double majorRadius() const { return majorAxis_.length(); }
    double minorRadius() const { return majorAxis_.length() * radiusRatio_; }
    double startParam() const { return startParam_; }
    double endParam() const { return endParam_; }
    void setParams(double start, double end);
    bool isClosed() const;
    Point3d pointAtParam(double t) const;

    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    ErrorStatus transformBy(const Matrix3d& transform) override;

    static constexpr double kFullTurn = 6.283185307179586476925286766559;

private:
    Point3d center_;
    Vector3d normal_ = Vector3d::zAxis();
    Vector3d majorAxis_ = Vector3d::xAxis();
    double radiusRatio_ = 1.0;
    double startParam_ = 0.0;
    double endParam_ = kFullTurn;
};

}  // namespace vela::db
