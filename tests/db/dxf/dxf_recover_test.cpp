#include <gtest/gtest.h>

#include <algorithm>

#include "binary_dxf_builder.h"
#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/line.h"
#include "db/entities/mtext.h"
#include "db/raw_object.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"

namespace vela::db {
namespace {

// Damaged files that a tolerant reader can still make sense of: each repair is made where the damage is and
// reported with its line; a strict read refuses them.

/// The line a piece of the text starts on.
std::string lineOf(const std::string& text, const std::string& piece) {
    const std::size_t at = text.find(piece);
    EXPECT_NE(at, std::string::npos) << piece;
    return "line " +
           std::to_string(1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
}

/// The warning that starts with `where` and mentions `what`; empty when there is none.
std::string warningAt(const DxfReadResult& r, const std::string& where, const std::string& what) {
    for (const std::string& w : r.warnings)
        if (w.starts_with(where + ": ") && w.find(what) != std::string::npos) return w;
    std::string all;
    for (const std::string& w : r.warnings) all += "\n  " + w;
    ADD_FAILURE() << "no warning at " << where << " about '" << what << "'; warnings:" << all;
    return {};
}

DxfReadResult readAgain(Database& db) {
    DxfReadResult r = readDxf(writeDxf(db));
    EXPECT_TRUE(r.database) << (r.error ? r.error->text() : "");
    for (const std::string& w : r.warnings) ADD_FAILURE() << "the saved file still needs repairs: " << w;
    return r;
}

TEST(DxfRecover, MisplacedStructureIsReadWhereItBelongsOrRefusedWhenStrict) {
    const std::string straySection = "0\nSECTION\n2\nENTITIES\n8\nstray\n62\n1\n";
    const std::string strayLayer = "0\nLAYER\n5\n11\n2\nWalls\n70\n0\n62\n3\n6\nCONTINUOUS\n";
    const std::string strayBlockRecord = "0\nBLOCK_RECORD\n5\n20\n2\nBlk\n70\n0\n";
    const std::string lateHeader = "9\n$LTSCALE\n40\n2.5\n";
    const std::string text =
        "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n5\n2\n70\n1\n0\nLAYER\n5\n10\n2\n0\n70\n0\n62\n7\n6\nCONT"
        "INUOUS\n"
        "0\nENDTAB\n" +
        strayLayer + "0\nENDTAB\n" + strayBlockRecord + "0\nENDTAB\n0\nENDSEC\n" +
        // A block whose record came without its table; groups where the first entity should be.
        "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n5\n21\n8\n0\n2\nBlk\n70\n0\n10\n0\n20\n0\n30\n0\n"
        "0\nCIRCLE\n5\n22\n8\n0\n10\n0\n20\n0\n30\n0\n40\n1\n0\nENDBLK\n5\n23\n8\n0\n0\nENDSEC\n" +
        straySection + "0\nLINE\n5\n30\n8\nWalls\n10\n0\n20\n0\n30\n0\n11\n4\n21\n3\n31\n0\n0\nENDSEC\n" +
        // Header variables after the last section, closed by an ENDSEC of their own.
        lateHeader + "0\nENDSEC\n0\nEOF\n";

    DxfReadResult strict = readDxf(text, {}, {.strict = true});
    ASSERT_FALSE(strict.database);
    EXPECT_EQ(strict.error->text().substr(0, lineOf(text, strayLayer).size() + 1),
              lineOf(text, strayLayer) + ":")
        << strict.error->text();

    DxfReadResult r = readDxf(text);
    ASSERT_TRUE(r.database) << r.error->text();
    Database& db = *r.database;
    warningAt(r, lineOf(text, strayLayer), "outside their table");
    warningAt(r, lineOf(text, strayBlockRecord), "outside their table");
    warningAt(r, lineOf(text, "8\nstray"), "skipped");
    warningAt(r, lineOf(text, lateHeader), "outside the HEADER section");

    const ObjectId walls = db.layerTable()->getAt("Walls");
    ASSERT_FALSE(walls.isNull());
    EXPECT_EQ(objectCast<LayerTableRecord>(walls.peek())->color(), Color::fromIndex(3));
    EXPECT_EQ(walls.handle(), Handle(0x11));
    const ObjectId blk = db.blockTable()->getAt("Blk");
    ASSERT_FALSE(blk.isNull());
    EXPECT_EQ(blk.handle(), Handle(0x20)) << "the record of the block keeps its handle";
    EXPECT_EQ(openObject<BlockTableRecord>(blk, OpenMode::ForRead)->entityCount(), 1u);
    auto model = openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead);
    ASSERT_EQ(model->entityCount(), 1u);
    EXPECT_EQ(objectCast<Line>(model->entityIds()[0].peek())->layerId(), walls);
    EXPECT_EQ(db.linetypeScale(), 2.5);

    DxfReadResult again = readAgain(db);
    ASSERT_TRUE(again.database);
    EXPECT_EQ(again.database->linetypeScale(), 2.5);
    EXPECT_FALSE(again.database->blockTable()->getAt("Blk").isNull());
}

// A drawing whose block records have no handles: the layouts point at handles that name nothing.
const std::string kLayoutsWithoutBlockHandles =
    "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n0\nENDSEC\n"
    "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nBLOCK_RECORD\n5\n1\n100\nAcDbSymbolTable\n70\n2\n"
    "0\nBLOCK_RECORD\n100\nAcDbSymbolTableRecord\n100\nAcDbBlockTableRecord\n2\n*Model_Space\n340\n22\n"
    "0\nBLOCK_RECORD\n100\nAcDbSymbolTableRecord\n100\nAcDbBlockTableRecord\n2\n*Paper_Space\n"
    "0\nENDTAB\n0\nENDSEC\n"
    "0\nSECTION\n2\nOBJECTS\n"
    "0\nDICTIONARY\n5\nC\n330\n0\n100\nAcDbDictionary\n281\n1\n3\nACAD_"
    "LAYOUT\n350\n1A\n3\nMYDATA\n350\n40\n3\nMORE\n350\n41\n"
    "0\nDICTIONARY\n5\n1A\n330\nC\n100\nAcDbDictionary\n281\n1\n3\nLayout1\n350\n1E\n3\nModel\n350\n22\n"
    "0\nLAYOUT\n5\n1E\n330\n1A\n100\nAcDbPlotSettings\n1\n\n100\nAcDbLayout\n1\nLayout1\n70\n1\n71\n1\n330\n1"
    "F\n"
    "0\nLAYOUT\n5\n22\n330\n1A\n100\nAcDbPlotSettings\n1\n\n100\nAcDbLayout\n1\nModel\n70\n1\n71\n0\n330\n1B"
    "\n"
    "0\nXRECORD\n5\n40\n100\nAcDbXrecord\n1\nkept\n"
    "0\nXRECORD\n5\n41\n330\n99\n100\nAcDbXrecord\n1\nmore\n"
    "0\nENDSEC\n0\nEOF\n";

/// The block record pointer of a layout (the 330 of its AcDbLayout section) as the layout keeps it.
std::string layoutPointer(Database& db, std::uint64_t layout) {
    auto* raw = objectCast<RawObject>(db.getObjectId(Handle(layout)).peek());
    if (!raw) return "no layout";
    bool inLayout = false;
    for (const DxfTag& t : raw->groups()) {
        inLayout = t.code == 100 ? t.value == "AcDbLayout" : inLayout;
        if (inLayout && t.code == 330) return t.value;
    }
    return "none";
}

TEST(DxfRecover, ObjectsWithoutHandlesGetOneAndWhatPointsAtThemFollows) {
    const std::string& text = kLayoutsWithoutBlockHandles;
    DxfReadResult r = readDxf(text);
    ASSERT_TRUE(r.database) << r.error->text();
    Database& db = *r.database;
    warningAt(
        r, lineOf(text, "0\nBLOCK_RECORD\n100\nAcDbSymbolTableRecord\n100\nAcDbBlockTableRecord\n2\n*Model"),
        "no handle");

    // Model space said which layout it has; the layout's pointer now names model space's new handle.
    auto model = openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead);
    ASSERT_FALSE(model->handle().isNull());
    EXPECT_EQ(model->layoutId().handle(), Handle(0x22));
    EXPECT_EQ(layoutPointer(db, 0x22), model->handle().toText());
    warningAt(r, lineOf(text, "0\nLAYOUT\n5\n22"), "1B");
    // The paper space record gave no layout pointer: the layout that names it... names nothing (1F); the
    // layout it shows is not guessed. Its record still gets a handle of its own, above every handle of the
    // file.
    EXPECT_GT(openObject<BlockTableRecord>(db.paperSpaceId(), OpenMode::ForRead)->handle().value(), 0x41u);

