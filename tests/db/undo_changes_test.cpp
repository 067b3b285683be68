#include <gtest/gtest.h>

#include "db/database.h"
#include "db/entities/circle.h"
#include "db/entities/line.h"
#include "db/records/layer_table_record.h"
#include "db/undo_manager.h"

namespace vela::db {
namespace {

// What a picture of "what changed since step N" shows: created, changed and erased entities, as things stand.
TEST(UndoChanges, SaysWhatStepsCreatedChangedAndErasedAsTheDrawingStandsNow) {
    Database db;
    UndoManager& undo = db.undoManager();
    auto step = [&](auto&& work) {
        undo.beginGroup();
        work();
        undo.endGroup();
    };
    auto add = [&](std::unique_ptr<Entity> e) {
        ObjectId id;
        EXPECT_EQ(db.appendEntity(db.modelSpaceId(), std::move(e), &id), ErrorStatus::Ok);
        return id;
    };
    ObjectId kept, moved, gone, fleeting, added;
    step([&] {
        kept = add(std::make_unique<Line>(Point3d(0, 0), Point3d(1, 0)));
        moved = add(std::make_unique<Line>(Point3d(0, 1), Point3d(1, 1)));
        gone = add(std::make_unique<Circle>(Point3d(5, 5), 1));
    });
    const std::size_t mark = undo.undoCount();
    step([&] { openObject<Line>(moved, OpenMode::ForWrite)->setEndPoint(Point3d(2, 1)); });
    step([&] { openObject<Circle>(gone, OpenMode::ForWrite)->erase(); });
    step([&] {
        fleeting = add(std::make_unique<Circle>(Point3d(9, 9), 1));
        added = add(std::make_unique<Circle>(Point3d(7, 7), 1));
    });
    step([&] { openObject<Circle>(fleeting, OpenMode::ForWrite)->erase(); });
    step([&] {
        ObjectId layer;
        db.addRecord(db.layerTableId(), std::make_unique<LayerTableRecord>("New"), &layer);
    });

    UndoManager::Changes c = undo.changesSince(mark);
    EXPECT_EQ(c.created, std::vector<ObjectId>{added}) << "one made and erased again is not there";
    EXPECT_EQ(c.changed, std::vector<ObjectId>{moved});
    EXPECT_EQ(c.erased, std::vector<ObjectId>{gone});

    // From the beginning, everything that is there was created; undone steps no longer count.
    c = undo.changesSince(0);
    EXPECT_EQ(c.created, (std::vector<ObjectId>{kept, moved, added}));
    EXPECT_TRUE(c.changed.empty() && c.erased.empty());
    ASSERT_EQ(undo.undo(5), 5u);
    c = undo.changesSince(mark);
    EXPECT_TRUE(c.created.empty() && c.changed.empty() && c.erased.empty());
}

// A hatch linked to its boundary: the boundary names it among its reactors, undone and redone with the step,
// yet the boundary is not a changed entity (its drawing did not change), even when the step also changed it.
TEST(UndoChanges, ReactorLinksFollowUndoButAreNoChanges) {
    Database db;
    UndoManager& undo = db.undoManager();
    ObjectId wall, door, hatch;
    db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(Point3d(0, 0), Point3d(1, 0)), &wall);
    db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(Point3d(0, 1), Point3d(1, 1)), &door);
    const std::size_t mark = undo.undoCount();
    undo.beginGroup();
    db.appendEntity(db.modelSpaceId(), std::make_unique<Circle>(Point3d(0, 0), 1), &hatch);
    openObject<Line>(wall, OpenMode::ForWrite)->addPersistentReactor(hatch);
    openObject<Line>(wall, OpenMode::ForWrite)->addPersistentReactor(hatch);  // once only
    {
        auto d = openObject<Line>(door, OpenMode::ForWrite);
        d->addPersistentReactor(hatch);
        d->setEndPoint(Point3d(2, 1));
    }
    undo.endGroup();
    auto reactors = [](ObjectId id) {
        const ObjectExtras* x = id.peek()->extras();
        return x ? x->persistentReactors : std::vector<ObjectId>{};
    };
    EXPECT_EQ(reactors(wall), std::vector<ObjectId>{hatch});
    const UndoManager::Changes c = undo.changesSince(mark);
    EXPECT_EQ(c.created, std::vector<ObjectId>{hatch});
    EXPECT_EQ(c.changed, std::vector<ObjectId>{door}) << "the wall only gained a link";
    ASSERT_EQ(undo.undo(1), 1u);
    EXPECT_TRUE(reactors(wall).empty() && reactors(door).empty());
    EXPECT_EQ(openObject<Line>(door, OpenMode::ForRead)->endPoint(), Point3d(1, 1));
    ASSERT_EQ(undo.redo(1), 1u);
    EXPECT_EQ(reactors(wall), std::vector<ObjectId>{hatch});
    EXPECT_EQ(reactors(door), std::vector<ObjectId>{hatch});
    EXPECT_THROW(openObject<Line>(wall, OpenMode::ForRead)->addPersistentReactor(door), DbError)
        << "only an object open for write takes a link";
}

// A trial run: a group looked at while open, then rolled back without touching the undo or redo steps.
TEST(UndoChanges, OpenGroupIsLookedAtThenRolledBackLeavingHistoryAlone) {
    Database db;
    UndoManager& undo = db.undoManager();
    ObjectId line, circle;
    undo.beginGroup();
    db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(Point3d(0, 0), Point3d(1, 0)), &line);
    undo.endGroup();
    undo.beginGroup();
    db.appendEntity(db.modelSpaceId(), std::make_unique<Circle>(Point3d(5, 5), 1), &circle);
    undo.endGroup();
    ASSERT_EQ(undo.undo(), 1u);  // a step to redo, which the trial must not cost

    EXPECT_TRUE(undo.changesInOpenGroup().created.empty()) << "no group open";
    undo.beginGroup("trial");
    undo.beginGroup();  // a command inside joins the trial's group
    openObject<Line>(line, OpenMode::ForWrite)->setEndPoint(Point3d(3, 0));
    ObjectId added;
    db.appendEntity(db.modelSpaceId(), std::make_unique<Circle>(Point3d(1, 1), 1), &added);
    undo.endGroup();
    const UndoManager::Changes c = undo.changesInOpenGroup();
    EXPECT_EQ(c.created, std::vector<ObjectId>{added});
    EXPECT_EQ(c.changed, std::vector<ObjectId>{line});
    undo.abortGroup();

    EXPECT_EQ(openObject<Line>(line, OpenMode::ForRead)->endPoint(), Point3d(1, 0));
    EXPECT_TRUE(added.isErased());
    EXPECT_EQ(undo.undoCount(), 1u);
    ASSERT_EQ(undo.redo(), 1u) << "the redo step survives the trial";
    EXPECT_FALSE(circle.isErased());
}

}  // namespace
}  // namespace vela::db
