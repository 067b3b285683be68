#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <random>

#include "commands/commands.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/ellipse.h"
#include "db/entities/polyline.h"
#include "fixture.h"

namespace vela::commands {
namespace {

using testing::DrawingTest;

class CreateTest : public DrawingTest {
  protected:
    QJsonObject create(const char* json) { return run(kCreateEntities.body, json); }
    // The summary of one entity, or an empty object when it failed.
    QJsonObject createOne(const char* entity) {
        const QJsonObject r = create(("{\"entities\":[" + std::string(entity) + "]}").c_str());
        const QJsonArray list = r.value("entities").toArray();
        EXPECT_EQ(r.value("success").toBool(), list.size() == 1) << entity;
        return list.isEmpty() ? QJsonObject() : list.first().toObject();
    }
    template <class T>
    db::ObjectRef<T> open(const QJsonObject& summary) {
        const auto handle = db::Handle::fromText(summary.value("handle").toString().toStdString());
        return db::openObject<T>(handle ? db.getObjectId(*handle) : db::ObjectId(), db::OpenMode::ForRead);
    }
    static QJsonObject properties(const QJsonObject& summary) {
        return summary.value("properties").toObject();
    }
    std::size_t entityCount() {
        std::size_t n = 0;
        db.forEachObject([&](db::DbObject* o) { n += !o->isErased() && o->ownerId() == db.modelSpaceId(); });
        return n;
    }
};

TEST_F(CreateTest, LinesReadPointTextsAndTakeTheDrawingsDefaults) {
    const db::ObjectId walls = addLayer("Walls");
    ASSERT_EQ(db.setCurrentLayer(walls), db::ErrorStatus::Ok);
    db.setCurrentColor(db::Color::fromIndex(3));
    QJsonObject s =
        createOne(R"({"className":"AcDbLine","start":"0,0","end":"10,5","properties":{"layer":"0"}})");
    EXPECT_EQ(s.value("className"), "AcDbLine");
    EXPECT_EQ(properties(s), (QJsonObject{{"startPoint", "0,0,0"}, {"endPoint", "10,5,0"}}));
    auto line = open<db::Line>(s);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->endPoint(), db::Point3d(10, 5, 0));
    EXPECT_EQ(line->layerId(), walls) << "the current layer, whatever \"properties\" says";
    EXPECT_EQ(line->color(), db::Color::fromIndex(3));

    s = createOne(R"({"className":"AcDbLine","start":"1,2,3,4","end":" +0.1 ,0.3333333333333333, 1e21"})");
    EXPECT_EQ(properties(s),
              (QJsonObject{{"startPoint", "1,2,3"}, {"endPoint", "0.1,0.3333333333333333,1e+21"}}))
        << "a fourth part is ignored; coordinates keep every digit";

    const std::size_t count = entityCount();
    for (const char* bad : {R"({"className":"AcDbLine","start":"1","end":"2,2"})",
                            R"({"className":"AcDbLine","start":"1,,2","end":"2,2"})",
                            R"({"className":"AcDbLine","start":"1,2","end":"2,inf"})",
                            R"({"className":"AcDbLine","start":[1,2],"end":"2,2"})",
                            R"({"className":"AcDbLine","start":"1,2"})",
                            R"({"className":"acdbline","start":"1,2","end":"2,2"})",
                            R"({"className":"AcDbPoint","position":"1,2"})"})
        EXPECT_TRUE(createOne(bad).isEmpty()) << bad;
    EXPECT_EQ(entityCount(), count) << "nothing is added for a failed entity";
}

TEST_F(CreateTest, BatchesGoOnPastFailuresAndTheViewWidensForNewGeometryOutsideIt) {
    doc->view().setAspectRatio(2);
    const db::Extents3d start = doc->view().visibleExtents();  // 200 x 100 about the origin
    QJsonObject r = create(R"({"entities":[7, {"start":"0,0","end":"1,1"},
        {"className":"AcDbLine","start":"0,0","end":"1,0"},
        {"className":"AcDbCircle","center":"0,0","radius":0},
        {"className":"AcDbCircle","center":"10,10","radius":5}]})");
    EXPECT_FALSE(r.value("success").toBool());
    const QJsonArray list = r.value("entities").toArray();
    ASSERT_EQ(list.size(), 2) << "elements without a class are passed over, the failed circle left out";
    EXPECT_EQ(list[1].toObject().value("className"), "AcDbCircle");
    EXPECT_TRUE(doc->view().visibleExtents().isEqualTo(start)) << "all inside the view: untouched";

    EXPECT_EQ(create(R"({"entities":[]})"), (QJsonObject{{"success", true}, {"entities", QJsonArray()}}));
    for (const char* json : {R"({"entities":{}})", R"([1])"})
        EXPECT_EQ(create(json), (QJsonObject{{"success", false}})) << json;

    create(R"({"entities":[{"className":"AcDbCircle","center":"500,0","radius":20},
                           {"className":"AcDbLine","start":"0,0","end":"0,-300"}]})");
    const db::Extents3d now = doc->view().visibleExtents();
    for (const db::Point3d& p :
         {start.minPoint(), start.maxPoint(), db::Point3d(520, 20), db::Point3d(0, -300)})
        EXPECT_TRUE(now.contains(p, 1e-9)) << p.x << "," << p.y;
    // Old view and new geometry together are 350 high; the view keeps its 2:1 shape around them.
    EXPECT_LT(now.maxPoint().y - now.minPoint().y, 360) << "a small margin, not a wild zoom";
}

}  // namespace
}  // namespace vela::commands