    // One XRECORD came without an owner, one with an owner the file does not have: the dictionary that lists
    // them is their owner.
    for (std::uint64_t h : {0x40, 0x41}) {
        const ObjectId xrecord = db.getObjectId(Handle(h));
        ASSERT_FALSE(xrecord.isNull());
        EXPECT_EQ(xrecord.peek()->ownerId().handle(), Handle(0xC));
    }
    warningAt(r, lineOf(text, "0\nXRECORD\n5\n40"), "no owner");
    warningAt(r, lineOf(text, "0\nXRECORD\n5\n41"), "(99)");
    EXPECT_EQ(objectCast<RawObject>(db.getObjectId(Handle(0x41)).peek())->groups().front(),
              (DxfTag{100, "AcDbXrecord"}))
        << "the owner the file named is not kept besides";

    // Saved and read again, nothing is left to repair.
    DxfReadResult again = readAgain(db);
    ASSERT_TRUE(again.database);
    auto model2 = openObject<BlockTableRecord>(again.database->modelSpaceId(), OpenMode::ForRead);
    EXPECT_EQ(layoutPointer(*again.database, 0x22), model2->handle().toText());
    EXPECT_EQ(again.database->getObjectId(Handle(0x40)).peek()->ownerId().handle(), Handle(0xC));
}

TEST(DxfRecover, ABlockRecordThatLostItsLayoutPointerGetsTheLayoutThatNamesIt) {
    std::string text = kLayoutsWithoutBlockHandles;
    // Paper space keeps a handle now, which its layout names; it has no pointer back.
    text.replace(text.find("2\n*Paper_Space\n"), 15, "5\n1F\n2\n*Paper_Space\n");
    DxfReadResult r = readDxf(text);
    ASSERT_TRUE(r.database) << r.error->text();
    auto paper = openObject<BlockTableRecord>(r.database->paperSpaceId(), OpenMode::ForRead);
    EXPECT_EQ(paper->handle(), Handle(0x1F));
    EXPECT_EQ(paper->layoutId().handle(), Handle(0x1E));
    warningAt(r,
              lineOf(text, "0\nBLOCK_RECORD\n100\nAcDbSymbolTableRecord\n100\nAcDbBlockTableRecord\n5\n1F"),
              "no layout pointer");
}

TEST(DxfRecover, AModelSpaceUnderAnAnonymousNameIsModelSpace) {
    const std::string text =
        "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nBLOCK_RECORD\n5\n1\n100\nAcDbSymbolTable\n70\n1\n"
        "0\nBLOCK_RECORD\n5\n1F\n100\nAcDbSymbolTableRecord\n100\nAcDbBlockTableRecord\n2\n*U2\n70\n0\n"
        "1001\nACAD\n1000\n*Model_Space\n0\nENDTAB\n0\nENDSEC\n"
        "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n5\n20\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockBegin\n2\n*"
        "U2\n70\n1\n"
        "10\n0\n20\n0\n30\n0\n3\n*"
        "U2\n1\n\n0\nENDBLK\n5\n21\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbBlockEnd\n"
        "0\nENDSEC\n"
        "0\nSECTION\n2\nENTITIES\n0\nLINE\n5\n30\n330\n1F\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n0\n20\n0"
        "\n30\n0\n"
        "11\n1\n21\n1\n31\n0\n0\nENDSEC\n0\nEOF\n";
    DxfReadResult r = readDxf(text);
    ASSERT_TRUE(r.database) << r.error->text();
    Database& db = *r.database;
    EXPECT_EQ(db.modelSpaceId().handle(), Handle(0x1F));
    EXPECT_TRUE(db.blockTable()->getAt("*U2").isNull()) << "no block of that name is left";
    EXPECT_EQ(openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead)->entityCount(), 1u);
    warningAt(r, lineOf(text, "0\nBLOCK_RECORD\n5\n1F"), "model space");

