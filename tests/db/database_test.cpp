#include "db/database.h"

#include <gtest/gtest.h>

#include "db/entities/circle.h"
#include "db/entities/line.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "db/records/linetype_table_record.h"

namespace vela::db {
namespace {

ObjectId addLayer(Database& db, std::string_view name, bool locked = false) {
    auto layer = std::make_unique<LayerTableRecord>(name);
    layer->setIsLocked(locked);
    ObjectId id;
    EXPECT_EQ(db.addRecord(db.layerTableId(), std::move(layer), &id), ErrorStatus::Ok);
    return id;
}

ObjectId addLine(Database& db, Point3d a = {0, 0}, Point3d b = {1, 1}, ObjectId layer = {}) {
    auto line = std::make_unique<Line>(a, b);
    if (!layer.isNull()) line->setLayerId(layer);
    ObjectId id;
    EXPECT_EQ(db.appendEntity(db.modelSpaceId(), std::move(line), &id), ErrorStatus::Ok);
    return id;
}

TEST(NewDatabase, HasTheRecordsEveryDrawingNeeds) {
    Database db;
    EXPECT_FALSE(db.layerZeroId().isNull());
    EXPECT_EQ(db.currentLayer(), db.layerZeroId());
    for (const char* lt : {"ByBlock", "ByLayer", "Continuous"}) EXPECT_TRUE(db.linetypeTable()->has(lt)) << lt;
    EXPECT_TRUE(db.textStyleTable()->has("Standard"));
    EXPECT_TRUE(db.dimStyleTable()->has("Standard"));
    EXPECT_FALSE(db.modelSpaceId().isNull());
    EXPECT_FALSE(db.paperSpaceId().isNull());
    auto ms = openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead);
    ASSERT_TRUE(ms);
    EXPECT_TRUE(ms->isLayout());
    EXPECT_EQ(ms->entityCount(), 0u);
}

TEST(Handles, LookupFindsLiveObjectsOnlyAndNeverInventsIds) {
    Database db;
    const ObjectId line = addLine(db);
    const Handle h = line.handle();
    EXPECT_EQ(db.getObjectId(h), line);
    EXPECT_TRUE(db.getObjectId(Handle(0xFFFFFF)).isNull());
    EXPECT_TRUE(db.getObjectId(Handle()).isNull());
    const std::size_t count = db.objectCount();
    EXPECT_TRUE(db.getObjectId(Handle(h.value() + 1000)).isNull());
    EXPECT_EQ(db.objectCount(), count) << "a lookup must not create an object";

    {
        auto l = openObject<Line>(line, OpenMode::ForWrite);
        ASSERT_EQ(l->erase(), ErrorStatus::Ok);
    }
    EXPECT_TRUE(db.getObjectId(h).isNull()) << "erased objects are not found for live use";
    EXPECT_EQ(db.getObjectId(h, true), line);
    EXPECT_EQ(openObject<Line>(line, OpenMode::ForRead).status(), ErrorStatus::WasErased);
    EXPECT_TRUE(openObject<Line>(line, OpenMode::ForRead, {.openErased = true}));
}

TEST(Handles, AreNeverReusedAndFileHandlesAreKept) {
    Database db;
    const ObjectId a = addLine(db);
    {
        auto l = openObject<Line>(a, OpenMode::ForWrite);
        l->erase();
    }
    const ObjectId b = addLine(db);
    EXPECT_GT(b.handle().value(), a.handle().value());

    // An object given a handle from a file keeps it and the generator continues above it.
    ObjectId c;
    ASSERT_EQ(db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(), &c, Handle(0x5000)), ErrorStatus::Ok);
    EXPECT_EQ(c.handle().value(), 0x5000u);
    EXPECT_GT(addLine(db).handle().value(), 0x5000u);
    EXPECT_EQ(db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(), nullptr, Handle(0x5000)),
              ErrorStatus::DuplicateRecordName);
    // Handles far above the dense range still resolve.
    ObjectId far;
    ASSERT_EQ(db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(), &far, Handle(0x7FFFFFFFFFFFull)),
              ErrorStatus::Ok);
    EXPECT_EQ(db.getObjectId(Handle(0x7FFFFFFFFFFFull)), far);
}

