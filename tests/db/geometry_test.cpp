#include <gtest/gtest.h>

#include <cmath>

#include "db/database.h"
#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/ellipse.h"
#include "db/entities/hatch.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/entities/spline.h"
#include "db/entities/text.h"
#include "db/geometry/plane.h"
#include "db/records/block_table_record.h"

namespace vela::db {
namespace {

constexpr double kDeg = kPi / 180.0;

void expectBox(const Extents3d& box, Point3d lo, Point3d hi, double tol = 1e-9) {
    ASSERT_TRUE(box.isValid());
    EXPECT_NEAR(box.minPoint().x, lo.x, tol);
    EXPECT_NEAR(box.minPoint().y, lo.y, tol);
    EXPECT_NEAR(box.minPoint().z, lo.z, tol);
    EXPECT_NEAR(box.maxPoint().x, hi.x, tol);
    EXPECT_NEAR(box.maxPoint().y, hi.y, tol);
    EXPECT_NEAR(box.maxPoint().z, hi.z, tol);
}

Extents3d extentsOf(const Entity& e) {
    Extents3d box;
    EXPECT_EQ(e.getGeomExtents(box), ErrorStatus::Ok);
    return box;
}

TEST(Matrix, ComposesInverseAndClassifiesScaling) {
    const Matrix3d r = Matrix3d::rotation(90 * kDeg, Vector3d::zAxis(), Point3d(1, 1));
    const Point3d p = r.apply(Point3d(2, 1));
    EXPECT_NEAR(p.x, 1, 1e-12);
    EXPECT_NEAR(p.y, 2, 1e-12);
    const Matrix3d m = Matrix3d::translation({3, 4, 5}) * Matrix3d::scaling(2.0) * r;
    const auto inv = m.inverse();
    ASSERT_TRUE(inv.has_value());
    const Point3d q = inv->apply(m.apply(Point3d(7, -2, 3)));
    EXPECT_NEAR(q.x, 7, 1e-12);
    EXPECT_NEAR(q.y, -2, 1e-12);
    EXPECT_NEAR(q.z, 3, 1e-12);
    EXPECT_NEAR(m.determinant(), 8, 1e-12);
    EXPECT_TRUE(m.isUniformScaledOrthogonal());
    EXPECT_NEAR(m.scaleFactor(), 2, 1e-12);
    EXPECT_FALSE(Matrix3d::scaling(Vector3d(2, 1, 1)).isUniformScaledOrthogonal());
    EXPECT_TRUE(Matrix3d::mirroring(Point3d(), Vector3d::xAxis()).isUniformScaledOrthogonal());
    EXPECT_FALSE(Matrix3d::scaling(0.0).inverse().has_value());
}

TEST(Extents, TiltedCircleAndArcUseTheirPlane) {
    Circle c(Point3d(0, 0, 0), 1);
    c.setNormal(Vector3d(1, 0, 0));  // circle in the YZ plane
    expectBox(extentsOf(c), {0, -1, -1}, {0, 1, 1});
}

TEST(Extents, SplineBoxFollowsTheCurveNotItsControlPolygon) {
    Spline s;
    // A quadratic Bezier from (0,0) to (2,0) with control point (1,2): peak at y = 1.
    ASSERT_EQ(s.setNurbsData(2, {{0, 0}, {1, 2}, {2, 0}}, {0, 0, 0, 1, 1, 1}), ErrorStatus::Ok);
    expectBox(extentsOf(s), {0, 0, 0}, {2, 1, 0}, 1e-9);
    EXPECT_EQ(s.setNurbsData(2, {{0, 0}, {1, 2}, {2, 0}}, {0, 0, 1, 1}), ErrorStatus::InvalidInput);
}

TEST(Transform, CirclesArcsAndEllipsesRefuseNonUniformScalingAndStayUnchanged) {
    const Matrix3d stretch = Matrix3d::scaling(Vector3d(2, 1, 1));
    Circle c(Point3d(1, 1), 1);
    EXPECT_EQ(c.transformBy(stretch), ErrorStatus::CannotScaleNonUniformly);
    EXPECT_EQ(c.center(), Point3d(1, 1));
    EXPECT_EQ(c.radius(), 1);
    Arc a(Point3d(1, 1), 1, 0, kPi);
    EXPECT_EQ(a.transformBy(stretch), ErrorStatus::CannotScaleNonUniformly);
    EXPECT_EQ(a.center(), Point3d(1, 1));
    Ellipse e;
    e.set(Point3d(), Vector3d::zAxis(), Vector3d(2, 0, 0), 0.5);
    EXPECT_EQ(e.transformBy(stretch), ErrorStatus::CannotScaleNonUniformly);
    EXPECT_EQ(e.majorAxis(), Vector3d(2, 0, 0));
    Polyline bulged;
    bulged.addVertexAt(0, {0, 0}, 0.5);
    bulged.addVertexAt(1, {1, 0});
    EXPECT_EQ(bulged.transformBy(stretch), ErrorStatus::CannotScaleNonUniformly);
    EXPECT_EQ(bulged.vertices()[0].point, Point2d(0, 0));
    Text t(Point3d(), "x", 1);
    EXPECT_EQ(t.transformBy(stretch), ErrorStatus::CannotScaleNonUniformly);
    // Lines, straight polylines and splines take any affine map.
    Line l(Point3d(1, 1), Point3d(2, 2));
    EXPECT_EQ(l.transformBy(stretch), ErrorStatus::Ok);
    EXPECT_EQ(l.endPoint(), Point3d(4, 2));
    EXPECT_EQ(c.transformBy(Matrix3d::scaling(0.0)), ErrorStatus::CannotTransform);
}

TEST(Transform, MirroredPolylineKeepsItsNormalAndNegatesBulges) {
    Polyline pl;
    pl.addVertexAt(0, {0, 0}, 1.0);
    pl.addVertexAt(1, {2, 0});
    ASSERT_EQ(pl.transformBy(Matrix3d::mirroring(Point3d(), Vector3d::yAxis())), ErrorStatus::Ok);
    EXPECT_EQ(pl.normal(), Vector3d::zAxis());
    EXPECT_DOUBLE_EQ(pl.vertices()[0].bulge, -1.0);
    expectBox(extentsOf(pl), {0, 0, 0}, {2, 1, 0});
}

TEST(Transform, BlockReferenceComposesAndRefusesShear) {
    Database db;
    ObjectId block;
    ASSERT_EQ(db.addRecord(db.blockTableId(), std::make_unique<BlockTableRecord>("Box"), &block), ErrorStatus::Ok);
    db.appendEntity(block, std::make_unique<Line>(Point3d(0, 0), Point3d(1, 0)));
    db.appendEntity(block, std::make_unique<Arc>(Point3d(0, 0), 1, 0, 90 * kDeg));
    BlockReference ref(Point3d(10, 0), block);
    expectBox(extentsOf(ref), {10, 0, 0}, {11, 1, 0});

    ASSERT_EQ(ref.transformBy(Matrix3d::rotation(90 * kDeg, Vector3d::zAxis(), Point3d(10, 0)) *
                              Matrix3d::scaling(2.0, Point3d(10, 0))),
              ErrorStatus::Ok);
    EXPECT_NEAR(ref.rotation(), 90 * kDeg, 1e-12);
    EXPECT_NEAR(ref.scaleFactors().x, 2, 1e-12);
    expectBox(extentsOf(ref), {8, 0, 0}, {10, 2, 0});

    ASSERT_EQ(ref.transformBy(Matrix3d::mirroring(Point3d(10, 0), Vector3d::xAxis())), ErrorStatus::Ok);
    expectBox(extentsOf(ref), {10, 0, 0}, {12, 2, 0});
    EXPECT_LT(ref.scaleFactors().x * ref.scaleFactors().y, 0) << "a mirrored block shows as a negative factor";

    BlockReference plain(Point3d(), block);
    Matrix3d shear;
    shear(0, 1) = 0.5;
    EXPECT_EQ(plain.transformBy(shear), ErrorStatus::CannotTransform);
    EXPECT_EQ(plain.scaleFactors(), Vector3d(1, 1, 1));
    // Axis-aligned non-uniform scaling of an unrotated reference is fine.
    EXPECT_EQ(plain.transformBy(Matrix3d::scaling(Vector3d(3, 1, 1))), ErrorStatus::Ok);
    expectBox(extentsOf(plain), {0, 0, 0}, {3, 1, 0});
}

TEST(Transform, BlockThatContainsItselfDoesNotLoop) {
    Database db;
    ObjectId block;
    db.addRecord(db.blockTableId(), std::make_unique<BlockTableRecord>("Loop"), &block);
    db.appendEntity(block, std::make_unique<Line>(Point3d(0, 0), Point3d(1, 0)));
    db.appendEntity(block, std::make_unique<BlockReference>(Point3d(1, 0), block));
    BlockReference ref(Point3d(), block);
    Extents3d box;
    EXPECT_EQ(ref.getGeomExtents(box), ErrorStatus::Ok);
    EXPECT_TRUE(box.isValid());
}

TEST(Hatch, AreaAndTransformOfEdgeLoops) {
    Hatch h;
    HatchLoop outer;
    outer.flags = HatchLoop::kExternal;
    HatchEdge e;
    // A 4 x 2 rectangle whose right side is a half circle of radius 1 bulging outwards.
    e.type = HatchEdge::Type::Line;
    e.start = {0, 0}, e.end = {4, 0};
    outer.edges.push_back(e);
    HatchEdge arc;
    arc.type = HatchEdge::Type::CircularArc;
    arc.center = {4, 1}, arc.radius = 1, arc.startAngle = -90 * kDeg, arc.endAngle = 90 * kDeg;
    outer.edges.push_back(arc);
    e.start = {4, 2}, e.end = {0, 2};
    outer.edges.push_back(e);
    e.start = {0, 2}, e.end = {0, 0};
    outer.edges.push_back(e);
    ASSERT_EQ(h.appendLoop(outer), ErrorStatus::Ok);
    HatchLoop island;
    island.flags = HatchLoop::kPolyline;
    island.vertices = {{{1, 0.5}}, {{2, 0.5}}, {{2, 1.5}}, {{1, 1.5}}};
    ASSERT_EQ(h.appendLoop(island), ErrorStatus::Ok);
    EXPECT_NEAR(h.area(), 8 + kPi / 2 - 1, 1e-9);
    expectBox(extentsOf(h), {0, 0, 0}, {5, 2, 0});

    ASSERT_EQ(h.transformBy(Matrix3d::mirroring(Point3d(), Vector3d::xAxis()) * Matrix3d::scaling(2.0)),
              ErrorStatus::Ok);
    EXPECT_NEAR(h.area(), 4 * (8 + kPi / 2 - 1), 1e-9);
    expectBox(extentsOf(h), {-10, 0, 0}, {0, 4, 0});
    EXPECT_EQ(h.transformBy(Matrix3d::scaling(Vector3d(1, 2, 1))), ErrorStatus::CannotScaleNonUniformly);
    EXPECT_EQ(h.appendLoop(HatchLoop{}), ErrorStatus::InvalidInput);
}

}  // namespace
}  // namespace vela::db
