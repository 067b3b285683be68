#include "host/hatch/planar_spline.h"

#include <algorithm>
#include <cmath>

namespace vela::host::hatch {

std::optional<PlanarSpline> PlanarSpline::make(int degree, std::vector<double> knots,
                                               std::vector<db::Point2d> points, std::vector<double> weights) {
    if (degree < 1 || points.size() < static_cast<std::size_t>(degree) + 1) return std::nullopt;
    if (knots.size() != points.size() + static_cast<std::size_t>(degree) + 1) return std::nullopt;
    if (!weights.empty() && weights.size() != points.size()) return std::nullopt;
    for (std::size_t i = 0; i < knots.size(); ++i)
        if (!std::isfinite(knots[i]) || (i > 0 && knots[i] < knots[i - 1])) return std::nullopt;
    for (double w : weights)
        if (!(w > 0) || !std::isfinite(w)) return std::nullopt;
    for (const db::Point2d& p : points)
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) return std::nullopt;
    PlanarSpline s;
    s.degree_ = degree, s.knots_ = std::move(knots), s.points_ = std::move(points),
    s.weights_ = std::move(weights);
    if (!(s.last() > s.first())) return std::nullopt;
    s.curve_ = s.form();
    s.firstDerivative_ = s.curve_.derivative();
    s.secondDerivative_ = s.firstDerivative_.derivative();
    return s;
}

PlanarSpline::Form PlanarSpline::form() const {
    Form f;
    f.degree = degree_, f.knots = knots_;
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const double w = weights_.empty() ? 1.0 : weights_[i];
        f.points.push_back({points_[i].x * w, points_[i].y * w, w});
    }
    return f;
}

PlanarSpline PlanarSpline::fromForm(const Form& f, bool rational) {
    std::vector<db::Point2d> points;
    std::vector<double> weights;
    for (const Homogeneous& h : f.points) {
        points.push_back({h.x / h.w, h.y / h.w});
        if (rational) weights.push_back(h.w);
    }
    // Knot insertion and reversal keep a valid curve valid.
    return *make(f.degree, f.knots, std::move(points), std::move(weights));
}

// De Boor's algorithm on the homogeneous points.
PlanarSpline::Homogeneous PlanarSpline::Form::at(double u) const {
    const std::size_t n = points.size();
    if (n == 0) return {};
    const std::size_t p = static_cast<std::size_t>(degree);
    u = std::clamp(u, knots[p], knots[n]);
    std::size_t k = p;
    while (k + 1 < n && knots[k + 1] <= u) ++k;
    std::vector<Homogeneous> d(points.begin() + static_cast<std::ptrdiff_t>(k - p),
                               points.begin() + static_cast<std::ptrdiff_t>(k + 1));
    for (std::size_t r = 1; r <= p; ++r)
        for (std::size_t j = p; j >= r; --j) {
            const std::size_t i = k - p + j;
            const double span = knots[i + p + 1 - r] - knots[i];
            const double a = span == 0 ? 0 : (u - knots[i]) / span;
            d[j] = {(1 - a) * d[j - 1].x + a * d[j].x, (1 - a) * d[j - 1].y + a * d[j].y,
                    (1 - a) * d[j - 1].w + a * d[j].w};
        }
    return d[p];
}

// The derivative of a B-spline is a B-spline of one degree less on the inner knots; that of a piecewise
// constant one is nought.
PlanarSpline::Form PlanarSpline::Form::derivative() const {
    Form f;
    if (degree == 0) {
        f = *this;
        for (Homogeneous& h : f.points) h = {};
        return f;
    }
    f.degree = degree - 1;
    f.knots.assign(knots.begin() + 1, knots.end() - 1);
    const std::size_t p = static_cast<std::size_t>(degree);
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const double span = knots[i + p + 1] - knots[i + 1];
        const double c = span == 0 ? 0 : degree / span;
        f.points.push_back({c * (points[i + 1].x - points[i].x), c * (points[i + 1].y - points[i].y),
                            c * (points[i + 1].w - points[i].w)});
    }
    return f;
}