TEST(SymbolTables, CompareNamesWithoutRegardToCase) {
    Database db;
    const ObjectId walls = addLayer(db, "Walls");
    EXPECT_EQ(db.layerTable()->getAt("WALLS"), walls);
    EXPECT_EQ(db.layerTable()->getAt("walls"), walls);
    EXPECT_EQ(db.addRecord(db.layerTableId(), std::make_unique<LayerTableRecord>("wAlLs")),
              ErrorStatus::DuplicateRecordName);
    EXPECT_EQ(db.linetypeTable()->getAt("CONTINUOUS"), db.linetypeContinuousId());

    auto layer = openObject<LayerTableRecord>(walls, OpenMode::ForWrite);
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->setName("WALLS"), ErrorStatus::Ok) << "a change of case alone is a rename to itself";
    EXPECT_EQ(layer->setName("0"), ErrorStatus::DuplicateRecordName);
    EXPECT_EQ(layer->setName("Doors"), ErrorStatus::Ok);
    layer.close();
    EXPECT_TRUE(db.layerTable()->getAt("walls").isNull());
    EXPECT_EQ(db.layerTable()->getAt("DOORS"), walls);
}

TEST(SymbolTables, RejectInvalidNames) {
    Database db;
    for (const char* bad : {"", "   ", "a<b", "a>b", "a/b", "a\\b", "a\"b", "a:b", "a;b", "a?b", "a*b", "a|b", "a,b",
                            "a=b", "a`b", "tab\there"})
        EXPECT_EQ(db.addRecord(db.layerTableId(), std::make_unique<LayerTableRecord>(bad)),
                  ErrorStatus::InvalidSymbolTableName)
            << bad;
    EXPECT_EQ(db.addRecord(db.layerTableId(), std::make_unique<LayerTableRecord>("Walls - 1st floor (new)")),
              ErrorStatus::Ok);
    // Names are limited to 255 characters, counted as characters, not bytes.
    std::string longest;
    for (int i = 0; i < 255; ++i) longest += "\xC3\xA9";  // é
    EXPECT_EQ(db.addRecord(db.layerTableId(), std::make_unique<LayerTableRecord>(longest)), ErrorStatus::Ok);
    EXPECT_EQ(db.addRecord(db.layerTableId(), std::make_unique<LayerTableRecord>(std::string(256, 'x'))),
              ErrorStatus::InvalidSymbolTableName);
}

TEST(OpenForWrite, RefusesEntitiesOnLockedLayers) {
    Database db;
    const ObjectId locked = addLayer(db, "Locked", true);
    const ObjectId line = addLine(db, {0, 0}, {1, 0}, locked);
    EXPECT_EQ(openObject<Line>(line, OpenMode::ForWrite).status(), ErrorStatus::OnLockedLayer);
    EXPECT_TRUE(openObject<Line>(line, OpenMode::ForRead)) << "reading is allowed";
    EXPECT_TRUE(openObject<Line>(line, OpenMode::ForWrite, {.openOnLockedLayer = true}));
    // The layer record itself can be opened and unlocked.
    {
        auto layer = openObject<LayerTableRecord>(locked, OpenMode::ForWrite);
        ASSERT_TRUE(layer);
        layer->setIsLocked(false);
    }
    EXPECT_TRUE(openObject<Line>(line, OpenMode::ForWrite));
}

TEST(OpenForWrite, ChecksClassAndRequiresWriteForChanges) {
    Database db;
    const ObjectId line = addLine(db);
    EXPECT_EQ(openObject<Circle>(line, OpenMode::ForRead).status(), ErrorStatus::NotThatKindOfClass);
    EXPECT_TRUE(openObject<Entity>(line, OpenMode::ForRead));
    EXPECT_TRUE(openObject<Curve>(line, OpenMode::ForRead));
    EXPECT_EQ(openObject<Line>(ObjectId(), OpenMode::ForRead).status(), ErrorStatus::NullObjectId);
    auto readOnly = openObject<Line>(line, OpenMode::ForRead);
    EXPECT_THROW(readOnly->setStartPoint({5, 5}), DbError);
    EXPECT_EQ(readOnly->startPoint(), Point3d(0, 0));
}

TEST(Erase, TheDrawingsFrameworkCannotBeErased) {
    Database db;
    for (ObjectId id : {db.layerZeroId(), db.modelSpaceId(), db.paperSpaceId(), db.linetypeContinuousId(),
                        db.linetypeByLayerId(), db.linetypeByBlockId(), db.layerTableId()}) {
        auto o = openObject(id, OpenMode::ForWrite);
        ASSERT_TRUE(o);
        EXPECT_EQ(o->erase(), ErrorStatus::CannotEraseRecord);
        EXPECT_FALSE(o->isErased());
    }
}

