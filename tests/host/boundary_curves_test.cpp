// The boundary search on a drawing: which entities count, how they lie, and looking only near the point.
#include "host/hatch/boundary_curves.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <sstream>

#include "../commands/fixture.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/entities/ellipse.h"
#include "db/entities/hatch.h"
#include "db/entities/polyline.h"
#include "db/entities/spline.h"
#include "db/spatial_index.h"

namespace vela::host::hatch {
namespace {

constexpr double kPi = std::numbers::pi;

class BoundaryCurves : public commands::testing::DrawingTest {
  protected:
    db::SpatialIndex index{db};
    db::ObjectId room(double x, double y, double size, db::ObjectId layer = {}, db::ObjectId space = {}) {
        db::ObjectId last;
        const db::Point3d p[] = {{x, y}, {x + size, y}, {x + size, y + size}, {x, y + size}};
        for (int i = 0; i < 4; ++i)
            last = add(std::make_unique<db::Line>(p[i], p[(i + 1) % 4]), layer, space);
        return last;
    }
    std::optional<Region> around(double x, double y, double gap = 0,
                                 std::vector<db::ObjectId>* sources = nullptr) {
        return FindRegionAround(index, db.modelSpaceId(), {x, y}, gap, sources);
    }
    // Fills the region around (x, y) with a solid hatch and has ezdxf read the drawing: the audit is clean,
    // the hatch's boundary paths, flattened, enclose `area` (outer less islands), the point lies inside the
    // outer path and outside the islands, and `more` holds (Python, seeing `polys` and `expected`). ezdxf's
    // paths draw arcs and ellipses as cubic Bezier curves, a few parts in ten thousand off in area.
    ::testing::AssertionResult hatchedAsEzdxfSees(const char* name, double x, double y, double area,
                                                  const std::string& more = "") {
        std::vector<db::ObjectId> sources;
        const auto region = around(x, y, 0, &sources);
        if (!region) return ::testing::AssertionFailure() << "no area around the point";
        auto hatch = std::make_unique<db::Hatch>();
        hatch->setPattern(db::Hatch::PatternType::Predefined, "SOLID");
        for (const db::HatchLoop& loop : HatchLoops(*region, sources))
            if (hatch->appendLoop(loop) != db::ErrorStatus::Ok)
                return ::testing::AssertionFailure() << "a loop the hatch refuses";
        const db::ObjectId id = add(std::move(hatch));
        std::ostringstream checks;
        checks.precision(17);
        checks << "from ezdxf.path import from_hatch_boundary_path\n"
                  "from ezdxf.math import area, is_point_in_polygon_2d, Vec2\n"
                  "h = doc.entitydb['"
               << id.handle().toText()
               << "']\n"
                  "polys = [[Vec2(p) for p in from_hatch_boundary_path(b).flattening(0.00001)] for b in "
                  "h.paths]\n"
                  "got = abs(area(polys[0])) - sum(abs(area(p)) for p in polys[1:])\n"
                  "expected = "
               << area
               << "\n"
                  "assert abs(got - expected) < 1e-3 * max(1, expected), (got, expected)\n"
                  "seed = Vec2("
               << x << ", " << y
               << ")\n"
                  "assert is_point_in_polygon_2d(seed, polys[0]) > 0, 'outside the outer path'\n"
                  "assert all(is_point_in_polygon_2d(seed, p) < 0 for p in polys[1:]), 'inside an island'\n"
               << more;
        if (!ezdxfAccepts(name, checks.str())) return ::testing::AssertionFailure() << "ezdxf disagrees";
        return ::testing::AssertionSuccess();
    }
};

bool hasKind(const Loop& loop, Piece::Kind kind) {
    return std::any_of(loop.pieces.begin(), loop.pieces.end(),
                       [&](const Piece& p) { return p.kind == kind; });
}

TEST_F(BoundaryCurves, RoomsOfLinesPolylinesWithBulgesAndCirclesAsIslands) {
    room(0, 0, 10);
    const db::ObjectId c = circle();  // radius 1 at the origin: a corner of the room
    auto region = around(5, 5);
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100 - kPi / 4, 1e-9) << "the circle cuts the corner off";

