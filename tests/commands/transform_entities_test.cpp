#include <cmath>

#include "commands/commands.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/polyline.h"
#include "db/entities/vertex_polyline.h"
#include "fixture.h"

namespace vela::commands {
namespace {

using testing::DrawingTest;

QJsonObject matrix(std::initializer_list<std::pair<const char*, double>> elements) {
    QJsonObject m;
    for (const auto& [key, value] : elements) m.insert(QLatin1String(key), value);
    return m;
}

::testing::AssertionResult At(const db::Point3d& p, double x, double y) {
    if (std::abs(p.x - x) < 1e-12 && std::abs(p.y - y) < 1e-12) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "(" << p.x << ", " << p.y << ") is not (" << x << ", " << y << ")";
}

class TransformTest : public DrawingTest {
  protected:
    bool transform(const QJsonObject& request) {
        host::UserIO io({}, host.services().userInput());
        host::CommandContext context(doc, io);
        return kTransformEntities.body(QJsonDocument(request), context).value("success").toBool();
    }
    QJsonObject request(std::initializer_list<db::ObjectId> ids, QJsonArray matrices,
                        const char* flag = nullptr) {
        QJsonArray handles;
        for (db::ObjectId id : ids) handles.append(hex(id));
        QJsonObject r{{"handles", handles}, {"transformationMatrices", matrices}};
        if (flag) r.insert(QLatin1String(flag), true);
        return r;
    }
    db::ObjectId lineFrom(db::Point3d a, db::Point3d b, db::ObjectId layer = {}) {
        return add(std::make_unique<db::Line>(a, b), layer);
    }
    static db::Point3d start(db::ObjectId id) {
        return db::openObject<db::Line>(id, db::OpenMode::ForRead, {true})->startPoint();
    }
    void lock(db::ObjectId layer) {
        db::openObject<db::LayerTableRecord>(layer, db::OpenMode::ForWrite)->setIsLocked(true);
    }
};

TEST(TransformMatrices, KeysAreSearchedAndTheLastInNameOrderWins) {
    const std::vector<db::Matrix3d> m =
        ReadTransformMatrices(QJsonDocument::fromJson(R"({"transformationMatrices":[
        {"a03": 5, "xa13y": 6, "A23": 7, "a4": 8, "a0312": 10, "a11": "2"}, {"za00": 3, "a00": 2}, 7, {}]})")
                                  .object());
    ASSERT_EQ(m.size(), 4u) << "one matrix per element, in request order";
    EXPECT_EQ(m[0](0, 3), 10) << "\"a0312\" names a03 by its first match and sorts after \"a03\"";
    EXPECT_EQ(m[0](1, 3), 6) << "the pattern is searched, not anchored";
    EXPECT_EQ(m[0](2, 3), 0) << "upper-case A names nothing";
    EXPECT_EQ(m[0](1, 1), 0) << "a value that is not a JSON number counts as 0";
    EXPECT_EQ(m[0](0, 0), 1) << "elements not given keep the identity's value";
    EXPECT_EQ(m[1](0, 0), 3) << "\"za00\" comes after \"a00\" in name order";
    EXPECT_EQ(m[2], db::Matrix3d::identity()) << "an element that is not an object reads as an empty one";
    EXPECT_EQ(m[3], db::Matrix3d::identity());
}

TEST_F(TransformTest, MatricesApplyInRequestOrder) {
    const db::ObjectId a = lineFrom({1, 0}, {2, 0}), b = lineFrom({1, 0}, {2, 0});
    const QJsonObject move = matrix({{"a03", 10}});
    const QJsonObject turn = matrix({{"a00", 0}, {"a01", -1}, {"a10", 1}, {"a11", 0}});  // +90 degrees
    EXPECT_TRUE(transform(request({a}, {move, turn})));
    EXPECT_TRUE(transform(request({b}, {turn, move})));
    EXPECT_TRUE(At(start(a), 0, 11)) << "moved to (11, 0), then turned";
    EXPECT_TRUE(At(start(b), 10, 1)) << "turned to (0, 1), then moved";
}

