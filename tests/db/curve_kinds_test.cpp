#include <gtest/gtest.h>

#include "db/dxf/file/dxf_reader.h"
#include "db/entities/construction_line.h"
#include "db/entities/helix.h"
#include "db/entities/mline.h"
#include "db/entities/quadrilateral.h"
#include "db/entities/shape.h"
#include "db/geometry/plane.h"
#include "db/records/block_table_record.h"

namespace vela::db {
namespace {

Entity* firstEntity(Database& db) {
    Entity* found = nullptr;
    auto ms = openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead);
    ms->forEachEntity([&](Entity* e) { found = found ? found : e; });
    return found;
}

// Maps that squash a kind's geometry to nothing are refused and leave it as it was.
TEST(PlanarKinds, CollapsingMapsAreRefusedAndChangeNothing) {
    const Matrix3d flattenX = Matrix3d::scaling({0, 1, 1});
    Matrix3d perspective;
    perspective(3, 0) = 0.5;

    Xline xline;
    xline.setBasePoint({1, 2, 3});
    ASSERT_EQ(xline.setUnitDir({2, 0, 0}), ErrorStatus::Ok);
    EXPECT_EQ(xline.unitDir(), Vector3d(1, 0, 0)) << "kept at length 1";
    EXPECT_EQ(xline.setUnitDir({0, 0, 0}), ErrorStatus::InvalidInput);
    EXPECT_EQ(xline.transformBy(flattenX), ErrorStatus::CannotTransform);
    EXPECT_EQ(xline.transformBy(perspective), ErrorStatus::CannotTransform);
    EXPECT_EQ(xline.basePoint(), Point3d(1, 2, 3));
    EXPECT_EQ(xline.unitDir(), Vector3d(1, 0, 0));
    Extents3d box;
    EXPECT_EQ(xline.getGeomExtents(box), ErrorStatus::InvalidInput) << "an infinite line has no box";

    // A stretch is fine for a ray: the direction is renormalised.
    Ray ray;
    ASSERT_EQ(ray.setUnitDir({1, 1, 0}), ErrorStatus::Ok);
    ASSERT_EQ(ray.transformBy(Matrix3d::scaling({3, 1, 1})), ErrorStatus::Ok);
    EXPECT_TRUE(ray.unitDir().isEqualTo(Vector3d(3, 1, 0).normalized()));

    Solid solid;
    for (std::size_t i = 0; i < 4; ++i) solid.setCorner(i, {double(i % 2), double(i / 2), 0});
    EXPECT_EQ(solid.transformBy(flattenX), ErrorStatus::CannotTransform);
    EXPECT_EQ(solid.corner(3), Point3d(1, 1, 0));
    // Any other affine map is taken, a shear included.
    Matrix3d shear;
    shear(0, 1) = 2;
    ASSERT_EQ(solid.transformBy(shear), ErrorStatus::Ok);
    EXPECT_TRUE(solid.corner(3).isEqualTo({3, 1, 0}));
}

// A file may leave out the fourth corner of a triangle: it is the third.
TEST(PlanarKinds, AMissingFourthCornerIsTheThird) {
    const std::string text =
        "0\nSECTION\n2\nENTITIES\n"
        "0\nSOLID\n5\nA1\n100\nAcDbEntity\n8\n0\n100\nAcDbTrace\n10\n0\n20\n0\n30\n0\n11\n4\n21\n0\n31\n0\n"
        "12\n2\n22\n3\n32\n0\n210\n0\n220\n0\n230\n-1\n"
        "0\nENDSEC\n0\nEOF\n";
    DxfReadResult r = readDxf(text);
    ASSERT_TRUE(r.database);
    auto* solid = objectCast<Solid>(firstEntity(*r.database));
    ASSERT_NE(solid, nullptr);
    EXPECT_TRUE(solid->isTriangle());
    // The plane is turned over: object X is world -X.
    EXPECT_EQ(solid->corner(1), Point3d(-4, 0, 0));
    Extents3d box;
    ASSERT_EQ(solid->getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isEqualTo(Extents3d({-4, 0, 0}, {0, 3, 0})));
}

// A helix: one turn of radius 2 rising 3, as a spline through points on it.
Helix helixFromFile() {
    const std::string text =
        "0\nSECTION\n2\nENTITIES\n"
        "0\nHELIX\n5\nB1\n100\nAcDbEntity\n8\n0\n100\nAcDbSpline\n70\n0\n71\n1\n72\n4\n73\n2\n74\n0\n"
        "40\n0\n40\n0\n40\n1\n40\n1\n10\n2\n20\n0\n30\n0\n10\n2\n20\n0\n30\n3\n"
        "100\nAcDbHelix\n90\n29\n91\n63\n10\n0\n20\n0\n30\n0\n11\n2\n21\n0\n31\n0\n12\n0\n22\n0\n32\n1\n"
        "40\n2\n41\n1\n42\n3\n290\n1\n280\n1\n"
        "0\nENDSEC\n0\nEOF\n";
    DxfReadResult r = readDxf(text);
    EXPECT_TRUE(r.database);
    auto* helix = r.database ? objectCast<Helix>(firstEntity(*r.database)) : nullptr;
    EXPECT_NE(helix, nullptr);
    return helix ? *helix : Helix();
}

TEST(Helices, UnevenScalingIsRefusedMirroringSwapsTheHandedness) {
    Helix helix = helixFromFile();
    EXPECT_EQ(helix.transformBy(Matrix3d::scaling({1, 1, 2})), ErrorStatus::CannotScaleNonUniformly);
    EXPECT_EQ(helix.controlPoints()[1], Point3d(2, 0, 3));
    EXPECT_EQ(helix.turnHeight(), 3.0);

    ASSERT_EQ(helix.transformBy(Matrix3d::scaling(2.0)), ErrorStatus::Ok);
    EXPECT_EQ(helix.turnHeight(), 6.0);
    EXPECT_EQ(helix.topRadius(), 4.0);
    EXPECT_EQ(helix.baseRadius(), 4.0);
    EXPECT_TRUE(helix.isRightHanded());
    ASSERT_EQ(helix.transformBy(Matrix3d::mirroring({0, 0, 0}, {1, 0, 0})), ErrorStatus::Ok);
    EXPECT_FALSE(helix.isRightHanded());
    EXPECT_EQ(helix.controlPoints()[1], Point3d(-4, 0, 6));
}

// Two vertices on the X axis; the lines of the two elements lie on the path and one unit to its right.
Mline mlineFromFile() {
    std::string vertices;
    for (const char* x : {"0", "4"})
        vertices += std::string("11\n") + x +
                    "\n21\n0\n31\n0\n12\n1\n22\n0\n32\n0\n13\n0\n23\n1\n33\n0\n"
                    "74\n2\n41\n0\n41\n0.5\n75\n0\n74\n2\n41\n-1\n41\n0.5\n75\n1\n42\n0.25\n";
    const std::string text =
        "0\nSECTION\n2\nENTITIES\n"
        "0\nMLINE\n5\nD1\n100\nAcDbEntity\n8\n0\n100\nAcDbMline\n2\nStandard\n40\n1\n"
        "70\n0\n71\n1\n72\n2\n73\n2\n10\n0\n20\n0\n30\n0\n" +
        vertices + "0\nENDSEC\n0\nEOF\n";
    DxfReadResult r = readDxf(text);
    EXPECT_TRUE(r.database);
    auto* mline = r.database ? objectCast<Mline>(firstEntity(*r.database)) : nullptr;
    EXPECT_NE(mline, nullptr);
    return mline ? *mline : Mline();
}

TEST(Multilines, MirroredLinesAreTheMirrorImagesUnevenScalingIsRefused) {
    Mline mline = mlineFromFile();
    EXPECT_EQ(mline.transformBy(Matrix3d::scaling({1, 2, 1})), ErrorStatus::CannotScaleNonUniformly);
    EXPECT_EQ(mline.vertices()[0].miter, Vector3d(0, 1, 0));

    ASSERT_EQ(mline.transformBy(Matrix3d::scaling(2.0)), ErrorStatus::Ok);
    ASSERT_EQ(mline.transformBy(Matrix3d::mirroring({0, 0, 0}, {0, 1, 0})), ErrorStatus::Ok);
    // The second element's line was one unit right of the path (y = -1); doubled and mirrored in the X axis
    // it runs at y = 2, its dashes twice as long.
    for (const Mline::Vertex& v : mline.vertices()) {
        const Point3d line = v.position + v.miter * v.elements[1].params[0];
        EXPECT_TRUE(line.isEqualTo({v.position.x, 2, 0})) << line.x << ", " << line.y;
        EXPECT_EQ(v.elements[1].params[1], 1.0);
        EXPECT_EQ(v.elements[1].fillParams[0], 0.5);
    }
    EXPECT_EQ(mline.vertices()[1].position, Point3d(8, 0, 0));
    EXPECT_EQ(mline.scale(), 2.0);
}

}  // namespace
}  // namespace vela::db
