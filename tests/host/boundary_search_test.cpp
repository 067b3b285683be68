// The boundary search around an internal point, on curves as a drawing gives them.
#include "host/hatch/boundary_search.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>

#include "host/hatch/boundary_curves.h"

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

// A circle of radius r as a closed rational quadratic spline (nine points on a square, the corners weighted
// 1 / sqrt 2), the form CAD programs give a circle converted to a spline.
std::shared_ptr<const PlanarSpline> splineCircle(double x, double y, double r) {
    const double w = std::sqrt(0.5);
    std::vector<Point2d> points;
    for (auto [px, py] :
         {std::pair{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}, {1, 0}})
        points.push_back({x + r * px, y + r * py});
    auto s = PlanarSpline::make(2, {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4}, points, {1, w, 1, w, 1, w, 1, w, 1});
    return std::make_shared<const PlanarSpline>(*s);
}

Piece whole(const std::shared_ptr<const PlanarSpline>& s) {
    return Piece::splinePart(s, s->first(), s->last());
}

Piece ellipse(double x, double y, double a, double b, double angle) {
    return Piece::ellipse({x, y}, {a * std::cos(angle), a * std::sin(angle)}, b / a, 0, 2 * kPi);
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

TEST(BoundarySearch, EllipticArcsBoundAreasExactly) {
    // A room whose top is half an ellipse (semi-axes 5 and 2), given three ways: on its own axes, through
    // half axes of which the second turns clockwise (a mirrored ellipse), and through conjugate half axes of
    // a sheared circle.
    const std::vector<Piece> walls = {Piece::line({0, 10}, {0, 0}), Piece::line({0, 0}, {10, 0}),
                                      Piece::line({10, 0}, {10, 10})};
    const std::vector<Piece> tops = {Piece::ellipse({5, 10}, {5, 0}, 0.4, 0, kPi),
                                     *Piece::conic({5, 10}, {5, 0}, {0, -2}, 0, -kPi),
                                     *Piece::conic({5, 10}, {5, 0}, {1, 2}, 0, kPi)};
    for (const Piece& top : tops) {
        const auto region = FindRegion(walls + std::vector<Piece>{top}, {5, 5});
        ASSERT_TRUE(region);
        EXPECT_NEAR(region->outer.area, 100 + kPi * 5 * 2 / 2, 1e-9);
        EXPECT_TRUE(closed(region->outer));
        EXPECT_TRUE(std::any_of(region->outer.pieces.begin(), region->outer.pieces.end(), [](const Piece& p) {
            return p.kind == Piece::Kind::Ellipse && p.ratio <= 1;
        }));
    }
    EXPECT_FALSE(Piece::conic({0, 0}, {1, 1}, {2, 2}, 0, kPi)) << "an ellipse seen edge on is no curve";
    EXPECT_EQ(Piece::conic({0, 0}, {0, 2}, {2, 0}, 0, kPi)->kind, Piece::Kind::Arc) << "a mirrored circle";

    // A tilted ellipse (semi-axes 4 and 2) centred on a square's side: every chord through the centre halves
    // it, so each face holds half of its area.
    const auto across = square(0, 0, 10) + std::vector<Piece>{ellipse(10, 5, 4, 2, kPi / 6)};
    for (auto [x, y, area] :
         {std::tuple{2.0, 5.0, 100 - 4 * kPi}, {9.5, 5.0, 4 * kPi}, {10.5, 5.0, 4 * kPi}}) {
        const auto region = FindRegion(across, {x, y});
        ASSERT_TRUE(region) << x;
        EXPECT_NEAR(region->outer.area, area, 1e-9) << x;
        EXPECT_TRUE(closed(region->outer)) << x;
    }

    // Two ellipses crossed at right angles (semi-axes 2 and 1), met numerically: their common part is
    // 4 a b atan(b / a), each ellipse's two lobes the rest of it.
    const std::vector<Piece> crossed = {ellipse(0, 0, 2, 1, 0), ellipse(0, 0, 2, 1, kPi / 2)};
    auto region = FindRegion(crossed, {0, 0});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 8 * std::atan(0.5), 1e-9);
    EXPECT_EQ(region->outer.pieces.size(), 4u);
    region = FindRegion(crossed, {1.8, 0});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, (2 * kPi - 8 * std::atan(0.5)) / 2, 1e-9);

    // A whole tilted ellipse inside a square is an island; inside it, it is the area.
    const auto withIsland = square(0, 0, 10) + std::vector<Piece>{ellipse(5, 5, 3, 1, kPi / 4)};
    region = FindRegion(withIsland, {1, 1});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100, 1e-9);
    ASSERT_EQ(region->islands.size(), 1u);
    EXPECT_NEAR(std::fabs(region->islands[0].area), 3 * kPi, 1e-9);
    EXPECT_TRUE(closed(region->islands[0]));
    region = FindRegion(withIsland, {5.5, 5.5});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 3 * kPi, 1e-9);
    EXPECT_TRUE(region->islands.empty());
}