TEST_F(TransformTest, CentringUsesOneBoxForAllEntitiesLockedOnesIncluded) {
    const db::ObjectId locked = addLayer("Locked");
    const db::ObjectId a = lineFrom({0, 0}, {2, 0}), b = lineFrom({4, 2}, {6, 2});
    const db::ObjectId pinned = lineFrom({10, 10}, {12, 10}, locked);
    lock(locked);
    const QJsonObject twice = matrix({{"a00", 2}, {"a11", 2}, {"a22", 2}});

    // The box of all three is (0,0)-(12,10): the locked line helps place the center (6,5) but does not move.
    EXPECT_TRUE(transform(request({a, b, pinned}, {twice}, "scaleAroundBoundingBoxCenter")));
    EXPECT_TRUE(At(start(a), -6, -5));
    EXPECT_TRUE(At(start(b), 2, -1));
    EXPECT_TRUE(At(start(pinned), 10, 10));
    // The other flag centres too: the box is now (-6,-5)-(12,10), center (3, 2.5).
    EXPECT_TRUE(transform(
        request({a, pinned}, {matrix({{"a00", -1}, {"a11", -1}})}, "rotateAroundBoundingBoxCenter")));
    EXPECT_TRUE(At(start(a), 12, 10));

    // Without a flag, or with one that is not a JSON boolean, the matrix acts about the origin.
    const db::ObjectId c = lineFrom({1, 1}, {2, 1});
    for (const QJsonValue& flag : {QJsonValue(), QJsonValue("true"), QJsonValue(1)}) {
        QJsonObject r = request({c}, {twice});
        if (!flag.isNull()) r.insert("scaleAroundBoundingBoxCenter", flag);
        EXPECT_TRUE(transform(r));
    }
    EXPECT_TRUE(At(start(c), 8, 8));

    // Without extents to be had (an empty polyline) the matrices stay as given: z' = 2 z + 1.
    auto empty = std::make_unique<db::Polyline>();
    empty->setElevation(5);
    const db::ObjectId hollow = add(std::move(empty));
    EXPECT_TRUE(
        transform(request({hollow}, {matrix({{"a22", 2}, {"a23", 1}})}, "scaleAroundBoundingBoxCenter")));
    EXPECT_DOUBLE_EQ(db::openObject<db::Polyline>(hollow, db::OpenMode::ForRead)->elevation(), 11);
}

TEST_F(TransformTest, SelectionIsTakenWithoutHandlesAndNothingToTransformFails) {
    const db::ObjectId a = lineFrom({0, 0}, {1, 0}), b = lineFrom({0, 0}, {1, 0}),
                       gone = lineFrom({0, 0}, {1, 0});
    const QJsonArray up{matrix({{"a13", 1}})};
    EXPECT_FALSE(transform(QJsonObject{{"transformationMatrices", up}})) << "no handles, empty selection";

    doc->selection().set({b, gone});
    db::openObject(gone, db::OpenMode::ForWrite)->erase();
    EXPECT_TRUE(transform(QJsonObject{{"transformationMatrices", up}}));
    EXPECT_TRUE(transform(QJsonObject{{"handles", QJsonArray()}, {"transformationMatrices", up}}));
    EXPECT_TRUE(transform(QJsonObject{{"handles", "1F"}, {"transformationMatrices", up}}));
    EXPECT_TRUE(At(start(b), 0, 3)) << "missing, empty and non-array \"handles\" take the selection";
    EXPECT_TRUE(At(start(a), 0, 0));

    doc->selection().set({gone});
    EXPECT_FALSE(transform(QJsonObject{{"transformationMatrices", up}})) << "only an erased object selected";
    EXPECT_TRUE(transform(request({a}, {}))) << "no matrices: nothing to apply, but the entity was found";
}

