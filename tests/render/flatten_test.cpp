#include "render/flatten.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "db/geometry/plane.h"

namespace vela::render {
namespace {

using db::Point2d;

double farthestFrom(const std::vector<Point2d>& pts, Point2d c, double r) {
    double worst = 0;
    for (const Point2d& p : pts) worst = std::max(worst, std::abs(std::hypot(p.x - c.x, p.y - c.y) - r));
    return worst;
}

TEST(Flatten, BulgesBendToTheirSideAndEndOnTheNextVertex) {
    // Bulge 1 is a half circle counter-clockwise from (0,0) to (2,0): below the chord, center (1,0).
    std::vector<Point2d> ccw{{0, 0}};
    appendBulgeSegment(ccw, {0, 0}, {2, 0}, 1.0, 1e-3);
    EXPECT_EQ(ccw.back(), Point2d(2, 0));
    EXPECT_LT(farthestFrom(ccw, {1, 0}, 1), 1e-9);
    for (const Point2d& p : ccw) EXPECT_LE(p.y, 1e-12);
    // Negative: clockwise, above.
    std::vector<Point2d> cw{{0, 0}};
    appendBulgeSegment(cw, {0, 0}, {2, 0}, -1.0, 1e-3);
    for (const Point2d& p : cw) EXPECT_GE(p.y, -1e-12);
    // A bulge over 1 sweeps more than half a turn: tan(3pi/8) is three quarters of a circle,
    // counter-clockwise below the chord, so its center lies below the chord too, at (1, -1).
    const double b = std::tan(1.5 * db::kPi / 4);
    std::vector<Point2d> big{{0, 0}};
    appendBulgeSegment(big, {0, 0}, {2, 0}, b, 1e-4);
    EXPECT_LT(farthestFrom(big, {1, -1}, std::sqrt(2.0)), 1e-9);
    double lowest = 0;
    for (const Point2d& p : big) lowest = std::min(lowest, p.y);
    EXPECT_NEAR(lowest, -1 - std::sqrt(2.0), 1e-3);
    // Chords stay within the tolerance: the midpoint of each chord is near the circle.
    for (std::size_t i = 1; i < big.size(); ++i) {
        const Point2d m{(big[i - 1].x + big[i].x) / 2, (big[i - 1].y + big[i].y) / 2};
        EXPECT_LT(std::sqrt(2.0) - std::hypot(m.x - 1, m.y + 1), 1.01e-4);
    }
}

TEST(Flatten, SplinesPassThroughTheirEnds) {
    db::Spline s;
    ASSERT_EQ(s.setNurbsData(3, {{0, 0}, {1, 2}, {3, 2}, {4, 0}}, {0, 0, 0, 0, 1, 1, 1, 1}),
              db::ErrorStatus::Ok);
    const auto pts = flattenSpline(s, 1e-3);
    ASSERT_GT(pts.size(), 4u);
    EXPECT_TRUE(pts.front().isEqualTo({0, 0}));
    EXPECT_TRUE(pts.back().isEqualTo({4, 0}));
    EXPECT_NEAR(s.evaluate(0.5).y, 1.5, 1e-12);
    double top = 0;
    for (const auto& p : pts) top = std::max(top, p.y);
    EXPECT_NEAR(top, 1.5, 1e-2);
    // Only fit points: a smooth curve through every one of them.
    db::Spline fit;
    const std::vector<db::Point3d> through{{0, 0}, {10, 10}, {20, 0}, {30, 5}, {40, -5}};
    fit.setFitData(through);
    const auto chain = flattenSpline(fit, 1e-3);
    EXPECT_GT(chain.size(), 4 * through.size());
    for (const db::Point3d& q : through) {
        // Distance to the nearest chord of the chain.
        double nearest = 1e9;
        for (std::size_t i = 1; i < chain.size(); ++i) {
            const db::Vector3d d = chain[i] - chain[i - 1];
            const double t = std::clamp((q - chain[i - 1]).dot(d) / std::max(d.dot(d), 1e-300), 0.0, 1.0);
            nearest = std::min(nearest, (chain[i - 1] + d * t).distanceTo(q));
        }
        EXPECT_LT(nearest, 0.01) << q.x;
    }
    // Smooth: no corner at the second fit point, unlike the straight chain through them.
    std::size_t at = 0;
    for (std::size_t i = 0; i < chain.size(); ++i)
        if (chain[i].distanceTo(through[1]) < chain[at].distanceTo(through[1])) at = i;
    ASSERT_GT(at, 0u);
    ASSERT_LT(at + 1, chain.size());
    const db::Vector3d in = (chain[at] - chain[at - 1]).normalized(),
                       out = (chain[at + 1] - chain[at]).normalized();
    EXPECT_GT(in.dot(out), 0.95);
}

}  // namespace
}  // namespace vela::render
