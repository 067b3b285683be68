#include <gtest/gtest.h>

#include "db/dxf/file/dxf_reader.h"
#include "db/entities/construction_line.h"
#include "db/entities/quadrilateral.h"
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

}  // namespace
}  // namespace vela::db
