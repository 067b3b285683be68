#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/ellipse.h"
#include "db/entities/hatch.h"
#include "db/entities/line.h"
#include "db/entities/mtext.h"
#include "db/entities/point.h"
#include "db/entities/polyline.h"
#include "db/entities/spline.h"
#include "db/entities/text.h"
#include "db/raw_object.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"

namespace vela::db {
namespace {

namespace fs = std::filesystem;

// A drawing with one entity of every modelled type, on assorted layers and with assorted properties.
std::unique_ptr<Database> makeSample() {
    auto db = std::make_unique<Database>();
    ObjectId walls, hidden;
    auto layer = std::make_unique<LayerTableRecord>("Walls");
    layer->setColor(Color::fromRgb(200, 100, 50));
    layer->setTransparency(Transparency::fromAlpha(128));
    layer->setIsLocked(true);
    db->addRecord(db->layerTableId(), std::move(layer), &walls);
    auto off = std::make_unique<LayerTableRecord>("Hidden Stuff");
    off->setIsOff(true);
    off->setIsFrozen(true);
    off->setColor(Color::fromIndex(5));
    off->setLineWeight(LineWeight::W050);
    db->addRecord(db->layerTableId(), std::move(off), &hidden);
    db->setMeasurement(MeasurementSystem::Imperial);

    const ObjectId ms = db->modelSpaceId();
    auto line = std::make_unique<Line>(Point3d(0.1, 0.2, 0.3), Point3d(1e6 / 3, -2, 0));
    line->setLayerId(walls);
    line->setColor(Color::fromIndex(1));
    line->setLineWeight(LineWeight::W035);
    line->setLinetypeScale(2.5);
    line->setTransparency(Transparency::fromAlpha(77));
    db->appendEntity(ms, std::move(line));
    auto circle = std::make_unique<Circle>(Point3d(5, 5, 1), 2.5);
    circle->setNormal(Vector3d(0, 1, 1));
    circle->setColor(Color::fromRgb(1, 2, 3));
    db->appendEntity(ms, std::move(circle));
    auto arc = std::make_unique<Arc>(Point3d(1, 2), 3, 0.5, 4.0);
    arc->setLayerId(hidden);
    db->appendEntity(ms, std::move(arc));
    auto pl = std::make_unique<Polyline>();
    pl->addVertexAt(0, {0, 0}, 0.5, 0.1, 0.2);
    pl->addVertexAt(1, {10, 0});
    pl->addVertexAt(2, {10, 10}, -1);
    pl->setClosed(true);
    pl->setElevation(3);
    db->appendEntity(ms, std::move(pl));
    auto ellipse = std::make_unique<Ellipse>();
    ellipse->set(Point3d(3, 3), Vector3d::zAxis(), Vector3d(4, 1, 0), 0.25, 0.5, 2.5);
    db->appendEntity(ms, std::move(ellipse));
    db->appendEntity(ms, std::make_unique<PointEntity>(Point3d(7, 8, 9)));
    auto text = std::make_unique<Text>(Point3d(1, 1), "Größe ±5 °C", 2.5);
    text->setRotation(0.25);
    text->setHorizontalMode(Text::HorizontalMode::Center);
    text->setAlignmentPoint(Point3d(3, 1));
    db->appendEntity(ms, std::move(text));
    auto mtext = std::make_unique<MText>();
    mtext->setContents(std::string("{\\fArial;Room}\\PKitchen ") + std::string(600, 'x'));
    mtext->setLocation(Point3d(20, 20));
    mtext->setAttachment(MText::Attachment::MiddleCenter);
    db->appendEntity(ms, std::move(mtext));
    auto spline = std::make_unique<Spline>();
    spline->setNurbsData(3, {{0, 0}, {1, 2}, {3, 3}, {4, 0}}, {0, 0, 0, 0, 1, 1, 1, 1}, {1, 0.5, 2, 1});
    db->appendEntity(ms, std::move(spline));

    ObjectId block;
    auto btr = std::make_unique<BlockTableRecord>("Chair");
    btr->setOrigin(Point3d(1, 1));
    db->addRecord(db->blockTableId(), std::move(btr), &block);
    db->appendEntity(block, std::make_unique<Circle>(Point3d(1, 1), 0.5));
    auto insert = std::make_unique<BlockReference>(Point3d(50, 60), block);
    insert->setScaleFactors(Vector3d(2, -2, 1));
    insert->setRotation(1.0);
    db->appendEntity(ms, std::move(insert));

    auto hatch = std::make_unique<Hatch>();
    hatch->setPattern(Hatch::PatternType::Predefined, "ANSI31");
    hatch->setPatternScale(2);
    hatch->setPatternAngle(0.5);
    hatch->setPatternLines({{0.7853981633974483, {0, 0}, {-0.1, 0.1}, {}}});
    HatchLoop outer;
    outer.flags = HatchLoop::kExternal | HatchLoop::kPolyline;
    outer.vertices = {{{0, 0}, 0}, {{4, 0}, 0.5}, {{4, 4}, 0}, {{0, 4}, 0}};
    hatch->appendLoop(outer);
    HatchLoop edges;
    edges.flags = 0;
    HatchEdge a;
    a.type = HatchEdge::Type::CircularArc;
    a.center = {2, 2}, a.radius = 1, a.startAngle = 0.2, a.endAngle = 1.2, a.counterClockwise = false;
    edges.edges.push_back(a);
    HatchEdge l;
    l.start = {1, 1}, l.end = {2, 1};
    edges.edges.push_back(l);
    hatch->appendLoop(edges);
    db->appendEntity(ms, std::move(hatch));
    db->appendEntity(db->paperSpaceId(), std::make_unique<Line>(Point3d(0, 0), Point3d(297, 210)));
    return db;
}

template <class T>
T* entityAt(Database&, ObjectId space, std::size_t index) {
    auto btr = openObject<BlockTableRecord>(space, OpenMode::ForRead);
    const auto ids = btr->entityIds();
    return index < ids.size() ? objectCast<T>(ids[index].peek()) : nullptr;
}

TEST(DxfFile, HandlesAreKeptAndSavingTwiceGivesTheSameText) {
    auto db = makeSample();
    const std::string first = writeDxf(*db);
    DxfReadResult r = readDxf(first);
    ASSERT_TRUE(r.database);
    db->forEachObject([&](DbObject* o) {
        if (o->isErased()) return;
        const ObjectId twin = r.database->getObjectId(o->handle());
        ASSERT_FALSE(twin.isNull()) << o->isA()->name() << " " << o->handle().toText();
        EXPECT_STREQ(twin.peek()->isA()->name(), o->isA()->name());
    });
    const std::string second = writeDxf(*r.database);
    if (second != first) {
        std::size_t at = 0;
        while (at < first.size() && at < second.size() && first[at] == second[at]) ++at;
        ADD_FAILURE() << "saves differ at byte " << at << ":\n" << first.substr(at > 80 ? at - 80 : 0, 200)
                      << "\n----\n" << second.substr(at > 80 ? at - 80 : 0, 200);
    }
    EXPECT_GE(r.database->handseed(), db->handseed()) << "new handles continue above every handle read";
}

TEST(DxfFile, AnglesWithinRoundingOfZeroSaveAsTheSecondSaveDoes) {
    // Rotations a hair off zero (from a transformation's rounding) print as whole degrees: not as "-0.0", and
    // not at all where zero is the default, as they will once read back.
    auto db = makeSample();
    for (double hair : {-1.2e-16, 1.2e-16}) {
        auto text = std::make_unique<Text>();
        text->setRotation(hair);
        ASSERT_EQ(db->appendEntity(db->modelSpaceId(), std::move(text)), ErrorStatus::Ok);
    }
    const std::string first = writeDxf(*db);
    EXPECT_EQ(first.find("-0.0\n"), std::string::npos);
    DxfReadResult r = readDxf(first);
    ASSERT_TRUE(r.database);
    EXPECT_EQ(writeDxf(*r.database), first);
}

TEST(DxfFile, HandlesFreedBeforeSavingAreNotGivenAgainAfterReading) {
    auto db = makeSample();
    const Handle seed = db->handseed();
    {
        // A handle taken and given back: the object is gone, the handle stays used.
        ObjectId id;
        ASSERT_EQ(db->appendEntity(db->modelSpaceId(), std::make_unique<Line>(), &id), ErrorStatus::Ok);
        auto line = openObject<Line>(id, OpenMode::ForWrite);
        ASSERT_EQ(line->erase(), ErrorStatus::Ok);
    }
    const std::string saved = writeDxf(*db);
    DxfReadResult r = readDxf(saved);
    ASSERT_TRUE(r.database);
    EXPECT_GT(r.database->handseed().value(), seed.value());
    EXPECT_EQ(writeDxf(*r.database), saved);

    // A seed at the end of the handle range would leave no handle for the next object: it is not taken.
    std::string spoilt = saved;
    const std::size_t at = spoilt.find("$HANDSEED\n  5\n") + 15;
    spoilt.replace(at, spoilt.find('\n', at) - at, "FFFFFFFFFFFFFFF0");
    DxfReadResult s = readDxf(spoilt);
    ASSERT_TRUE(s.database);
    EXPECT_LT(s.database->handseed().value(), 0x1000000u);
}

struct BadInput {
    const char* name;
    std::string text;
    const char* expected;  // part of the error text, with the line where it applies
    // Where a tolerant read repairs it instead, if it can ("line 9: "); null for input cut short or no DXF.
    const char* repairedAt = nullptr;
};

TEST(DxfFile, WhatIsNoRegularFileIsRefusedWithoutWaiting) {
    // A named pipe nobody writes to would block a plain open for ever.
    const std::filesystem::path fifo =
        std::filesystem::temp_directory_path() / ("vela_fifo_" + std::to_string(::getpid()) + ".dxf");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const DxfReadResult fromFifo = readDxfFile(fifo);
    std::filesystem::remove(fifo);
    ASSERT_TRUE(fromFifo.error.has_value());
    EXPECT_NE(fromFifo.error->message.find("not a regular file"), std::string::npos) << fromFifo.error->message;
    EXPECT_TRUE(readDxfFile(std::filesystem::temp_directory_path()).error.has_value()) << "nor is a folder";
}

TEST(DxfFile, MalformedInputIsAnErrorWithItsLineNeverACrash) {
    const std::string head = "0\nSECTION\n2\nENTITIES\n";
    const std::vector<BadInput> cases = {
        {"empty", "", "not a DXF file"},
        {"not dxf", "hello world\nthis is text\n", "line 1"},
        {"truncated in entity", head + "0\nLINE\n5\nA\n10\n1.0\n20", "group code 20"},
        {"truncated after code", head + "0\nLINE\n8\n", "line"},
        {"no section name", "0\nSECTION\n5\nX\n", "line 3: expected the section name"},
        {"bad group code", head + "0\nLINE\nabc\n1\n", "line 7"},
        {"code out of range", head + "0\nLINE\n99999999\n1\n", "line 7"},
        {"missing ENDSEC", head + "0\nLINE\n8\n0\n0\nEOF\n", "unexpected EOF", "line 9: "},
        {"stray group", "0\nSECTION\n2\nENTITIES\n8\nlayer\n", "line 5: expected an entity"},
        {"header before name", "0\nSECTION\n2\nHEADER\n0\nLINE\n", "line 5", "line 5: "},
        {"block without name", "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n8\n0\n0\nENDBLK\n0\nENDSEC\n0\nEOF\n",
         "BLOCK without a name", "line 5: "},
    };
    for (const BadInput& c : cases) {
        DxfReadResult r = readDxf(c.text, {}, {.strict = true});
        EXPECT_FALSE(r.database) << c.name;
        ASSERT_TRUE(r.error.has_value()) << c.name;
        EXPECT_NE(r.error->text().find(c.expected), std::string::npos) << c.name << ": " << r.error->text();
        // Read tolerantly, a damaged structure is repaired where it is (reported at the same line); what is
        // cut short or no DXF at all is refused all the same.
        DxfReadResult tolerant = readDxf(c.text);
        EXPECT_EQ(tolerant.database != nullptr, c.repairedAt != nullptr) << c.name;
        if (!c.repairedAt) continue;
        bool reported = false;
        for (const std::string& w : tolerant.warnings) reported = reported || w.starts_with(c.repairedAt);
        EXPECT_TRUE(reported) << c.name << ": no warning at " << c.repairedAt;
    }
}

TEST(DxfFile, BadValuesAndHugeCountsAreReportedAndSurvived) {
    const std::string dxf =
        "0\nSECTION\n2\nENTITIES\n"
        "0\nLINE\n5\n10\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\nnot-a-number\n20\n0\n11\n1\n21\n1\n"
        "0\nLWPOLYLINE\n5\n11\n100\nAcDbEntity\n8\n0\n100\nAcDbPolyline\n90\n2147483647\n70\n0\n10\n1\n20\n2\n"
        "0\nHATCH\n5\n12\n100\nAcDbEntity\n8\n0\n100\nAcDbHatch\n10\n0\n20\n0\n30\n0\n2\nSOLID\n70\n1\n91\n"
        "2000000000\n92\n2\n72\n0\n73\n1\n93\n999999999\n10\n0\n20\n0\n0\nLINE\n5\n10\n8\n0\n"
        "0\nENDSEC\n0\nEOF\n";
    DxfReadResult r = readDxf(dxf);
    ASSERT_TRUE(r.database) << r.error->text();
    ASSERT_FALSE(r.warnings.empty());
    EXPECT_NE(r.warnings[0].find("line 15"), std::string::npos) << r.warnings[0];
    auto* pl = objectCast<Polyline>(r.database->getObjectId(Handle(0x11)).peek());
    ASSERT_TRUE(pl);
    EXPECT_EQ(pl->numVerts(), 1u) << "a count is a claim, not a reason to allocate";
    auto* hatch = objectCast<Hatch>(r.database->getObjectId(Handle(0x12)).peek());
    ASSERT_TRUE(hatch);
    EXPECT_EQ(hatch->numLoops(), 1u);
    bool duplicateWarned = false;
    for (const std::string& w : r.warnings) duplicateWarned = duplicateWarned || w.find("used twice") != std::string::npos;
    EXPECT_TRUE(duplicateWarned);
    EXPECT_EQ(openObject<BlockTableRecord>(r.database->modelSpaceId(), OpenMode::ForRead)->entityCount(), 4u);
}

TEST(DxfFile, BlockCyclesLoadAndMeasureWithoutHanging) {
    // Block A holds two references to B, B two to A: a cycle that also branches.
    const std::string dxf =
        "0\nSECTION\n2\nBLOCKS\n"
        "0\nBLOCK\n8\n0\n2\nA\n70\n0\n10\n0\n20\n0\n30\n0\n"
        "0\nINSERT\n8\n0\n2\nB\n10\n1\n20\n0\n30\n0\n0\nINSERT\n8\n0\n2\nB\n10\n2\n20\n0\n30\n0\n0\nENDBLK\n8\n0\n"
        "0\nBLOCK\n8\n0\n2\nB\n70\n0\n10\n0\n20\n0\n30\n0\n"
        "0\nLINE\n8\n0\n10\n0\n20\n0\n30\n0\n11\n1\n21\n1\n31\n0\n"
        "0\nINSERT\n8\n0\n2\nA\n10\n0\n20\n5\n30\n0\n0\nINSERT\n8\n0\n2\nA\n10\n0\n20\n6\n30\n0\n0\nENDBLK\n8\n0\n"
        "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n0\nINSERT\n8\n0\n2\nA\n10\n0\n20\n0\n30\n0\n0\nENDSEC\n0\nEOF\n";
    DxfReadResult r = readDxf(dxf);
    ASSERT_TRUE(r.database) << r.error->text();
    auto* insert = entityAt<BlockReference>(*r.database, r.database->modelSpaceId(), 0);
    ASSERT_TRUE(insert);
    Extents3d box;
    EXPECT_EQ(insert->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.contains(Point3d(2, 1))) << "the line of B inserted at (1,0) and (2,0)";
    EXPECT_EQ(writeDxf(*r.database).empty(), false);
}

TEST(DxfFile, OlderFilesAndCodePagesDecodeToUtf8) {
    const std::string r12 =
        "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n9\n$DWGCODEPAGE\n3\nANSI_1252\n0\nENDSEC\n"
        "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n70\n1\n0\nLAYER\n2\nW\xe4nde\n70\n0\n62\n-3\n6\nCONTINUOUS\n"
        "0\nENDTAB\n0\nENDSEC\n"
        "0\nSECTION\n2\nENTITIES\n0\nTEXT\n8\nW\xe4nde\n10\n1\n20\n2\n30\n0\n40\n2.5\n1\n\xd8 20 \\U+2205\n"
        "0\nLINE\n8\n0\n67\n1\n10\n0\n20\n0\n30\n0\n11\n1\n21\n1\n31\n0\n0\nENDSEC\n0\nEOF\n";
    DxfReadResult r = readDxf(r12);
    ASSERT_TRUE(r.database) << r.error->text();
    EXPECT_EQ(r.database->measurement(), MeasurementSystem::Imperial);
    const ObjectId layerId = r.database->layerTable()->getAt("Wände");
    ASSERT_FALSE(layerId.isNull());
    auto* layer = objectCast<LayerTableRecord>(layerId.peek());
    EXPECT_TRUE(layer->isOff());
    EXPECT_EQ(layer->color(), Color::fromIndex(3));
    auto* text = entityAt<Text>(*r.database, r.database->modelSpaceId(), 0);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->textString(), "Ø 20 ∅");
    EXPECT_EQ(text->layerId(), layerId);
    EXPECT_EQ(openObject<BlockTableRecord>(r.database->paperSpaceId(), OpenMode::ForRead)->entityCount(), 1u);
    // Saved as R2018 in UTF-8, it reads back the same.
    DxfReadResult again = readDxf(writeDxf(*r.database));
    ASSERT_TRUE(again.database);
    EXPECT_FALSE(again.database->layerTable()->getAt("Wände").isNull());
}

TEST(DxfFile, ProgressIsReportedUpToTheWholeFile) {
    auto db = std::make_unique<Database>();
    for (int i = 0; i < 30000; ++i)
        db->appendEntity(db->modelSpaceId(), std::make_unique<Line>(Point3d(i, 0), Point3d(i, 1)));
    const std::string text = writeDxf(*db);
    std::vector<std::size_t> seen;
    DxfReadResult r = readDxf(text, [&](std::size_t done, std::size_t total) {
        EXPECT_EQ(total, text.size());
        seen.push_back(done);
    });
    ASSERT_TRUE(r.database);
    ASSERT_GE(seen.size(), 2u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(seen.back(), text.size());
}

TEST(DxfFile, SavingIsAtomic) {
    const fs::path dir = fs::temp_directory_path() / ("vela_save_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    const fs::path target = dir / "drawing.dxf";
    {
        std::ofstream(target) << "old contents";
    }
    auto db = makeSample();
    SaveResult bad = saveDxfFile(*db, dir / "missing-folder" / "x.dxf");
    EXPECT_FALSE(bad.ok);
    EXPECT_FALSE(bad.error.empty());
    SaveResult ok = saveDxfFile(*db, target);
    ASSERT_TRUE(ok.ok) << ok.error;
    DxfReadResult r = readDxfFile(target);
    EXPECT_TRUE(r.database);
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator(dir)) files += entry.is_regular_file() ? 1 : 0;
    EXPECT_EQ(files, 1u) << "no temporary file is left behind";
    fs::remove_all(dir);
}

}  // namespace
}  // namespace vela::db

namespace vela::db {
namespace {

// Inputs the fuzzer once broke the reader with: each must now load or be refused cleanly, and a loaded one must
// save the same text twice.
TEST(DxfFile, FuzzRegressionsStayFixed) {
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VELA_SOURCE_DIR "/fuzz/corpus")) {
        std::ifstream in(entry.path(), std::ios::binary);
        const std::string data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        DxfReadResult r = readDxf(data);
        ++files;
        EXPECT_NE(static_cast<bool>(r.database), r.error.has_value()) << entry.path();
        if (!r.database) continue;
        const std::string saved = writeDxf(*r.database);
        DxfReadResult again = readDxf(saved);
        ASSERT_TRUE(again.database) << entry.path() << ": " << again.error->text();
        EXPECT_EQ(writeDxf(*again.database), saved) << entry.path();
    }
    EXPECT_GE(files, 1u);
}

}  // namespace
}  // namespace vela::db

namespace vela::db {
namespace {

// A drawing made by our own code, saved, must load in ezdxf with a clean audit and the same entities.
}  // namespace
}  // namespace vela::db