TEST(BoundarySearch, SplinesBoundAreasAndMeetOtherCurves) {
    // A closed rational spline alone: the circle it is.
    const auto circle2 = splineCircle(1, 1, 2);
    auto region = FindRegion({whole(circle2)}, {1.5, 1});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 4 * kPi, 1e-9);
    EXPECT_TRUE(closed(region->outer));
    EXPECT_FALSE(FindRegion({whole(circle2)}, {3.5, 3.5}));

    // Cut by a line through its centre, the spline leaves two halves, each of its own part of the spline.
    const std::vector<Piece> halved = {whole(circle2), Piece::line({-2, -2}, {4, 4})};
    region = FindRegion(halved, {2, 0});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 2 * kPi, 1e-9);
    EXPECT_TRUE(closed(region->outer));
    // Its hatch edge is just that part: a spline of its own from one end of the piece to the other, still on
    // the circle.
    for (const Piece& p : region->outer.pieces) {
        if (p.kind != Piece::Kind::Spline) continue;
        const db::HatchEdge edge = HatchEdgeOf(p);
        const auto own = PlanarSpline::make(edge.degree, edge.knots, edge.controlPoints, edge.weights);
        ASSERT_TRUE(own);
        for (auto [u, expected] : {std::pair{own->first(), p.start}, {own->last(), p.end}}) {
            const Point2d q = own->evaluate(u);
            EXPECT_NEAR(q.x, expected.x, 1e-12);
            EXPECT_NEAR(q.y, expected.y, 1e-12);
        }
        for (int i = 1; i < 8; ++i) {
            const Point2d q = own->evaluate(own->first() + (own->last() - own->first()) * i / 8);
            EXPECT_NEAR(std::hypot(q.x - 1, q.y - 1), 2, 1e-12);
        }
    }

    // Met numerically by a circle (the lens of two unit circles a radius apart) and by an ellipse (a unit
    // circle and an ellipse of semi-axes 2 and 1/2 about one centre share 4 atan(1/2)).
    const auto unit = splineCircle(0, 0, 1);
    region = FindRegion({whole(unit), Piece::arc({1, 0}, 1, 0, 2 * kPi)}, {0.5, 0});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 2 * kPi / 3 - std::sqrt(3.0) / 2, 1e-9);
    region = FindRegion({whole(unit), ellipse(0, 0, 2, 0.5, 0)}, {0, 0});
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 4 * std::atan(0.5), 1e-9);
    EXPECT_TRUE(closed(region->outer));
    EXPECT_EQ(std::count_if(region->outer.pieces.begin(), region->outer.pieces.end(),
                            [](const Piece& p) { return p.kind == Piece::Kind::Ellipse; }),
              2)
        << "the ellipse's two arcs between the crossings";
}

TEST(BoundarySearch, SplinePartsAndReversalsKeepTheCurve) {
    // A rational cubic with uneven inner knots, and an unclamped one whose domain starts past its first
    // knots.
    const auto clamped =
        PlanarSpline::make(3, {0, 0, 0, 0, 0.3, 0.5, 1, 1, 1, 1},
                           {{0, 0}, {1, 3}, {3, -1}, {4, 2}, {6, 5}, {7, 0}}, {1, 2, 0.5, 1, 3, 1});
    const auto unclamped =
        PlanarSpline::make(3, {0, 1, 2, 3, 4, 5, 6, 7, 8}, {{0, 0}, {2, 4}, {5, -1}, {7, 3}, {9, 0}});
    ASSERT_TRUE(clamped && unclamped);
    EXPECT_FALSE(PlanarSpline::make(3, {0, 0, 0, 1, 1, 1}, {{0, 0}, {1, 1}, {2, 0}})) << "knots do not fit";
    EXPECT_FALSE(PlanarSpline::make(2, {0, 0, 0, 1, 1, 1}, {{0, 0}, {1, 1}, {2, 0}}, {1, -1, 1}));
    for (const PlanarSpline* s : {&*clamped, &*unclamped}) {
        const double a = s->first() + 0.23 * (s->last() - s->first());
        const double b = s->first() + 0.81 * (s->last() - s->first());
        const PlanarSpline part = s->part(a, b), backwards = s->reversed();
        EXPECT_DOUBLE_EQ(part.first(), a);
        EXPECT_DOUBLE_EQ(part.last(), b);
        EXPECT_EQ(part.knots().front(), part.knots()[static_cast<std::size_t>(part.degree())]) << "clamped";
        for (int i = 0; i <= 10; ++i) {
            const double u = a + (b - a) * i / 10;
            const Point2d on = s->evaluate(u), inPart = part.evaluate(u);
            const Point2d back = backwards.evaluate(s->first() + s->last() - u);
            EXPECT_NEAR(inPart.x, on.x, 1e-12);
            EXPECT_NEAR(inPart.y, on.y, 1e-12);
            EXPECT_NEAR(back.x, on.x, 1e-12);
            EXPECT_NEAR(back.y, on.y, 1e-12);
            // Derivatives against central differences.
            Point2d d1, d2, l1, r1;
            s->evaluate(u, &d1, &d2);
            const double h = 1e-5;
            const Point2d left = s->evaluate(u - h, &l1), right = s->evaluate(u + h, &r1);
            if (u - h < s->first() || u + h > s->last()) continue;
            EXPECT_NEAR(d1.x, (right.x - left.x) / (2 * h), 1e-5 * (1 + std::fabs(d1.x)));
            EXPECT_NEAR(d1.y, (right.y - left.y) / (2 * h), 1e-5 * (1 + std::fabs(d1.y)));
            EXPECT_NEAR(d2.x, (r1.x - l1.x) / (2 * h), 1e-4 * (1 + std::fabs(d2.x)));
            EXPECT_NEAR(d2.y, (r1.y - l1.y) / (2 * h), 1e-4 * (1 + std::fabs(d2.y)));
        }
    }
}

}  // namespace
}  // namespace vela::host::hatch
