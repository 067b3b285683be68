#include <gtest/gtest.h>

#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/ellipse.h"
#include "db/entities/line.h"
#include "db/entities/mtext.h"
#include "db/entities/polyline.h"
#include "db/records/block_table_record.h"

namespace vela::db {
namespace {

// Groups where a writer put them rather than where the format has them, read into the fields they are for.

std::unique_ptr<Database> readClean(const std::string& entities) {
    DxfReadResult r = readDxf("0\nSECTION\n2\nENTITIES\n" + entities + "0\nENDSEC\n0\nEOF\n");
    EXPECT_TRUE(r.database) << (r.error ? r.error->text() : "");
    for (const std::string& w : r.warnings) ADD_FAILURE() << "warning: " << w;
    return std::move(r.database);
}

template <class T>
T* byHandle(Database& db, std::uint64_t handle) {
    return objectCast<T>(db.getObjectId(Handle(handle)).peek());
}

TEST(MisplacedGroups, CommonGroupsOutsideTheEntitySectionStillGiveLayerAndColor) {
    auto db = readClean(
        // Layer and color after the class's own marker.
        "0\nMTEXT\n5\nA1\n100\nAcDbEntity\n100\nAcDbMText\n8\nNotes\n62\n3\n10\n1\n20\n2\n30\n0\n40\n2."
        "5\n1\nHi\n"
        // The layer before any marker, and no AcDbEntity marker at all.
        "0\nLINE\n5\nA2\n8\nWalls\n100\nAcDbLine\n10\n0\n20\n0\n30\n0\n11\n1\n21\n1\n31\n0\n");
    ASSERT_TRUE(db);
    auto* mtext = byHandle<MText>(*db, 0xA1);
    ASSERT_TRUE(mtext);
    EXPECT_EQ(mtext->layer(), "Notes");
    EXPECT_EQ(mtext->color(), Color::fromIndex(3));
    EXPECT_EQ(mtext->contents(), "Hi");
    EXPECT_FALSE(mtext->extras() && !mtext->extras()->keptTags.empty())
        << "nothing is left over to write twice";
    auto* line = byHandle<Line>(*db, 0xA2);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->layer(), "Walls");
    EXPECT_EQ(line->endPoint(), Point3d(1, 1, 0));

    // Written back where they belong, they read the same.
    const std::string saved = writeDxf(*db);
    DxfReadResult again = readDxf(saved);
    ASSERT_TRUE(again.database);
    EXPECT_EQ(byHandle<MText>(*again.database, 0xA1)->layer(), "Notes");
    EXPECT_EQ(byHandle<Line>(*again.database, 0xA2)->layer(), "Walls");
}

// The saved text holds `groups` as they were read, and saving what it reads back gives the same text.
void expectWrittenAndKept(Database& db, const std::string& groups) {
    const std::string saved = writeDxf(db);
    EXPECT_NE(saved.find(groups), std::string::npos) << saved;
    DxfReadResult again = readDxf(saved);
    ASSERT_TRUE(again.database);
    EXPECT_EQ(writeDxf(*again.database), saved);
}

TEST(MisplacedGroups, AKindWeDoNotKnowKeepsItsOwnGroupsOfTheCommonCodes) {
    // Its own section may use the codes of color and linetype for its own values (as a style's elements do):
    // they stay where they are, and saving twice gives the same text.
    auto db = readClean(
        "0\nACME_STYLED\n5\nA3\n100\nAcDbEntity\n8\n0\n100\nAcDbAcmeStyled\n49\n0.5\n62\n256\n6\nBYLAYER\n"
        "49\n-0.5\n62\n1\n6\nDASHED\n");
    ASSERT_TRUE(db);
    auto* raw = byHandle<Entity>(*db, 0xA3);
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->color(), Color::byLayer());
    expectWrittenAndKept(*db, "49\n0.5\n 62\n256\n  6\nBYLAYER\n 49\n-0.5\n 62\n1\n  6\nDASHED\n");
}