    DxfReadResult again = readAgain(db);
    ASSERT_TRUE(again.database);
    EXPECT_EQ(openObject<BlockTableRecord>(again.database->modelSpaceId(), OpenMode::ForRead)->entityCount(),
              1u);
}

TEST(DxfRecover, ValuesKeptAsTextAreRepairedSoTheSavedFileReadsAgain) {
    const std::string huge(5u << 20, 'x');
    const std::string thing = "0\nACME_THING\n5\n50\n100\nAcDbEntity\n8\n0\n100\nAcDbAcmeThing\n";
    const std::string text =
        "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n9\n$ANGBASE\n9\n$LTSCALE\n40\n0,5\n9\n$USERR1\n40\n1."
        "2.3\n"
        "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n" +
        thing + "40\n--1\n41\n1.2.3\n42\n2,25\n70\n" + huge + "\n290\nyes\n340\nxyz\n1\n" +
        std::string("a\0b", 3) + "\n1001\nACME\n1040\n3,5\n1070\n1.5\n0\nENDSEC\n0\nEOF\n";
    DxfReadResult r = readDxf(text);
    ASSERT_TRUE(r.database) << r.error->text();
    Database& db = *r.database;
    warningAt(r, lineOf(text, "9\n$ANGBASE"), "no value");
    warningAt(r, lineOf(text, "9\n$USERR1"), "1.2");
    const std::string at = lineOf(text, thing);
    for (const char* what : {"'--1'", "'1.2.3'", "'xxxx", "'yes'", "'xyz'", "group 1070"})
        warningAt(r, at, what);
    warningAt(r, lineOf(text, "1\na"), "NUL");
    EXPECT_EQ(db.linetypeScale(), 0.5) << "a decimal comma in a header variable";

    auto* thingEntity = objectCast<RawEntity>(db.getObjectId(Handle(0x50)).peek());
    ASSERT_TRUE(thingEntity);
    std::vector<DxfTag> expected = {
        {100, "AcDbAcmeThing"}, {40, "0"}, {41, "1.2"}, {42, "2.25"}, {70, "0"}, {290, "0"}, {1, "ab"}};
    EXPECT_EQ(thingEntity->extras()->keptTags, expected);
    std::vector<DxfTag> xdata = {{1001, "ACME"}, {1040, "3.5"}, {1070, "1"}};
    EXPECT_EQ(thingEntity->extras()->xdata, xdata);

    const std::string saved = writeDxf(db);
    EXPECT_EQ(saved.find("$ANGBASE"), std::string::npos);
    EXPECT_EQ(saved.find(','), std::string::npos) << "no number is written with a comma";
    EXPECT_NE(saved.find("$LTSCALE\n 40\n0.5\n"), std::string::npos);
    EXPECT_LT(saved.size(), 1u << 20);
    DxfReadResult again = readAgain(db);
    ASSERT_TRUE(again.database);
    EXPECT_EQ(again.database->linetypeScale(), 0.5);
}

