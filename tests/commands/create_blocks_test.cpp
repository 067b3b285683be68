#include <unistd.h>

#include <QRegularExpression>
#include <cstdlib>
#include <filesystem>

#include "commands/commands.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/point.h"
#include "db/entities/polyline.h"
#include "fixture.h"

namespace vela::commands {
namespace {

const QString kNoBasePoint = "Base point is not provided. Using calculated extents base point. ";
const QString kNoEntities = "No valid entities found. Please provide entity handles in 'entityHandles' field";
const QString kNotEntity = "Error creating block: Object is not of the expected class";

// The drawing as a file holds it, less the handle seed, which undo leaves raised (handles are never reused).
std::string drawingText(db::Database& db) {
    return QString::fromStdString(db::writeDxf(db))
        .replace(QRegularExpression(QStringLiteral("\\$HANDSEED\\n *5\\n[0-9A-F]+\\n")), QString())
        .toStdString();
}

QJsonObject failed(const QString& error) {
    return {{"success", false}, {"error", error}};
}

class CreateBlocksTest : public testing::DrawingTest {
  protected:
    QJsonObject call(const QJsonArray& blocks) {
        const QByteArray json = QJsonDocument(QJsonObject{{"blocks", blocks}}).toJson(QJsonDocument::Compact);
        return run(kCreateBlocks.body, json.constData());
    }
    // The result of a one-block batch, with the command's flag checked against it.
    QJsonObject single(const QJsonObject& block) {
        const QJsonObject r = call({block});
        EXPECT_EQ(r["success"], r["blocks"][0]["success"]);
        return r["blocks"][0].toObject();
    }
    db::ObjectId lineFrom(db::Point3d a, db::Point3d b, db::ObjectId layer = {}) {
        return add(std::make_unique<db::Line>(a, b), layer);
    }
    static QString handles(std::initializer_list<db::ObjectId> ids) {
        QStringList out;
        for (db::ObjectId id : ids) out << hex(id);
        return out.join(',');
    }
    const db::BlockTableRecord* block(const char* name) {
        return db::objectCast<db::BlockTableRecord>(db.blockTable()->getAt(name).peek());
    }
    static std::vector<db::Entity*> contents(db::ObjectId btr) {
        std::vector<db::Entity*> out;
        db::objectCast<db::BlockTableRecord>(btr.peek())->forEachEntity([&](db::Entity* e) {
            out.push_back(e);
        });
        return out;
    }
    template <class T>
    static const T* first(const char* name, const db::BlockTableRecord* btr) {
        EXPECT_NE(btr, nullptr) << name;
        return btr ? db::objectCast<T>(contents(btr->objectId()).at(0)) : nullptr;
    }
};

TEST_F(CreateBlocksTest, FrameRefusesBadRequestsAndOneFailedBlockFailsOnlyItself) {
    for (const char* request : {"{}", R"({"blocks":{"name":"A"}})", "[]"})
        EXPECT_EQ(run(kCreateBlocks.body, request), failed("Missing or invalid 'blocks' array in input"));
    EXPECT_EQ(run(kCreateBlocks.body, R"({"blocks":[1,"x",null,[{}]]})"),
              QJsonObject({{"success", true}, {"blocks", QJsonArray()}}));
    const QJsonDocument request = QJsonDocument::fromJson(R"({"blocks":[{"name":"A","entityHandles":"1"}]})");
    host::UserIO io({}, host.services().userInput());
    host::CommandContext noDrawing(nullptr, io);
    EXPECT_EQ(kCreateBlocks.body(request, noDrawing), failed("Invalid database"));

    const db::ObjectId a = line(), b = circle();
    const QJsonObject r =
        call({QJsonObject{{"name", "A"}, {"entityHandles", hex(a)}}, QJsonObject{{"entityHandles", hex(b)}},
              QJsonObject{{"name", "B"}, {"entityHandles", hex(b)}}});
    EXPECT_FALSE(r["success"].toBool());
    EXPECT_EQ(r["blocks"][0]["name"], "A");
    EXPECT_EQ(r["blocks"][1], failed("Block name is required"));
    EXPECT_EQ(r["blocks"][2]["name"], "B");
    EXPECT_TRUE(a.isErased() && b.isErased());
}

TEST_F(CreateBlocksTest, ReplacesTheEntitiesByAReferenceAtTheLowerLeftCorner) {
    const db::ObjectId l = lineFrom({2, 3, 5}, {6, 3, 5});
    const db::ObjectId c = add(std::make_unique<db::Circle>(db::Point3d(4, 8, 2), 1));
    const db::ObjectId p = add(std::make_unique<db::PointEntity>(db::Point3d(10, 4, 3)));
    const db::ObjectId other = circle();
    db::Extents3d before;
    for (db::ObjectId id : {l, c, p}) {
        db::Extents3d box;
        db::objectCast<db::Entity>(id.peek())->getGeomExtents(box);
        before.addExtents(box);
    }

    const QJsonObject r =
        single({{"name", "Chair"},
                {"entityHandles", QStringLiteral(" %1, %2,,%3 ").arg(hex(l), hex(c).toLower(), hex(p))}});
    const std::vector<db::Entity*> space = contents(db.modelSpaceId());
    ASSERT_EQ(space.size(), 2u);
    const auto* reference = db::objectCast<db::BlockReference>(space[1]);
    ASSERT_TRUE(space[0]->objectId() == other && reference && block("Chair"));
    EXPECT_EQ(r, QJsonObject({{"success", true},
                              {"warning", kNoBasePoint},
                              {"name", "Chair"},
                              {"handle", hex(reference->objectId())},
                              {"blockDefinitionHandle", hex(block("Chair")->objectId())},
                              {"entityCount", 3},
                              {"basePoint", "2,3,0"}}));
    EXPECT_TRUE(l.isErased() && c.isErased() && p.isErased());
    EXPECT_EQ(reference->blockTableRecord(), block("Chair")->objectId());
    EXPECT_EQ(reference->position(), db::Point3d(2, 3, 0))
        << "the corner is taken at Z 0, not at the lowest Z";
    EXPECT_EQ(reference->layerId(), db.currentLayer());
    db::Extents3d shown;
    ASSERT_EQ(reference->getGeomExtents(shown), db::ErrorStatus::Ok);
    EXPECT_TRUE(shown.isEqualTo(before)) << "the drawing looks as it did";
    const std::vector<db::Entity*> copies = contents(block("Chair")->objectId());
    ASSERT_EQ(copies.size(), 3u);
    EXPECT_EQ(db::objectCast<db::Line>(copies[0])->startPoint(), db::Point3d(0, 0, 5));
    EXPECT_EQ(db::objectCast<db::Circle>(copies[1])->center(), db::Point3d(2, 5, 2));
    EXPECT_EQ(db::objectCast<db::PointEntity>(copies[2])->position(), db::Point3d(8, 1, 3));
}

TEST_F(CreateBlocksTest, KeepsTheDefinitionsDescriptionAndBehaviour) {
    single({{"name", "A"},
            {"entityHandles", hex(line())},
            {"description", "Four legs"},
            {"explodable", false},
            {"uniformScaling", "yes"}});
    single({{"name", "B"}, {"entityHandles", hex(line())}, {"explodable", "1"}, {"uniformScaling", 0}});
    single({{"name", "C"}, {"entityHandles", hex(line())}});
    EXPECT_EQ(block("A")->comments(), "Four legs");
    EXPECT_FALSE(block("A")->isExplodable());
    EXPECT_TRUE(block("A")->isScaledUniformly());
    EXPECT_TRUE(block("B")->isExplodable());
    EXPECT_FALSE(block("B")->isScaledUniformly());
    EXPECT_TRUE(block("C")->isExplodable() && !block("C")->isScaledUniformly() && block("C")->comments().empty())
        << "nothing asked, the file defaults hold";
}

TEST_F(CreateBlocksTest, AnObjectThatIsNoEntityFailsTheBlock) {
    const db::ObjectId l = line(), layer = addLayer("Walls"), c = circle();
    const std::string before = drawingText(db);
    // Without a base point the extents are read first, so the failure comes before any change.
    EXPECT_EQ(single({{"name", "A"}, {"entityHandles", handles({l, layer})}}), failed(kNotEntity));
    EXPECT_EQ(drawingText(db), before);
    // With one it comes when the sources are erased; what was done stays and the batch goes on.
    const QJsonObject r =
        call({QJsonObject{{"name", "A"}, {"entityHandles", handles({l, layer})}, {"basePoint", "0,0"}},
              QJsonObject{{"name", "B"}, {"entityHandles", hex(c)}}});
    EXPECT_FALSE(r["success"].toBool());
    EXPECT_EQ(r["blocks"][0], failed(kNotEntity));
    EXPECT_TRUE(r["blocks"][1]["success"].toBool());
    EXPECT_FALSE(layer.isErased());
}

TEST_F(CreateBlocksTest, ASavedDrawingAuditsCleanInEzdxfAndReadsBackTheBlock) {
    if (std::system("/usr/bin/python3 -c 'import ezdxf' 2>/dev/null") != 0)
        GTEST_SKIP() << "ezdxf is not installed";
    const db::ObjectId walls = addLayer("Walls", db::Color::fromIndex(1));
    const db::ObjectId l = lineFrom({12, 20}, {14, 20}, walls);
    const db::ObjectId c = add(std::make_unique<db::Circle>(db::Point3d(13, 22), 1), walls);
    const db::ObjectId lamp = add(std::make_unique<db::Circle>(db::Point3d(30, 40), 2));
    line();  // stays in model space
    const QJsonObject r = call({QJsonObject{{"name", "Chair"},
                                            {"entityHandles", handles({l, c, l})},
                                            {"basePoint", "10,20"},
                                            {"description", "Four legs"},
                                            {"explodable", false},
                                            {"uniformScaling", true}},
                                QJsonObject{{"name", "Chair"}, {"entityHandles", hex(lamp)}}});
    ASSERT_TRUE(r["success"].toBool()) << QJsonDocument(r).toJson().constData();

    EXPECT_TRUE(ezdxfAccepts(
        "vela_blocks",
        "assert sorted(e.dxftype() for e in msp) == ['INSERT', 'INSERT', 'LINE'], [e.dxftype() for e in "
        "msp]\n"
        "inserts = {i.dxf.name: i for i in msp.query('INSERT')}\n"
        "assert inserts['Chair'].dxf.insert.isclose((10, 20, 0)), inserts['Chair'].dxf.insert\n"
        "assert inserts['Chair_1'].dxf.insert.isclose((28, 38, 0)), inserts['Chair_1'].dxf.insert\n"
        "chair = doc.blocks.get('Chair')\n"
        "assert chair.block.dxf.description == 'Four legs', chair.block.dxf.description\n"
        "assert chair.block_record.dxf.explode == 0 and chair.block_record.dxf.scale == 1\n"
        "assert sorted(e.dxftype() for e in chair) == ['CIRCLE', 'LINE'], [e.dxftype() for e in chair]\n"
        "line = chair.query('LINE')[0]\n"
        "assert line.dxf.start.isclose((2, 0, 0)) and line.dxf.end.isclose((4, 0, 0)), line.dxf.start\n"
        "assert line.dxf.layer == 'Walls', line.dxf.layer\n"
        "circle = chair.query('CIRCLE')[0]\n"
        "assert circle.dxf.center.isclose((3, 2, 0)) and circle.dxf.radius == 1, circle.dxf.center\n"
        "lamp = doc.blocks.get('Chair_1')\n"
        "assert [e.dxftype() for e in lamp] == ['CIRCLE'] and lamp[0].dxf.center.isclose((2, 2, 0))\n"));
}

}  // namespace
}  // namespace vela::commands
