#pragma once

#include <optional>
#include <vector>

#include "db/geometry/vector.h"

namespace vela::host::hatch {

/// A NURBS curve in the plane: its degree, knots (one more than the points and the degree together, never
/// decreasing), control points and weights (none, or one positive weight a point). It is defined from the
/// knot numbered `degree` to the one numbered by the count of points.
class PlanarSpline {
  public:
    /// Nothing when the data do not make a curve (counts that do not agree, decreasing knots, weights that
    /// are not positive, an empty domain).
    static std::optional<PlanarSpline> make(int degree, std::vector<double> knots,
                                            std::vector<db::Point2d> points,
                                            std::vector<double> weights = {});

    int degree() const { return degree_; }
    const std::vector<double>& knots() const { return knots_; }
    const std::vector<db::Point2d>& points() const { return points_; }
    const std::vector<double>& weights() const { return weights_; }
    bool rational() const { return !weights_.empty(); }
    double first() const { return knots_[static_cast<std::size_t>(degree_)]; }
    double last() const { return knots_[points_.size()]; }

    /// The point at `u` (held to the domain) and, when asked, the first and second derivatives there.
    db::Point2d evaluate(double u, db::Point2d* d1 = nullptr, db::Point2d* d2 = nullptr) const;
    /// The distinct knots from `a` to `b`, both ends included: between two of them the curve is one
    /// polynomial (or quotient of polynomials).
    std::vector<double> breaks(double a, double b) const;
    /// The curve from `a` to `b` (first() <= a < b <= last()) as a spline of its own, clamped at both ends:
    /// both parameters inserted as knots until the curve comes apart there, the control points between kept.
    PlanarSpline part(double a, double b) const;
    /// The same curve run the other way (the parameter u becomes first() + last() - u).
    PlanarSpline reversed() const;

  private:
    // Homogeneous control points (x w, y w, w) of a B-spline, with its degree and knots.
    struct Homogeneous {
        double x = 0, y = 0, w = 0;
    };
    struct Form {
        int degree = 0;
        std::vector<double> knots;
        std::vector<Homogeneous> points;
        Homogeneous at(double u) const;
        Form derivative() const;
    };
    PlanarSpline() = default;
    static PlanarSpline fromForm(const Form& form, bool rational);
    Form form() const;

    int degree_ = 1;
    std::vector<double> knots_;
    std::vector<db::Point2d> points_;
    std::vector<double> weights_;
    Form curve_, firstDerivative_, secondDerivative_;
};

}  // namespace vela::host::hatch
