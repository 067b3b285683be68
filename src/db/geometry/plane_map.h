#pragma once

#include "db/error_status.h"
#include "db/geometry/matrix.h"
#include "db/geometry/vector.h"

namespace vela::db {

/// Carries 2D data of a planar entity (points in its object coordinate system at an elevation) through a
/// uniform transformation into the object coordinate system of the transformed plane.
///
/// The new normal is the image of the old one. When the transformation reflects the plane, travel within the
/// plane reverses relative to that normal: `reflects()` says so, and callers mirror bulges, arc directions and
/// angles accordingly.
class PlaneMap {
public:
    /// CannotScaleNonUniformly or CannotTransform when `m` is not a uniform, invertible affine map.
    static ErrorStatus make(const Matrix3d& m, const Vector3d& normal, double elevation, PlaneMap& out);

    Point2d point(const Point2d& p) const;
    Point2d vector(const Point2d& v) const;
    /// Image of a direction given as an angle in the old plane, as an angle in the new plane.
    double angle(double a) const;
    double scale() const { return scale_; }
    bool reflects() const { return reflects_; }
    const Vector3d& newNormal() const { return newNormal_; }
    double newElevation() const { return newElevation_; }

private:
    Matrix3d m_;
    Vector3d oldNormal_, newNormal_;
    double oldElevation_ = 0.0, newElevation_ = 0.0;
    double scale_ = 1.0;
    bool reflects_ = false;
};

/// Maps points and angles kept in the object coordinate system of a plane into that of the transformed plane,
/// where the new plane's axes are the images of the old ones: a reflection keeps the in-plane orientation and
/// turns the normal over (unlike PlaneMap), which is how other programs record mirrored texts and dimensions.
class AxesTransform {
public:
    AxesTransform(const Matrix3d& m, const Vector3d& normal);
    Point3d point(const Point3d& ocs) const;
    /// Image of a direction given as an angle in the old plane, as an angle in the new plane.
    double angle(double radians) const;
    /// The length of the image of a length along the old plane's normal, measured along the new normal.
    double thickness(double t) const;
    const Vector3d& newNormal() const { return newNormal_; }

private:
    Matrix3d m_;
    Vector3d oldNormal_, newNormal_;
};

/// The circular arc of a polyline segment from a to b with the given bulge, counter-clockwise from start to end.
struct BulgeArc {
    Point2d center;
    double radius = 0.0;
    double startAngle = 0.0, endAngle = 0.0;
};
BulgeArc bulgeToArc(const Point2d& a, const Point2d& b, double bulge);

}  // namespace vela::db