    // A closed polyline with a half-circle end (bulge 1) and a hole made by a circle.
    auto pl = std::make_unique<db::Polyline>();
    pl->addVertexAt(0, {20, 0});
    pl->addVertexAt(1, {30, 0}, 1.0);
    pl->addVertexAt(2, {30, 10});
    pl->addVertexAt(3, {20, 10});
    pl->setClosed(true);
    std::vector<db::ObjectId> sources;
    const db::ObjectId polyline = add(std::move(pl));
    const db::ObjectId hole = add(std::make_unique<db::Circle>(db::Point3d(25, 5), 2));
    region = around(21, 1, 0, &sources);
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100 + kPi * 25 / 2, 1e-9);
    ASSERT_EQ(region->islands.size(), 1u);
    EXPECT_NEAR(std::fabs(region->islands[0].area), kPi * 4, 1e-9);
    const std::vector<db::HatchLoop> loops = HatchLoops(*region, sources);
    ASSERT_EQ(loops.size(), 2u);
    EXPECT_EQ(loops[0].sourceObjects, std::vector<db::ObjectId>{polyline});
    EXPECT_EQ(loops[1].sourceObjects, std::vector<db::ObjectId>{hole});
    // A hatch of those loops is one ezdxf reads cleanly, with the area of the room less the hole.
    auto hatch = std::make_unique<db::Hatch>();
    hatch->setPattern(db::Hatch::PatternType::Predefined, "SOLID");
    for (const db::HatchLoop& loop : loops) ASSERT_EQ(hatch->appendLoop(loop), db::ErrorStatus::Ok);
    add(std::move(hatch));
    EXPECT_TRUE(ezdxfAccepts("boundary_hatch",
                             "from ezdxf.path import from_hatch_boundary_path\n"
                             "h = msp.query('HATCH')[0]\n"
                             "assert len(h.paths) == 2, len(h.paths)\n"
                             "from ezdxf.math import area\n"
                             "pts = [list(from_hatch_boundary_path(p).flattening(0.0001)) for p in h.paths]\n"
                             "a = abs(area(pts[0])) - abs(area(pts[1]))\n"
                             "assert abs(a - (100 + 3.14159265 * 12.5 - 3.14159265 * 4)) < 0.01, a"));
    (void)c;
}

TEST_F(BoundaryCurves, HiddenLayersAndBlocksAndNothingAround) {
    const db::ObjectId frozen = addLayer("Frozen");
    db::openObject<db::LayerTableRecord>(frozen, db::OpenMode::ForWrite)->setIsFrozen(true);
    room(0, 0, 10, frozen);
    EXPECT_FALSE(around(5, 5)) << "a frozen layer bounds nothing";

    // A room drawn in a block, referenced turned and twice as large.
    auto block = std::make_unique<db::BlockTableRecord>("Room");
    db::ObjectId blockId;
    db.addRecord(db.blockTableId(), std::move(block), &blockId);
    room(0, 0, 5, {}, blockId);
    auto ref = std::make_unique<db::BlockReference>(db::Point3d(100, 100), blockId);
    ref->setScaleFactors({2, 2, 2});
    ref->setRotation(kPi / 2);
    add(std::move(ref));
    const auto region = around(95, 105);
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100, 1e-9);
    EXPECT_FALSE(around(105, 105)) << "the turned room lies left of its insertion point";
}

TEST_F(BoundaryCurves, ASmallRoomInALargePlanIsFoundFromTheEntitiesNearIt) {
    // A grid of 30 by 30 rooms: the search looks at a few of them, and still finds the one room.
    for (int i = 0; i < 30; ++i)
        for (int j = 0; j < 30; ++j) room(i * 10, j * 10, 10);
    const auto region = around(155, 155);
    ASSERT_TRUE(region);
    EXPECT_NEAR(region->outer.area, 100, 1e-9);
    // A point in the rooms' outside finds nothing, having looked at the whole plan.
    EXPECT_FALSE(around(-5, 155));
    // Gaps: a room whose wall stops short closes within the tolerance.
    add(std::make_unique<db::Line>(db::Point3d(400, 0), db::Point3d(410, 0)));
    add(std::make_unique<db::Line>(db::Point3d(410, 0), db::Point3d(410, 10)));
    add(std::make_unique<db::Line>(db::Point3d(410, 10), db::Point3d(400, 10)));
    add(std::make_unique<db::Line>(db::Point3d(400, 10), db::Point3d(400, 0.5)));
    EXPECT_FALSE(around(405, 5));
    EXPECT_TRUE(around(405, 5, 1.0));
}

