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

TEST(Extents, ArcBoxIsNotItsCirclesBox) {
    // Quarter arc from 0 to 90 degrees: box from the two end points only.
    const Arc quarter(Point3d(0, 0), 2, 0, 90 * kDeg);
    expectBox(extentsOf(quarter), {0, 0, 0}, {2, 2, 0});
    // From 45 to 135 degrees the top of the circle is reached but neither side.
    const Arc top(Point3d(1, 1), 1, 45 * kDeg, 135 * kDeg);
    const double s = std::sqrt(0.5);
    expectBox(extentsOf(top), {1 - s, 1 + s, 0}, {1 + s, 2, 0});
    // An arc across angle 0 (from 315 to 45 degrees) reaches the right-most point.
    const Arc wrap(Point3d(0, 0), 1, 315 * kDeg, 45 * kDeg);
    expectBox(extentsOf(wrap), {s, -s, 0}, {1, s, 0});
    // The full circle, for comparison.
    const Circle circle(Point3d(0, 0), 1);
    expectBox(extentsOf(circle), {-1, -1, 0}, {1, 1, 0});
}

TEST(Extents, TiltedCircleAndArcUseTheirPlane) {
    Circle c(Point3d(0, 0, 0), 1);
    c.setNormal(Vector3d(1, 0, 0));  // circle in the YZ plane
    expectBox(extentsOf(c), {0, -1, -1}, {0, 1, 1});
}

TEST(Extents, EllipseAndEllipticArcAreExact) {
    Ellipse e;
    ASSERT_EQ(e.set(Point3d(1, 2), Vector3d::zAxis(), Vector3d(4, 0, 0), 0.5), ErrorStatus::Ok);
    expectBox(extentsOf(e), {-3, 0, 0}, {5, 4, 0});

    // Rotated by 45 degrees: half-widths are sqrt(a^2 cos^2 + b^2 sin^2).
    Ellipse r;
    const double a = 4, b = 1;
    ASSERT_EQ(r.set(Point3d(0, 0), Vector3d::zAxis(), Vector3d(a * std::sqrt(0.5), a * std::sqrt(0.5), 0), b / a),
              ErrorStatus::Ok);
    const double half = std::sqrt(a * a / 2 + b * b / 2);
    expectBox(extentsOf(r), {-half, -half, 0}, {half, half, 0});

    // The upper half of the first ellipse (params 0..pi).
    Ellipse upper;
    ASSERT_EQ(upper.set(Point3d(0, 0), Vector3d::zAxis(), Vector3d(4, 0, 0), 0.5, 0, kPi), ErrorStatus::Ok);
    expectBox(extentsOf(upper), {-4, 0, 0}, {4, 2, 0});
    EXPECT_FALSE(upper.isClosed());
    EXPECT_EQ(e.set(Point3d(), Vector3d::zAxis(), Vector3d(0, 0, 1), 0.5), ErrorStatus::InvalidInput)
        << "the major axis must lie in the plane";
    EXPECT_EQ(e.set(Point3d(), Vector3d::zAxis(), Vector3d(1, 0, 0), 1.5), ErrorStatus::InvalidInput);
}

TEST(Extents, PolylineBulgesReachBeyondTheirVertices) {
    Polyline pl;
    pl.addVertexAt(0, {0, 0}, 1.0);  // semicircle from (0,0) to (2,0), counter-clockwise: dips below
    pl.addVertexAt(1, {2, 0});
    expectBox(extentsOf(pl), {0, -1, 0}, {2, 0, 0});
    EXPECT_NEAR(pl.length(), kPi, 1e-12);

    Polyline square;
    for (Point2d p : {Point2d(0, 0), Point2d(2, 0), Point2d(2, 2), Point2d(0, 2)}) square.addVertexAt(9, p);
    square.setClosed(true);
    EXPECT_NEAR(square.area(), 4, 1e-12);
    EXPECT_NEAR(square.length(), 8, 1e-12);
    square.setBulgeAt(1, 1.0);  // a positive bulge lies right of travel: outwards on a counter-clockwise square
    EXPECT_NEAR(square.area(), 4 + kPi / 2, 1e-12);
    expectBox(extentsOf(square), {0, 0, 0}, {3, 2, 0});
    square.setBulgeAt(1, -1.0);  // and a negative one inwards
    EXPECT_NEAR(square.area(), 4 - kPi / 2, 1e-12);
    expectBox(extentsOf(square), {0, 0, 0}, {2, 2, 0});
    Polyline empty;
    Extents3d box;
    EXPECT_EQ(empty.getGeomExtents(box), ErrorStatus::InvalidInput);
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

TEST(Transform, ArcsKeepTheirShapeUnderRotationScalingAndMirroring) {
    Arc a(Point3d(1, 0), 1, 0, 90 * kDeg);  // from (2,0) to (1,1)
    ASSERT_EQ(a.transformBy(Matrix3d::rotation(90 * kDeg) * Matrix3d::scaling(2.0)), ErrorStatus::Ok);
    EXPECT_TRUE(a.center().isEqualTo({0, 2}));
    EXPECT_NEAR(a.radius(), 2, 1e-12);
    EXPECT_TRUE(a.startPoint().isEqualTo({0, 4}));
    EXPECT_TRUE(a.endPoint().isEqualTo({-2, 2}));

    // Mirroring in the Y axis keeps the normal and swaps the ends, so the same points are covered.
    Arc m(Point3d(1, 0), 1, 0, 90 * kDeg);
    ASSERT_EQ(m.transformBy(Matrix3d::mirroring(Point3d(), Vector3d::xAxis())), ErrorStatus::Ok);
    EXPECT_EQ(m.normal(), Vector3d::zAxis());
    EXPECT_TRUE(m.startPoint().isEqualTo({-1, 1}));
    EXPECT_TRUE(m.endPoint().isEqualTo({-2, 0}));
    expectBox(extentsOf(m), {-2, 0, 0}, {-1, 1, 0});

    Ellipse e;
    ASSERT_EQ(e.set(Point3d(), Vector3d::zAxis(), Vector3d(2, 0, 0), 0.5, 0, kPi / 2), ErrorStatus::Ok);
    ASSERT_EQ(e.transformBy(Matrix3d::mirroring(Point3d(), Vector3d::xAxis())), ErrorStatus::Ok);
    EXPECT_TRUE(e.pointAtParam(e.startParam()).isEqualTo({0, 1}) || e.pointAtParam(e.endParam()).isEqualTo({0, 1}));
    expectBox(extentsOf(e), {-2, 0, 0}, {0, 1, 0});
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
