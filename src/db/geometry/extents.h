#pragma once

#include <algorithm>
#include <limits>

#include "db/geometry/vector.h"

namespace vela::db {

/// An axis-aligned box; starts empty (min above max) and grows to include points.
class Extents3d {
public:
    constexpr Extents3d() = default;
    constexpr Extents3d(const Point3d& a, const Point3d& b) { addPoint(a), addPoint(b); }

    constexpr bool isValid() const { return min_.x <= max_.x && min_.y <= max_.y && min_.z <= max_.z; }
    constexpr const Point3d& minPoint() const { return min_; }
    constexpr const Point3d& maxPoint() const { return max_; }
    constexpr Point3d center() const {
        return {(min_.x + max_.x) / 2, (min_.y + max_.y) / 2, (min_.z + max_.z) / 2};
    }

    constexpr Extents3d& addPoint(const Point3d& p) {
        min_ = {std::min(min_.x, p.x), std::min(min_.y, p.y), std::min(min_.z, p.z)};
        max_ = {std::max(max_.x, p.x), std::max(max_.y, p.y), std::max(max_.z, p.z)};
        return *this;
    }
    constexpr Extents3d& addExtents(const Extents3d& e) {
        if (e.isValid()) addPoint(e.min_), addPoint(e.max_);
        return *this;
    }
    constexpr bool contains(const Point3d& p, double tol = 0.0) const {
        return p.x >= min_.x - tol && p.x <= max_.x + tol && p.y >= min_.y - tol && p.y <= max_.y + tol &&
               p.z >= min_.z - tol && p.z <= max_.z + tol;
    }
    bool isEqualTo(const Extents3d& o, double tol = 1e-9) const {
        return min_.isEqualTo(o.min_, tol) && max_.isEqualTo(o.max_, tol);
    }

private:
    static constexpr double kInf = std::numeric_limits<double>::infinity();
    Point3d min_{kInf, kInf, kInf};
    Point3d max_{-kInf, -kInf, -kInf};
};

}  // namespace vela::db