TEST_F(BoundaryCurves, EllipsesAndCirclesScaledUnevenlyMakeEdgeLoopsEzdxfReads) {
    // A room whose top is half of an ellipse entity (semi-axes 5 and 2), with a round hole.
    add(std::make_unique<db::Line>(db::Point3d(0, 10), db::Point3d(0, 0)));
    add(std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(10, 0)));
    add(std::make_unique<db::Line>(db::Point3d(10, 0), db::Point3d(10, 10)));
    auto top = std::make_unique<db::Ellipse>();
    ASSERT_EQ(top->set({5, 10}, db::Vector3d::zAxis(), {5, 0, 0}, 0.4, 0, kPi), db::ErrorStatus::Ok);
    add(std::move(top));
    add(std::make_unique<db::Circle>(db::Point3d(5, 5), 1));
    std::vector<db::ObjectId> sources;
    const auto topped = around(2, 2, 0, &sources);
    ASSERT_TRUE(topped);
    EXPECT_NEAR(topped->outer.area, 100 + kPi * 5 * 2 / 2, 1e-9);
    EXPECT_TRUE(hasKind(topped->outer, Piece::Kind::Ellipse));
    const std::vector<db::HatchLoop> loops = HatchLoops(*topped, sources);
    ASSERT_EQ(loops.size(), 2u);
    EXPECT_FALSE(loops[0].isPolyline()) << "an elliptic arc needs an edge loop";
    EXPECT_EQ(loops[0].flags & db::HatchLoop::kExternal, db::HatchLoop::kExternal);
    EXPECT_EQ(loops[0].edges.size(), topped->outer.pieces.size());
    EXPECT_EQ(loops[0].sourceObjects.size(), 4u);
    EXPECT_TRUE(loops[1].isPolyline()) << "a circle stays a polyline loop";
    EXPECT_TRUE(hatchedAsEzdxfSees("ellipse_room", 2, 2, 100 + kPi * 5 - kPi));

    // A unit circle in a block, referenced three times as wide as high and turned: an ellipse of area 3 pi;
    // mirrored as well, the same ellipse.
    auto block = std::make_unique<db::BlockTableRecord>("Round");
    db::ObjectId blockId;
    db.addRecord(db.blockTableId(), std::move(block), &blockId);
    add(std::make_unique<db::Circle>(db::Point3d(0, 0), 1), {}, blockId);
    for (double sx : {3.0, -3.0}) {
        const double x = sx > 0 ? 50 : 80;
        auto ref = std::make_unique<db::BlockReference>(db::Point3d(x, 50), blockId);
        ref->setScaleFactors({sx, 1, 1});
        ref->setRotation(kPi / 6);
        add(std::move(ref));
        const auto region = around(x + 0.5, 50.2);
        ASSERT_TRUE(region) << sx;
        EXPECT_NEAR(region->outer.area, 3 * kPi, 1e-9) << sx;
        for (const Piece& p : region->outer.pieces) {
            EXPECT_EQ(p.kind, Piece::Kind::Ellipse);
            EXPECT_NEAR(p.ratio, 1.0 / 3, 1e-12);
        }
        EXPECT_FALSE(around(x + 2.9, 50)) << "outside the ellipse, inside its circle's scaled box";
    }
    EXPECT_TRUE(hatchedAsEzdxfSees("scaled_circle", 50.5, 50.2, 3 * kPi));
    EXPECT_TRUE(hatchedAsEzdxfSees("mirrored_circle", 80.5, 50.2, 3 * kPi));
    // As an island the ellipse runs clockwise: its edges' angles as ezdxf reads them.
    room(40, 40, 20);
    EXPECT_TRUE(hatchedAsEzdxfSees("elliptic_island", 42, 42, 400 - 3 * kPi));
}

