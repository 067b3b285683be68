#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/hatch.h"
#include "db/entities/line.h"
#include "db/entities/mtext.h"
#include "db/entities/polyline.h"
#include "db/entities/spline.h"
#include "db/geometry/plane.h"
#include "db/records/block_table_record.h"

// The declarations of the types with lists and conditions (hatch, polyline, spline, multi-line text), each
// read and written by one declaration: what they write reads back the same, and files in other forms read
// right.

namespace vela::db {
namespace {

std::unique_ptr<Database> reread(Database& db) {
    DxfReadResult r = readDxf(writeDxf(db));
    EXPECT_TRUE(r.database) << (r.error ? r.error->text() : "");
    for (const std::string& w : r.warnings) ADD_FAILURE() << "warning: " << w;
    return std::move(r.database);
}

template <class T>
T* only(Database& db) {
    auto btr = openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead);
    T* found = nullptr;
    btr->forEachEntity([&](Entity* e) {
        if (auto* t = objectCast<T>(e)) found = t;
    });
    return found;
}

std::unique_ptr<Database> readText(const std::string& entities) {
    DxfReadResult r = readDxf("0\nSECTION\n2\nENTITIES\n" + entities + "0\nENDSEC\n0\nEOF\n");
    EXPECT_TRUE(r.database) << (r.error ? r.error->text() : "");
    return std::move(r.database);
}

// The groups of the first record with this subclass marker, from the marker to the next record.
std::string recordOf(const std::string& text, const std::string& marker) {
    const std::size_t at = text.find("\n" + marker + "\n");
    if (at == std::string::npos) return {};
    return text.substr(at, text.find("\n  0\n", at) - at + 1);
}

std::size_t countOf(const std::string& text, const std::string& group) {
    std::size_t n = 0;
    for (std::size_t at = text.find(group); at != std::string::npos; at = text.find(group, at + 1)) ++n;
    return n;
}

TEST(EntityDeclarations, SplineCountsBoundTheirListsAndWhatTheyLeaveOutIsKept) {
    Database db;
    auto spline = std::make_unique<Spline>();
    spline->setNurbsData(3, {{0, 0}, {1, 2}, {3, 3}, {4, 0}}, {0, 0, 0, 0, 1, 1, 1, 1}, {1, 0.5, 2, 1});
    spline->setFitData({{0, 0}, {4, 0}}, Vector3d(1, 0, 0), Vector3d(0, -1, 0), 0.01);
    db.appendEntity(db.modelSpaceId(), std::move(spline));
    auto back = reread(db);
    ASSERT_TRUE(back);
    auto* read = only<Spline>(*back);
    ASSERT_TRUE(read);
    const Spline* original = only<Spline>(db);
    EXPECT_EQ(read->knots(), original->knots());
    EXPECT_EQ(read->weights(), original->weights());
    EXPECT_EQ(read->controlPoints(), original->controlPoints());
    EXPECT_EQ(read->fitPoints(), original->fitPoints());
    EXPECT_EQ(read->startTangent(), Vector3d(1, 0, 0));
    EXPECT_EQ(read->fitTolerance(), 0.01);

    // A file claiming two knots of four: two are read, the others kept and written again.
    auto other = readText(
        "0\nSPLINE\n5\n20\n100\nAcDbEntity\n8\n0\n100\nAcDbSpline\n70\n8\n71\n1\n72\n2\n73\n2\n74\n0\n"
        "40\n0\n40\n0\n40\n1\n40\n1\n10\n0\n20\n0\n30\n0\n10\n1\n20\n1\n30\n0\n");
    ASSERT_TRUE(other);
    auto* claimed = only<Spline>(*other);
    ASSERT_TRUE(claimed);
    EXPECT_EQ(claimed->knots(), (std::vector<double>{0, 0}));
    EXPECT_EQ(claimed->controlPoints().size(), 2u);
    const std::string saved = writeDxf(*other);
    EXPECT_EQ(countOf(recordOf(saved, "AcDbSpline"), "\n 40\n"), 4u) << "no knot is lost";
    DxfReadResult again = readDxf(saved);
    ASSERT_TRUE(again.database);
    EXPECT_EQ(writeDxf(*again.database), saved);

    // Fewer weights than points: the curve is measured as if it had none.
    auto weights = readText(
        "0\nSPLINE\n5\n20\n100\nAcDbEntity\n8\n0\n100\nAcDbSpline\n70\n12\n71\n1\n72\n4\n73\n2\n"
        "40\n0\n40\n0\n40\n1\n40\n1\n41\n2\n10\n0\n20\n0\n30\n0\n10\n4\n20\n2\n30\n0\n");
    ASSERT_TRUE(weights);
    auto* partly = only<Spline>(*weights);
    ASSERT_TRUE(partly);
    EXPECT_EQ(partly->weights().size(), 1u);
    Extents3d box;
    ASSERT_EQ(partly->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.minPoint().isEqualTo({0, 0, 0}));
    EXPECT_TRUE(box.maxPoint().isEqualTo({4, 2, 0}));
}

}  // namespace
}  // namespace vela::db