TEST_F(TransformTest, ARefusalFailsButTheRestIsStillApplied) {
    const db::ObjectId round = circle({}, 1), straight = lineFrom({1, 1}, {2, 1});
    EXPECT_FALSE(
        transform(request({round, straight}, {matrix({{"a00", 2}, {"a11", 3}}), matrix({{"a03", 5}})})));
    auto c = db::openObject<db::Circle>(round, db::OpenMode::ForRead);
    EXPECT_TRUE(At(c->center(), 5, 0)) << "the circle refuses the stretch but takes the move after it";
    EXPECT_DOUBLE_EQ(c->radius(), 1);
    EXPECT_TRUE(At(start(straight), 7, 3)) << "the next entity takes both";
    EXPECT_FALSE(transform(request({straight}, {matrix({{"a30", 1}})}))) << "a projective matrix is refused";
    EXPECT_TRUE(At(start(straight), 7, 3));
}

TEST_F(TransformTest, MatricesAndResultsThatCannotBeKeptAreRefusedWithTheEntitiesUnchanged) {
    const db::ObjectId straight = lineFrom({1, 2}, {3, 4}), round = circle({}, 2);
    host::UserIO io({}, host.services().userInput());
    host::CommandContext context(doc, io);
    auto answer = [&](QJsonObject m) {
        return kTransformEntities.body(QJsonDocument(request({straight, round}, {m})), context);
    };
    const std::string before = db::writeDxf(db);
    const QJsonObject flat = answer(matrix({{"a00", 0}, {"a11", 0}, {"a22", 0}}));
    EXPECT_FALSE(flat.value("success").toBool());
    EXPECT_TRUE(flat.value("error").toString().contains("determinant is 0"));
    EXPECT_TRUE(answer(matrix({{"a00", 1e154}, {"a11", 1e154}, {"a22", 1e154}}))
                    .value("error")
                    .toString()
                    .contains("determinant is inf"));
    EXPECT_FALSE(answer(matrix({{"a03", std::nan("")}})).value("success").toBool());
    const QJsonObject overflow = answer(matrix({{"a00", 1e308}}));
    EXPECT_EQ(overflow.value("error").toString().toStdString(),
              "Entity " + hex(straight).toStdString() +
                  " would have been left with a point or direction that is not finite (group 11); it was not "
                  "transformed");
    EXPECT_EQ(db::writeDxf(db), before) << "every entity is as it was";
}

TEST_F(TransformTest, AnOwnedVertexThatCannotBeKeptPutsBackThePolylineAndAllItsVertices) {
    const db::ObjectId path = add(std::make_unique<db::Polyline3d>());
    std::vector<db::ObjectId> vertices;
    for (const db::Point3d& p : {db::Point3d(0, 1, 0), db::Point3d(2, 3, 0)}) {
        db::ObjectId id;
        ASSERT_EQ(db.addObject(std::make_unique<db::Polyline3dVertex>(p), path, &id), db::ErrorStatus::Ok);
        vertices.push_back(id);
    }
    db::openObject<db::Entity>(path, db::OpenMode::ForWrite)->setFollowers(vertices);
    const std::string before = db::writeDxf(db);
    // Only the second vertex overflows: the first one's X is 0, and the record itself holds no coordinate.
    EXPECT_FALSE(transform(request({path}, {matrix({{"a00", 1e308}, {"a11", 1}, {"a22", 1}, {"a03", 1}})})));
    EXPECT_EQ(db::writeDxf(db), before);
    EXPECT_TRUE(transform(request({path}, {matrix({{"a00", 1}, {"a11", 1}, {"a22", 1}, {"a03", 1}})})));
    EXPECT_TRUE(At(db::openObject<db::Vertex>(vertices[1], db::OpenMode::ForRead)->position(), 3, 3));
}

}  // namespace
}  // namespace vela::commands