TEST_F(BoundaryCurves, CirclesAndArcsInMirroredOrTiltedPlanesAsTheyLieSeenFromAbove) {
    // An arc whose plane is seen from below: its angles run clockwise, from (-5, 0) to (0, 5); with two
    // lines it bounds the upper left quarter of a disc.
    auto arc = std::make_unique<db::Arc>(db::Point3d(0, 0), 5, 0, kPi / 2);
    arc->setNormal({0, 0, -1});
    add(std::move(arc));
    add(std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(-5, 0)));
    add(std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(0, 5)));
    const auto quarter = around(-1, 1);
    ASSERT_TRUE(quarter);
    EXPECT_NEAR(quarter->outer.area, 25 * kPi / 4, 1e-9);
    EXPECT_FALSE(around(1, 1));

    // A circle of radius 2 tilted 60 degrees about X is an ellipse of half its area; one seen edge on is
    // nothing.
    auto tilted = std::make_unique<db::Circle>(db::Point3d(20, 0), 2);
    tilted->setNormal({0, std::sin(kPi / 3), std::cos(kPi / 3)});
    add(std::move(tilted));
    const auto ellipse = around(20, 0.3);
    ASSERT_TRUE(ellipse);
    EXPECT_NEAR(ellipse->outer.area, 2 * kPi, 1e-9);
    EXPECT_TRUE(hasKind(ellipse->outer, Piece::Kind::Ellipse));
    EXPECT_FALSE(around(20, 1.5)) << "beyond the ellipse's minor axis";
    auto edgeOn = std::make_unique<db::Circle>(db::Point3d(40, 0), 2);
    edgeOn->setNormal({1, 0, 0});
    add(std::move(edgeOn));
    EXPECT_FALSE(around(40, 0.5));
}

TEST_F(BoundaryCurves, SplinesCloseRoomsAsEzdxfFlattensThem) {
    // A rational cubic running across a room from wall to wall: the room below it is bounded by the part of
    // the spline between the walls. ezdxf's own flattening of the spline entity gives the area to expect.
    add(std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(10, 0)));
    add(std::make_unique<db::Line>(db::Point3d(10, 0), db::Point3d(10, 10)));
    add(std::make_unique<db::Line>(db::Point3d(10, 10), db::Point3d(0, 10)));
    add(std::make_unique<db::Line>(db::Point3d(0, 10), db::Point3d(0, 0)));
    auto spline = std::make_unique<db::Spline>();
    ASSERT_EQ(spline->setNurbsData(3, {{-1, 3}, {2, 6}, {5, 1}, {8, 6}, {11, 3}},
                                   {0, 0, 0, 0, 0.4, 1, 1, 1, 1}, {1, 2, 1, 0.5, 1}),
              db::ErrorStatus::Ok);
    add(std::move(spline));
    const auto below = around(5, 0.5);
    ASSERT_TRUE(below);
    EXPECT_TRUE(hasKind(below->outer, Piece::Kind::Spline));
    const auto above = around(5, 9.5);
    ASSERT_TRUE(above);
    EXPECT_NEAR(below->outer.area + above->outer.area, 100, 1e-9) << "the spline parts the room";
    // The spline's part, flattened by ezdxf, clipped to the walls.
    const std::string underSpline =
        "pts = list(msp.query('SPLINE')[0].construction_tool().flattening(0.00001))\n"
        "def at(x):\n"
        "    for a, b in zip(pts, pts[1:]):\n"
        "        if a.x <= x <= b.x: return Vec2(x, a.y + (b.y - a.y) * (x - a.x) / (b.x - a.x))\n"
        "inner = [Vec2(p) for p in pts if 0 < p.x < 10]\n"
        "own = abs(area([Vec2(0, 0), Vec2(10, 0), at(10)] + inner[::-1] + [at(0)]))\n"
        "assert abs(own - expected) < 1e-4, (own, expected)\n";
    EXPECT_TRUE(hatchedAsEzdxfSees("spline_room", 5, 0.5, below->outer.area, underSpline));
}