TEST(Defaults, ApplyCurrentLayerColorLinetypeOnRequest) {
    Database db;
    const ObjectId layer = addLayer(db, "Current");
    ASSERT_EQ(db.setCurrentLayer(layer), ErrorStatus::Ok);
    db.setCurrentColor(Color::fromIndex(3));
    db.setCurrentLineWeight(LineWeight::W050);
    db.setCurrentLinetypeScale(2.5);
    ASSERT_EQ(db.setCurrentLinetype(db.linetypeContinuousId()), ErrorStatus::Ok);

    auto line = std::make_unique<Line>();
    line->setDatabaseDefaults(&db);
    EXPECT_EQ(line->layerId(), layer);
    EXPECT_EQ(line->color(), Color::fromIndex(3));
    EXPECT_EQ(line->lineWeight(), LineWeight::W050);
    EXPECT_DOUBLE_EQ(line->linetypeScale(), 2.5);
    EXPECT_EQ(line->linetypeId(), db.linetypeContinuousId());

    // Without the request an appended entity gets layer 0 and linetype ByLayer.
    const ObjectId plain = addLine(db);
    auto l = openObject<Line>(plain, OpenMode::ForRead);
    EXPECT_EQ(l->layer(), "0");
    EXPECT_EQ(l->linetype(), "ByLayer");
    EXPECT_TRUE(l->color().isByLayer());
    EXPECT_EQ(db.setCurrentLayer(plain), ErrorStatus::NotThatKindOfClass);
}

TEST(LayerUsage, CountsEntitiesInEveryBlockButNotErasedOnes) {
    Database db;
    const ObjectId used = addLayer(db, "Used");
    const ObjectId inBlock = addLayer(db, "InBlock");
    const ObjectId unused = addLayer(db, "Unused");
    const ObjectId erasedOnly = addLayer(db, "ErasedOnly");
    addLine(db, {0, 0}, {1, 1}, used);
    ObjectId block;
    ASSERT_EQ(db.addRecord(db.blockTableId(), std::make_unique<BlockTableRecord>("B"), &block), ErrorStatus::Ok);
    auto inner = std::make_unique<Line>();
    inner->setLayerId(inBlock);
    ASSERT_EQ(db.appendEntity(block, std::move(inner)), ErrorStatus::Ok);
    const ObjectId gone = addLine(db, {0, 0}, {1, 1}, erasedOnly);
    openObject(gone, OpenMode::ForWrite)->erase();

    db.generateLayerUsageData();
    auto inUse = [](ObjectId id) { return openObject<LayerTableRecord>(id, OpenMode::ForRead)->isInUse(); };
    EXPECT_TRUE(inUse(used));
    EXPECT_TRUE(inUse(inBlock));
    EXPECT_FALSE(inUse(unused));
    EXPECT_FALSE(inUse(erasedOnly));
    EXPECT_TRUE(inUse(db.layerZeroId()));
}

TEST(DeepClone, CopiesEntitiesIntoAnotherBlockWithNewHandles) {
    Database db;
    const ObjectId layer = addLayer(db, "Parts");
    const ObjectId a = addLine(db, {0, 0}, {10, 0}, layer);
    ObjectId c;
    {
        auto circle = std::make_unique<Circle>(Point3d(5, 5), 2);
        circle->setColor(Color::fromRgb(10, 20, 30));
        ASSERT_EQ(db.appendEntity(db.modelSpaceId(), std::move(circle), &c), ErrorStatus::Ok);
    }
    ObjectId block;
    ASSERT_EQ(db.addRecord(db.blockTableId(), std::make_unique<BlockTableRecord>("Part"), &block), ErrorStatus::Ok);

    IdMapping mapping;
    ASSERT_EQ(db.deepCloneObjects({a, c, a, ObjectId()}, block, mapping), ErrorStatus::Ok);
    ASSERT_EQ(mapping.size(), 2u) << "an id listed twice is cloned once; null ids are skipped";
    auto btr = openObject<BlockTableRecord>(block, OpenMode::ForRead);
    EXPECT_EQ(btr->entityCount(), 2u);

    auto lineCopy = openObject<Line>(mapping.at(a), OpenMode::ForRead);
    ASSERT_TRUE(lineCopy);
    EXPECT_NE(lineCopy->handle(), a.handle());
    EXPECT_EQ(lineCopy->ownerId(), block);
    EXPECT_EQ(lineCopy->layerId(), layer);
    EXPECT_EQ(lineCopy->endPoint(), Point3d(10, 0));
    auto circleCopy = openObject<Circle>(mapping.at(c), OpenMode::ForRead);
    EXPECT_EQ(circleCopy->color(), Color::fromRgb(10, 20, 30));
    EXPECT_DOUBLE_EQ(circleCopy->radius(), 2);
    // The sources are untouched.
    EXPECT_EQ(openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead)->entityCount(), 2u);
    EXPECT_EQ(db.deepCloneObjects({a}, a, mapping), ErrorStatus::NotThatKindOfClass);
}

}  // namespace
}  // namespace vela::db