TEST(MisplacedGroups, AnEmbeddedObjectKeepsItsOwnGroupsOfTheSameCodes) {
    // The column data after "101 Embedded Object" has a direction (11) of its own: the text, which gives
    // none, keeps its default rather than turning to the column's.
    auto db = readClean(
        "0\nMTEXT\n5\nA4\n100\nAcDbEntity\n8\n0\n100\nAcDbMText\n10\n1\n20\n2\n30\n0\n40\n2.5\n1\nHi\n"
        "101\nEmbedded Object\n70\n1\n10\n0\n20\n1\n30\n0\n11\n0\n21\n5\n31\n0\n");
    ASSERT_TRUE(db);
    auto* mtext = byHandle<MText>(*db, 0xA4);
    ASSERT_TRUE(mtext);
    EXPECT_EQ(mtext->direction(), Vector3d(1, 0, 0));
    expectWrittenAndKept(*db, "101\nEmbedded Object\n 70\n1\n 10\n0");
}

TEST(MisplacedGroups, AClassWithoutItsMarkerReadsItsGroupsFromTheRecord) {
    auto db = readClean(
        // A writer that gives only the AcDbEntity marker: the ellipse's groups follow the entity's.
        "0\nELLIPSE\n5\nB1\n100\nAcDbEntity\n8\nL1\n62\n15\n10\n-97."
        "5\n20\n0\n30\n0\n11\n24\n21\n0\n31\n0\n40\n0.5\n"
        "41\n0\n42\n3.14159\n"
        // A polyline without its AcDbPolyline marker; the entity's marker comes with its own groups only.
        "0\nLWPOLYLINE\n5\nB2\n100\nAcDbEntity\n8\nL2\n90\n3\n70\n1\n10\n0\n20\n0\n10\n5\n20\n0\n10\n5\n20\n5"
        "\n");
    ASSERT_TRUE(db);
    auto* ellipse = byHandle<Ellipse>(*db, 0xB1);
    ASSERT_TRUE(ellipse);
    EXPECT_EQ(ellipse->layer(), "L1");
    EXPECT_EQ(ellipse->center(), Point3d(-97.5, 0, 0));
    EXPECT_DOUBLE_EQ(ellipse->majorRadius(), 24);
    EXPECT_DOUBLE_EQ(ellipse->radiusRatio(), 0.5);
    auto* pl = byHandle<Polyline>(*db, 0xB2);
    ASSERT_TRUE(pl);
    EXPECT_EQ(pl->numVerts(), 3u);
    EXPECT_TRUE(pl->isClosed());
    Extents3d box;
    ASSERT_EQ(pl->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_EQ(box.maxPoint(), Point3d(5, 5, 0));
}

TEST(MisplacedGroups, DecimalCommasAreNumbers) {
    auto db = readClean(
        "0\nLINE\n5\nC1\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n1,5\n20\n-2,25\n30\n0\n11\n 3,0 \n"
        "21\n4\n31\n0\n");
    ASSERT_TRUE(db);
    auto* line = byHandle<Line>(*db, 0xC1);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->startPoint(), Point3d(1.5, -2.25, 0));
    EXPECT_EQ(line->endPoint(), Point3d(3, 4, 0));
    // Two commas are no number, whichever locale wrote them.
    DxfReadResult r = readDxf(
        "0\nSECTION\n2\nENTITIES\n0\nLINE\n5\nC2\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n1,5,0\n"
        "20\n0\n30\n0\n11\n1\n21\n1\n31\n0\n0\nENDSEC\n0\nEOF\n");
    ASSERT_TRUE(r.database);
    ASSERT_EQ(r.warnings.size(), 1u);
    EXPECT_NE(r.warnings[0].find("line 15"), std::string::npos) << r.warnings[0];
}

}  // namespace
}  // namespace vela::db
