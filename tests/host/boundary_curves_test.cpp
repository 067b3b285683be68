// The boundary search on a drawing: which entities count, how they lie, and looking only near the point.
#include "host/hatch/boundary_curves.h"

#include <cmath>
#include <numbers>

#include "../commands/fixture.h"
#include "db/entities/polyline.h"
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
};

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

}  // namespace
}  // namespace vela::host::hatch
