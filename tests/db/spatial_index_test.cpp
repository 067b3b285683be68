#include "db/spatial_index.h"

#include <gtest/gtest.h>

#include "db/database.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/construction_line.h"
#include "db/entities/line.h"
#include "db/records/block_table_record.h"
#include "db/undo_manager.h"

namespace vela::db {
namespace {

class SpatialIndexTest : public ::testing::Test {
  protected:
    Database db;
    ObjectId line(const Point3d& a, const Point3d& b, ObjectId space = {}) {
        ObjectId id;
        EXPECT_EQ(
            db.appendEntity(space.isNull() ? db.modelSpaceId() : space, std::make_unique<Line>(a, b), &id),
            ErrorStatus::Ok);
        return id;
    }
    std::vector<ObjectId> in(double x1, double y1, double x2, double y2, const SpatialIndex& index) {
        return index.query(db.modelSpaceId(), Extents3d(Point3d(x1, y1), Point3d(x2, y2)));
    }
};

TEST_F(SpatialIndexTest, FindsWhatMeetsAWindowInDrawingOrderAndFollowsChangesUndoAndErase) {
    // A grid of short lines, one per unit square, in drawing order row by row.
    std::vector<ObjectId> grid;
    for (int y = 0; y < 50; ++y)
        for (int x = 0; x < 50; ++x)
            grid.push_back(line(Point3d(x + 0.2, y + 0.2), Point3d(x + 0.8, y + 0.8)));
    SpatialIndex index(db);
    EXPECT_EQ(in(10.1, 10.1, 11.9, 11.9, index),
              (std::vector<ObjectId>{grid[10 * 50 + 10], grid[10 * 50 + 11], grid[11 * 50 + 10],
                                     grid[11 * 50 + 11]}));
    EXPECT_TRUE(in(10.85, 10.85, 10.9, 10.9, index).empty()) << "between the boxes";
    EXPECT_EQ(index.queryPoint(db.modelSpaceId(), Point3d(3.5, 4.5), 0.01),
              std::vector<ObjectId>{grid[4 * 50 + 3]});
    EXPECT_TRUE(
        index.extents(db.modelSpaceId()).isEqualTo(Extents3d(Point3d(0.2, 0.2), Point3d(49.8, 49.8))));

    // Moved far away inside an undo step: found there, not here; undo brings it back where it was.
    UndoManager& undo = db.undoManager();
    undo.beginGroup("move");
    {
        auto moved = openObject<Line>(grid[0], OpenMode::ForWrite);
        ASSERT_EQ(moved->transformBy(Matrix3d::translation({100, 0, 0})), ErrorStatus::Ok);
    }
    undo.endGroup();
    EXPECT_TRUE(in(0, 0, 1, 1, index).empty());
    EXPECT_EQ(in(100, 0, 101, 1, index), std::vector<ObjectId>{grid[0]});
    ASSERT_EQ(undo.undo(1), 1u);
    EXPECT_EQ(in(0, 0, 1, 1, index), std::vector<ObjectId>{grid[0]});
    EXPECT_TRUE(in(100, 0, 101, 1, index).empty());

    // Erased: gone; un-erased: back in its old place in the drawing order.
    openObject<Line>(grid[1], OpenMode::ForWrite)->erase();
    EXPECT_EQ(in(0, 0, 2.9, 0.9, index), (std::vector<ObjectId>{grid[0], grid[2]}));
    openObject<Line>(grid[1], OpenMode::ForWrite, {.openErased = true})->erase(false);
    EXPECT_EQ(in(0, 0, 2.9, 0.9, index), (std::vector<ObjectId>{grid[0], grid[1], grid[2]}));

    // Appended later: found, after everything drawn before it.
    const ObjectId late = line(Point3d(0.5, 0.1), Point3d(2.5, 0.1));
    EXPECT_EQ(in(0, 0, 2.9, 0.9, index), (std::vector<ObjectId>{grid[0], grid[1], grid[2], late}));
}

TEST_F(SpatialIndexTest, ReferencesFollowTheirBlockAndEndlessEntitiesMeetEveryWindow) {
    ObjectId block;
    ASSERT_EQ(db.addRecord(db.blockTableId(), std::make_unique<BlockTableRecord>("Part"), &block),
              ErrorStatus::Ok);
    const ObjectId part = line(Point3d(0, 0), Point3d(1, 0), block);
    ObjectId ref, xline;
    ASSERT_EQ(
        db.appendEntity(db.modelSpaceId(), std::make_unique<BlockReference>(Point3d(10, 10), block), &ref),
        ErrorStatus::Ok);
    ASSERT_EQ(db.appendEntity(db.modelSpaceId(), std::make_unique<Xline>(), &xline), ErrorStatus::Ok);
    SpatialIndex index(db);
    EXPECT_EQ(in(10.5, 9.9, 10.6, 10.1, index), (std::vector<ObjectId>{ref, xline}));
    EXPECT_EQ(in(-50, -50, -40, -40, index), std::vector<ObjectId>{xline});
    EXPECT_EQ(index.query(block, Extents3d(Point3d(0, 0), Point3d(1, 1))), std::vector<ObjectId>{part});

    // The definition's line grows: the reference reaches further without being touched itself.
    openObject<Line>(part, OpenMode::ForWrite)->setEndPoint(Point3d(30, 0));
    EXPECT_EQ(in(35, 9.9, 36, 10.1, index), (std::vector<ObjectId>{ref, xline}));
    EXPECT_EQ(index.query(block, Extents3d(Point3d(25, 0), Point3d(26, 1))), std::vector<ObjectId>{part});
}

TEST_F(SpatialIndexTest, OutlivesItsDatabaseWithoutHarm) {
    auto owned = std::make_unique<Database>();
    SpatialIndex index(*owned);
    const ObjectId space = owned->modelSpaceId();
    EXPECT_TRUE(index.query(space, Extents3d(Point3d(0, 0), Point3d(1, 1))).empty());
    owned.reset();
    EXPECT_TRUE(index.query(space, Extents3d(Point3d(0, 0), Point3d(1, 1))).empty());
}

}  // namespace
}  // namespace vela::db
