#include "db/records/block_table_record.h"

#include <gtest/gtest.h>

#include <string>

#include "db/database.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/line.h"

namespace vela::db {
namespace {

ObjectId addBlock(Database& db, std::string_view name) {
    ObjectId id;
    EXPECT_EQ(db.addRecord(db.blockTableId(), std::make_unique<BlockTableRecord>(name), &id),
              ErrorStatus::Ok);
    db.appendEntity(id, std::make_unique<Line>(Point3d(0, 0), Point3d(1, 1)));
    return id;
}

TEST(BlockTableRecord, BehaviourOptionsAreUndoneRedoneAndCloned) {
    Database db;
    const ObjectId id = addBlock(db, "Chair");
    UndoManager& undo = db.undoManager();
    undo.beginGroup("options");
    {
        auto block = openObject<BlockTableRecord>(id, OpenMode::ForWrite);
        block->setExplodable(false);
        block->setScaledUniformly(true);
        block->setInsertUnits(1);
    }
    undo.endGroup();
    auto block = [&] { return openObject<BlockTableRecord>(id, OpenMode::ForRead); };
    ASSERT_EQ(undo.undo(), 1u);
    EXPECT_TRUE(block()->isExplodable());
    EXPECT_FALSE(block()->isScaledUniformly());
    EXPECT_EQ(block()->insertUnits(), 0);
    EXPECT_EQ(block()->entityCount(), 1u) << "undo of the options leaves the contents";
    ASSERT_EQ(undo.redo(), 1u);
    EXPECT_FALSE(block()->isExplodable());
    EXPECT_TRUE(block()->isScaledUniformly());

    const std::unique_ptr<DbObject> copy = block()->clone();
    auto* cloned = objectCast<BlockTableRecord>(copy.get());
    ASSERT_TRUE(cloned);
    EXPECT_FALSE(cloned->isExplodable());
    EXPECT_TRUE(cloned->isScaledUniformly());
    EXPECT_EQ(cloned->insertUnits(), 1);
    EXPECT_THROW(block()->setExplodable(true), DbError) << "a change needs the record open for write";
}

}  // namespace
}  // namespace vela::db