TEST_F(BoundaryCurves, ClosedSplinesAloneAndAsIslands) {
    // A closed periodic-looking cubic (its first three points repeated at the end, uniform knots) alone,
    // and inside a room as an island.
    std::vector<db::Point3d> points = {{20, 0}, {26, 1}, {27, 6}, {22, 8}, {18, 4}};
    for (int i = 0; i < 3; ++i) points.push_back(points[static_cast<std::size_t>(i)]);
    std::vector<double> knots;
    for (int i = 0; i < 12; ++i) knots.push_back(i);
    auto spline = std::make_unique<db::Spline>();
    ASSERT_EQ(spline->setNurbsData(3, points, knots), db::ErrorStatus::Ok);
    add(std::move(spline));
    const auto alone = around(22.5, 4);
    ASSERT_TRUE(alone);
    EXPECT_TRUE(alone->islands.empty());
    const std::string splineArea =
        "own = abs(area([Vec2(p) for p in msp.query('SPLINE')[0].construction_tool().flattening(0.00001)]))\n"
        "assert abs(own - expected) < 1e-4, (own, expected)\n";
    EXPECT_TRUE(hatchedAsEzdxfSees("closed_spline", 22.5, 4, alone->outer.area, splineArea));
    room(10, -10, 30);
    const auto outside = around(12, -8);
    ASSERT_TRUE(outside);
    ASSERT_EQ(outside->islands.size(), 1u);
    EXPECT_NEAR(outside->outer.area, 900, 1e-9);
    EXPECT_NEAR(std::fabs(outside->islands[0].area), alone->outer.area, 1e-9);
    // The island's spline parts run backwards: reversed splines in the hatch.
    EXPECT_TRUE(hatchedAsEzdxfSees("spline_island", 12, -8, 900 - alone->outer.area));
}

TEST_F(BoundaryCurves, OldStylePolylinesAsEzdxfWritesThem) {
    // A 2D polyline with a bulge, in a plane seen from below (x runs the other way) at an elevation, and a 3D
    // polyline seen from above, written by ezdxf and read back.
    const std::filesystem::path dir = std::filesystem::temp_directory_path();
    const std::string tag = std::to_string(::getpid());
    const std::filesystem::path script = dir / ("heavy_" + tag + ".py"),
                                file = dir / ("heavy_" + tag + ".dxf");
    std::ofstream(script)
        << "import ezdxf, sys\n"
           "doc = ezdxf.new('R2018', setup=True)\n"
           "msp = doc.modelspace()\n"
           "msp.add_polyline2d([(0, 0, 0), (10, 0, 0.5), (10, 4, 0), (0, 4, 0)], format='xyb',"
           " close=True, dxfattribs={'extrusion': (0, 0, -1), 'elevation': (0, 0, 3)})\n"
           "msp.add_polyline3d([(20, 0, 1), (30, 0, 2), (30, 10, 3), (20, 10, 0)], close=True)\n"
           "doc.saveas(sys.argv[1])\n";
    ASSERT_EQ(std::system(("/usr/bin/python3 '" + script.string() + "' '" + file.string() + "'").c_str()), 0);
    db::DxfReadResult read = db::readDxfFile(file);
    std::filesystem::remove(script), std::filesystem::remove(file);
    ASSERT_TRUE(read.database);
    db::SpatialIndex drawing(*read.database);
    auto at = [&](double x, double y) {
        return FindRegionAround(drawing, read.database->modelSpaceId(), {x, y}, 0);
    };
    // The bulge's arc on a chord of 4: sweep 4 atan(1/2), its segment r^2 / 2 (sweep - sin sweep).
    const double sweep = 4 * std::atan(0.5), r = 2 / std::sin(sweep / 2);
    for (double x : {-5.0, -10.3}) {
        const auto region = at(x, 2);
        ASSERT_TRUE(region) << x;
        EXPECT_NEAR(region->outer.area, 40 + r * r / 2 * (sweep - std::sin(sweep)), 1e-9);
        EXPECT_TRUE(hasKind(region->outer, Piece::Kind::Arc));
    }
    EXPECT_FALSE(at(5, 2)) << "seen from below, the polyline lies left of the origin";
    const auto flat = at(25, 5);
    ASSERT_TRUE(flat);
    EXPECT_NEAR(flat->outer.area, 100, 1e-9);
}

}  // namespace
}  // namespace vela::host::hatch
