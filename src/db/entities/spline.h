#pragma once

#include <vector>

#include "db/entities/curve.h"

namespace vela::db {

/// A NURBS curve, given by control points (with knots and optional weights) and/or fit points.
class Spline : public Curve {
    VELA_DB_DECLARE_CLASS(Spline)
public:
    Spline() = default;

    /// Sets the control-point form. InvalidInput unless knots = points + degree + 1, weights are empty or one per
    /// point and positive, knots never decrease, and degree is 1 or more.
    ErrorStatus setNurbsData(int degree, std::vector<Point3d> controlPoints, std::vector<double> knots,
                             std::vector<double> weights = {}, bool periodic = false);
    /// Sets the fit-point form; the curve's control points are kept as they were (files carry both).
    void setFitData(std::vector<Point3d> fitPoints, const Vector3d& startTangent = {},
                    const Vector3d& endTangent = {}, double fitTolerance = 0.0);

    int degree() const { return degree_; }
    const std::vector<Point3d>& controlPoints() const { return controlPoints_; }
    const std::vector<double>& knots() const { return knots_; }
    const std::vector<double>& weights() const { return weights_; }
    const std::vector<Point3d>& fitPoints() const { return fitPoints_; }
    const Vector3d& startTangent() const { return startTangent_; }
    const Vector3d& endTangent() const { return endTangent_; }
    bool isRational() const { return !weights_.empty(); }
    bool isClosed() const { return (flags_ & 1) != 0; }
    bool isPeriodic() const { return (flags_ & 2) != 0; }
    /// The DXF flag word (1 closed, 2 periodic, 4 rational, 8 planar, 16 linear).
    std::int16_t flags() const { return flags_; }
    void setFlags(std::int16_t f) { assertWriteEnabled(), flags_ = f; }
    double knotTolerance() const { return knotTolerance_; }
    double controlPointTolerance() const { return controlPointTolerance_; }
    double fitTolerance() const { return fitTolerance_; }
    void setTolerances(double knot, double controlPoint, double fit);
    const Vector3d& normal() const { return normal_; }
    void setNormal(const Vector3d& n) { assertWriteEnabled(), normal_ = n; }

    /// Point on the curve at parameter t (clamped to the knot range); the fit points' polyline when the spline
    /// has no control points.
    Point3d evaluate(double t) const;

    /// The box of the curve itself (not of its control polygon), found by sampling each knot span densely and
    /// refining every extreme to full precision.
    ErrorStatus getGeomExtents(Extents3d& extents) const override;
    /// Any affine transformation: control points, fit points and tangents map exactly.
    ErrorStatus transformBy(const Matrix3d& transform) override;

private:
    friend class Helix;  // a helix is written as its spline's groups, then its own
    std::vector<Point3d> controlPoints_;
    std::vector<double> knots_;
    std::vector<double> weights_;
    std::vector<Point3d> fitPoints_;
    Vector3d startTangent_, endTangent_;
    Vector3d normal_;
    double knotTolerance_ = 1e-10;
    double controlPointTolerance_ = 1e-10;
    double fitTolerance_ = 1e-10;
    int degree_ = 3;
    std::int16_t flags_ = 8;
};

}  // namespace vela::db
