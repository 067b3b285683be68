// The boundary search around an internal point, on curves as a drawing gives them.
#include "host/hatch/boundary_search.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace vela::host::hatch {
namespace {

using db::Point2d;
constexpr double kPi = std::numbers::pi;

std::vector<Piece> square(double x, double y, double size, double overhang = 0) {
    const double a = x - overhang, b = x + size + overhang, c = y - overhang, d = y + size + overhang;
    return {Piece::line({a, y}, {b, y}), Piece::line({x + size, c}, {x + size, d}),
            Piece::line({b, y + size}, {a, y + size}), Piece::line({x, d}, {x, c})};
}

std::vector<Piece> operator+(std::vector<Piece> a, const std::vector<Piece>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Piece circle(double x, double y, double r) {
    return Piece::arc({x, y}, r, 0, 2 * kPi);
}

// A loop is closed when each piece starts where the one before it ends.
::testing::AssertionResult closed(const Loop& loop) {
    for (std::size_t i = 0; i < loop.pieces.size(); ++i) {
        const Piece& a = loop.pieces[i];
        const Piece& b = loop.pieces[(i + 1) % loop.pieces.size()];
        if (std::hypot(a.end.x - b.start.x, a.end.y - b.start.y) > 1e-9)
            return ::testing::AssertionFailure() << "piece " << i << " ends away from the next one";
    }
    return ::testing::AssertionSuccess();
}

TEST(BoundarySearch, ClosedShapesOfLinesArcsAndCircles) {
    auto region = FindRegion(square(0, 0, 10), {5, 5});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100, 1e-9);
    EXPECT_EQ(region->outer.pieces.size(), 4u);
    EXPECT_TRUE(closed(region->outer));
    EXPECT_TRUE(region->islands.empty());

    region = FindRegion({circle(3, 4, 2)}, {3.5, 4});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, kPi * 4, 1e-9);
    for (const Piece& p : region->outer.pieces) {
        EXPECT_EQ(p.kind, Piece::Kind::Arc) << "arcs stay arcs, not chords";
        EXPECT_NEAR(p.radius, 2, 1e-12);
    }

    // A "D": a line and a half circle, as a polyline with a bulge gives them.
    region = FindRegion({Piece::line({0, -1}, {0, 1}), Piece::arc({0, 0}, 1, kPi / 2, kPi)}, {-0.5, 0});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, kPi / 2, 1e-9);
    EXPECT_TRUE(closed(region->outer));
    EXPECT_FALSE(FindRegion({Piece::line({0, -1}, {0, 1}), Piece::arc({0, 0}, 1, kPi / 2, kPi)}, {0.5, 0}));

    EXPECT_FALSE(FindRegion(square(0, 0, 10), {15, 5})) << "outside everything";
    EXPECT_FALSE(FindRegion({}, {0, 0}));
}

TEST(BoundarySearch, CrossingAndTouchingCurvesAreCutWhereTheyMeet) {
    // A "#" of four long lines bounds the square in its middle.
    auto region = FindRegion(square(0, 0, 10, 5), {5, 5});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100, 1e-9);
    EXPECT_TRUE(closed(region->outer));
    EXPECT_FALSE(FindRegion(square(0, 0, 10, 5), {12, 5})) << "the arms of the # bound nothing";

    // Two squares sharing a side: the smaller area around the point, the side cut where the other ends.
    region = FindRegion(square(0, 0, 10) + square(10, 0, 5), {12, 2});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 25, 1e-9);
    region = FindRegion(square(0, 0, 10) + square(10, 0, 5), {5, 5});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100, 1e-9);

    // A circle across a square's side: the part of the square outside it.
    region = FindRegion(square(0, 0, 10) + std::vector<Piece>{circle(10, 5, 2)}, {2, 5});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100 - kPi * 4 / 2, 1e-9);
    EXPECT_TRUE(closed(region->outer));
    // A line touching a circle does not cut it into nothing.
    region = FindRegion({circle(0, 0, 1), Piece::line({-2, 1}, {2, 1})}, {0, 0});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, kPi, 1e-9);
}

TEST(BoundarySearch, IslandsAndIslandsWithinIslands) {
    const auto shapes = square(0, 0, 10) + std::vector<Piece>{circle(5, 5, 3)} + square(4, 4, 2);
    auto region = FindRegion(shapes, {1, 1});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100, 1e-9);
    ASSERT_EQ(region->islands.size(), 2u) << "the circle and the square within it";
    double islands = 0;
    for (const Loop& l : region->islands) {
        islands += std::fabs(l.area);
        EXPECT_TRUE(closed(l));
    }
    EXPECT_NEAR(islands, kPi * 9 + 4, 1e-9);

    region = FindRegion(shapes, {5, 7.5});  // between the circle and the small square
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, kPi * 9, 1e-9);
    ASSERT_EQ(region->islands.size(), 1u);
    EXPECT_NEAR(std::fabs(region->islands[0].area), 4, 1e-9);

    region = FindRegion(shapes, {5, 5});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 4, 1e-9);
    EXPECT_TRUE(region->islands.empty());
}

TEST(BoundarySearch, GapsCloseWithinTheTolerance) {
    // A square whose last side stops 0.5 short of the first corner.
    std::vector<Piece> open = square(0, 0, 10);
    open[3] = Piece::line({0, 10}, {0, 0.5});
    EXPECT_FALSE(FindRegion(open, {5, 5}));
    EXPECT_FALSE(FindRegion(open, {5, 5}, 0.4)) << "a gap beyond the tolerance stays open";
    const auto region = FindRegion(open, {5, 5}, 0.6);
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100, 1e-9);
    EXPECT_TRUE(closed(region->outer));
}

}  // namespace
}  // namespace vela::host::hatch