db::Point2d PlanarSpline::evaluate(double u, db::Point2d* d1, db::Point2d* d2) const {
    const Homogeneous a = curve_.at(u);
    const db::Point2d c{a.x / a.w, a.y / a.w};
    if (!d1 && !d2) return c;
    // The quotient rule on (x w, y w) / w.
    const Homogeneous a1 = firstDerivative_.at(u);
    const db::Point2d c1{(a1.x - a1.w * c.x) / a.w, (a1.y - a1.w * c.y) / a.w};
    if (d1) *d1 = c1;
    if (d2) {
        const Homogeneous a2 = secondDerivative_.at(u);
        *d2 = {(a2.x - 2 * a1.w * c1.x - a2.w * c.x) / a.w, (a2.y - 2 * a1.w * c1.y - a2.w * c.y) / a.w};
    }
    return c;
}

std::vector<double> PlanarSpline::breaks(double a, double b) const {
    std::vector<double> out{a};
    for (double k : knots_)
        if (k > out.back() && k < b) out.push_back(k);
    out.push_back(b);
    return out;
}

PlanarSpline PlanarSpline::part(double a, double b) const {
    Form f = curve_;
    const std::size_t p = static_cast<std::size_t>(degree_);
    // Boehm's insertion of `u` until it is a knot p + 1 times, where the curve comes apart.
    auto split = [&](double u) {
        for (;;) {
            std::size_t k = 0, s = 0;
            for (std::size_t i = 0; i < f.knots.size(); ++i) {
                if (f.knots[i] <= u) k = i;
                if (f.knots[i] == u) ++s;
            }
            if (s >= p + 1 || k + 1 >= f.knots.size()) return;
            std::vector<Homogeneous> q(f.points.size() + 1);
            for (std::size_t i = 0; i < q.size(); ++i) {
                if (i + p <= k) {
                    q[i] = f.points[i];
                } else if (i + s <= k) {
                    const double alpha = (u - f.knots[i]) / (f.knots[i + p] - f.knots[i]);
                    const Homogeneous &x = f.points[i], &y = f.points[i - 1];
                    q[i] = {alpha * x.x + (1 - alpha) * y.x, alpha * x.y + (1 - alpha) * y.y,
                            alpha * x.w + (1 - alpha) * y.w};
                } else {
                    q[i] = f.points[i - 1];
                }
            }
            f.points = std::move(q);
            f.knots.insert(f.knots.begin() + static_cast<std::ptrdiff_t>(k + 1), u);
        }
    };
    a = std::clamp(a, first(), last()), b = std::clamp(b, first(), last());
    split(a), split(b);
    const std::size_t ia =
        static_cast<std::size_t>(std::find(f.knots.begin(), f.knots.end(), a) - f.knots.begin());
    const std::size_t ib =
        static_cast<std::size_t>(std::find(f.knots.begin(), f.knots.end(), b) - f.knots.begin());
    Form out;
    out.degree = degree_;
    out.knots.assign(f.knots.begin() + static_cast<std::ptrdiff_t>(ia),
                     f.knots.begin() + static_cast<std::ptrdiff_t>(ib + p + 1));
    out.points.assign(f.points.begin() + static_cast<std::ptrdiff_t>(ia),
                      f.points.begin() + static_cast<std::ptrdiff_t>(ib));
    return fromForm(out, rational());
}

PlanarSpline PlanarSpline::reversed() const {
    Form f = curve_;
    const double sum = first() + last();
    std::reverse(f.points.begin(), f.points.end());
    std::reverse(f.knots.begin(), f.knots.end());
    for (double& k : f.knots) k = sum - k;
    return fromForm(f, rational());
}

}  // namespace vela::host::hatch
