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

// The block record's groups from its name to the end of the record.
std::string recordText(const std::string& dxf, const std::string& name) {
    const std::size_t at = dxf.find("AcDbBlockTableRecord\n  2\n" + name + "\n");
    if (at == std::string::npos) return {};
    return dxf.substr(at, dxf.find("\n  0\n", at) - at);
}

TEST(BlockTableRecord, BehaviourOptionsHaveTheUsualDefaultsAndTravelThroughFiles) {
    Database db;
    const ObjectId plain = addBlock(db, "Plain");
    const ObjectId fixed = addBlock(db, "Fixed");
    {
        auto block = openObject<BlockTableRecord>(plain, OpenMode::ForRead);
        EXPECT_TRUE(block->isExplodable());
        EXPECT_FALSE(block->isScaledUniformly());
        EXPECT_EQ(block->insertUnits(), 0);
    }
    {
        auto block = openObject<BlockTableRecord>(fixed, OpenMode::ForWrite);
        block->setExplodable(false);
        block->setScaledUniformly(true);
        block->setInsertUnits(4);
    }
    const std::string saved = writeDxf(db);
    EXPECT_EQ(recordText(saved, "Fixed"), "AcDbBlockTableRecord\n  2\nFixed\n 70\n4\n280\n0\n281\n1")
        << "in the order files have them";
    EXPECT_EQ(recordText(saved, "Plain"), "AcDbBlockTableRecord\n  2\nPlain\n 70\n0\n280\n1\n281\n0");

    DxfReadResult r = readDxf(saved);
    ASSERT_TRUE(r.database);
    auto* back = objectCast<BlockTableRecord>(r.database->blockTable()->getAt("Fixed").peek());
    ASSERT_TRUE(back);
    EXPECT_FALSE(back->isExplodable());
    EXPECT_TRUE(back->isScaledUniformly());
    EXPECT_EQ(back->insertUnits(), 4);
    EXPECT_FALSE(back->extras()) << "nothing of the record is left as kept groups";
    EXPECT_EQ(writeDxf(*r.database), saved);

    // Older files leave the groups out: the record is explodable and scales freely.
    DxfReadResult old = readDxf(
        "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nBLOCK_RECORD\n5\n1\n70\n1\n"
        "0\nBLOCK_RECORD\n5\n20\n100\nAcDbSymbolTableRecord\n100\nAcDbBlockTableRecord\n2\nOld\n"
        "0\nENDTAB\n0\nENDSEC\n0\nEOF\n");
    ASSERT_TRUE(old.database) << old.error->text();
    auto* oldBlock = objectCast<BlockTableRecord>(old.database->blockTable()->getAt("Old").peek());
    ASSERT_TRUE(oldBlock);
    EXPECT_TRUE(oldBlock->isExplodable());
    EXPECT_FALSE(oldBlock->isScaledUniformly());
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