TEST(DxfRecover, LineBreaksInTextOfBinaryFilesTakeTheirAsciiForm) {
    // Binary files carry text with line breaks as they are; written as ASCII they would end the line.
    dxf::BinaryDxf f;
    f.str(0, "SECTION").str(2, "ENTITIES");
    f.str(0, "MTEXT").str(5, "A1").str(100, "AcDbEntity").str(8, "0").str(100, "AcDbMText");
    f.num(10, 0.0).num(20, 0.0).num(30, 0.0).num(40, 2.5).str(1, "two\r\nlines");
    f.str(0, "FCF_LIKE").str(5, "A2").str(100, "AcDbEntity").str(8, "0").str(1, "a\nb");
    f.str(0, "ENDSEC").str(0, "EOF");
    DxfReadResult r = readDxf(f.data);
    ASSERT_TRUE(r.database) << r.error->text();
    EXPECT_TRUE(r.warnings.empty()) << r.warnings.front();
    EXPECT_EQ(objectCast<MText>(r.database->getObjectId(Handle(0xA1)).peek())->contents(), "two^M^Jlines");
    const std::string saved = writeDxf(*r.database);
    EXPECT_NE(saved.find("\na^Jb\n"), std::string::npos);
    readAgain(*r.database);
}

}  // namespace
}  // namespace vela::db
