#include <unistd.h>

#include <filesystem>

#include "commands/commands.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/ellipse.h"
#include "db/records/linetype_table_record.h"
#include "fixture.h"

namespace vela::commands {
namespace {

class ModifyPropertiesTest : public testing::DrawingTest {
  protected:
    QJsonObject modify(const QJsonArray& handles, const QJsonArray& descriptors) {
        const QJsonObject request{{"handles", handles}, {"propertyDescriptors", descriptors}};
        return run(kModifyEntityProperties.body, QJsonDocument(request).toJson().constData());
    }
    QJsonObject modify(db::ObjectId id, const QJsonObject& descriptor) {
        return modify(QJsonArray{hex(id)}, QJsonArray{descriptor});
    }
    template <class T>
    const T& get(db::ObjectId id) {
        return *db::objectCast<T>(id.peek());
    }
    db::ObjectId linetype(const char* name) { return db.linetypeTable()->getAt(name); }
    const QJsonObject ok{{"success", true}};
    static QJsonObject failed(const std::string& messages) {
        return {{"success", false}, {"errorMessages", QString::fromStdString(messages)}};
    }
};

TEST_F(ModifyPropertiesTest, TakesTheSelectionWithoutHandlesAndSkipsWhatIsNoUnlockedEntity) {
    const QJsonObject color{{"LineColor", "3"}};
    const char* none = "No entities to modify. Provide handles or select entities first.";
    EXPECT_EQ(modify(QJsonArray(), QJsonArray{color}), failed(none));
    const db::ObjectId locked = addLayer("Locked");
    const db::ObjectId onLocked = line(locked), selected = line(), other = circle(), gone = line();
    db::openObject<db::LayerTableRecord>(locked, db::OpenMode::ForWrite)->setIsLocked(true);
    db::openObject<db::Entity>(gone, db::OpenMode::ForWrite)->erase();
    doc->selection().set({gone, selected, db.layerZeroId()});
    EXPECT_EQ(modify(QJsonArray(), QJsonArray{color}), ok);
    EXPECT_EQ(get<db::Line>(selected).color(), db::Color::fromIndex(3));
    EXPECT_EQ(get<db::Circle>(other).color(), db::Color::byLayer());

    // Locked, unknown, erased, non-entity, prefixed and non-string handles pass without a word.
    const QJsonArray handles{hex(onLocked),     "ZZ", "0",       "FFFFFF", hex(gone), hex(db.layerZeroId()),
                             "0x" + hex(other), 7,    hex(other)};
    EXPECT_EQ(modify(handles, QJsonArray{QJsonObject{{"LineColor", "5"}, {"Layer", "Missing"}}}),
              failed("Error setting layer to Missing because the layer doesn't exist. "));
    EXPECT_EQ(get<db::Circle>(other).color(), db::Color::fromIndex(5));
    EXPECT_EQ(get<db::Line>(onLocked).color(), db::Color::byLayer());
    EXPECT_EQ(get<db::LayerTableRecord>(db.layerZeroId()).color(), db::Color::fromIndex(7));

    doc->selection().set({gone});
    EXPECT_EQ(modify(QJsonArray(), QJsonArray{color}), failed(none)) << "nothing selected is left";
    host::UserIO io({}, host.services().userInput());
    host::CommandContext noDrawing(nullptr, io);
    EXPECT_EQ(kModifyEntityProperties.body(QJsonDocument::fromJson("{\"handles\":[\"1\"]}"), noDrawing),
              failed("Invalid database"));
}

TEST_F(ModifyPropertiesTest, MissingLinetypesAreLoadedFromTheFileOfTheDrawingsUnits) {
    const db::ObjectId a = line();
    EXPECT_EQ(modify(a, {{"LineType", "dashed"}}),
              QJsonObject({{"success", true},
                           {"infoMessages",
                            "Linetype dashed was not initially found, so it has been loaded and set. "}}));
    EXPECT_EQ(get<db::Line>(a).linetypeId(), linetype("DASHED"));
    EXPECT_NEAR(get<db::LinetypeTableRecord>(linetype("DASHED")).patternLength(), 19.05, 1e-9) << "mm.lin";
    db.setMeasurement(db::MeasurementSystem::Imperial);
    EXPECT_EQ(modify(a, {{"LineType", "HIDDEN"}}).value("success"), true);
    EXPECT_NEAR(get<db::LinetypeTableRecord>(linetype("HIDDEN")).patternLength(), 0.375, 1e-9) << "inch.lin";

    const std::string missing = "Error setting linetype to NoSuchType because of Key not found. ";
    EXPECT_EQ(modify(QJsonArray{hex(a), hex(line())}, QJsonArray{QJsonObject{{"LineType", "NoSuchType"}}}),
              failed(missing + missing));
    EXPECT_EQ(modify(QJsonArray{hex(a)},
                     QJsonArray{QJsonObject{{"LineType", "CENTER"}}, QJsonObject{{"LineColor", "x"}}}),
              failed("Linetype CENTER was not initially found, so it has been loaded and set. "
                     "Error parsing property from x because Unknown error. "))
        << "with a failure, the info message joins the errors";
}

TEST_F(ModifyPropertiesTest, GeometryOfLinesCirclesArcsEllipsesAndBlockReferences) {
    const db::ObjectId l = add(std::make_unique<db::Line>(db::Point3d(0, 0, 9), db::Point3d(1, 1, 9)));
    EXPECT_EQ(modify(l, {{"StartPoint", "5,6"}, {"EndPoint", "1.5,x,-2"}, {"Center", "3,3"}}), ok);
    EXPECT_EQ(get<db::Line>(l).startPoint(), db::Point3d(5, 6, 9)) << "two parts keep z";
    EXPECT_EQ(get<db::Line>(l).endPoint(), db::Point3d(1.5, 0, -2)) << "an unreadable part is 0";
    EXPECT_EQ(modify(l, {{"StartPoint", "7"}}), ok);
    EXPECT_EQ(get<db::Line>(l).startPoint(), db::Point3d(5, 6, 9)) << "one part is no point";

    const db::ObjectId c = circle({}, 1);
    EXPECT_EQ(modify(c, {{"Radius", "-5"}, {"Center", "1,2"}}), ok);
    EXPECT_EQ(get<db::Circle>(c).radius(), 1.0);
    EXPECT_EQ(get<db::Circle>(c).center(), db::Point3d(1, 2, 0));
    const db::ObjectId a = add(std::make_unique<db::Arc>(db::Point3d(0, 0), 2, 0.5, 2.0));
    EXPECT_EQ(modify(a, {{"Radius", "3"}, {"StartAngle", "1.25"}, {"EndAngle", "east"}}), ok);
    EXPECT_EQ(get<db::Arc>(a).radius(), 3.0);
    EXPECT_DOUBLE_EQ(get<db::Arc>(a).startAngle(), 1.25) << "radians";
    EXPECT_DOUBLE_EQ(get<db::Arc>(a).endAngle(), 2.0);

    auto e = std::make_unique<db::Ellipse>();
    e->set(db::Point3d(1, 1), db::Vector3d::zAxis(), db::Vector3d(2, 0, 0), 0.5, 0.25, 3.0);
    const db::ObjectId el = add(std::move(e));
    const auto& ellipse = get<db::Ellipse>(el);
    EXPECT_EQ(modify(el, {{"MajorAxis", "0,4"}, {"MinorAxisRatio", "1.5"}}), ok);
    EXPECT_EQ(ellipse.majorAxis(), db::Vector3d(0, 4, 0));
    EXPECT_EQ(ellipse.center(), db::Point3d(1, 1));
    EXPECT_EQ(ellipse.radiusRatio(), 0.5) << "a ratio above 1 changes nothing";
    EXPECT_DOUBLE_EQ(ellipse.startParam(), 0.25) << "an elliptic arc stays one";
    EXPECT_EQ(modify(el, {{"MinorAxisRatio", "1"}, {"MajorAxis", "0,0,5"}}), ok)
        << "an axis off the plane is ignored";
    EXPECT_EQ(ellipse.radiusRatio(), 1.0);
    EXPECT_EQ(ellipse.majorAxis(), db::Vector3d(0, 4, 0));

    db::ObjectId block;
    db.addRecord(db.blockTableId(), std::make_unique<db::BlockTableRecord>("Chair"), &block);
    const db::ObjectId r = add(std::make_unique<db::BlockReference>(db::Point3d(1, 2, 3), block));
    const auto& ref = get<db::BlockReference>(r);
    EXPECT_EQ(modify(r, {{"Position", "5,6"}, {"ScaleFactors", "2"}}), ok);
    EXPECT_EQ(ref.position(), db::Point3d(5, 6, 3));
    EXPECT_EQ(ref.scaleFactors(), db::Vector3d(2, 2, 2));
    EXPECT_EQ(modify(r, {{"Position", "5"}, {"ScaleFactors", "2,3"}, {"Position Y", "-1"}}), ok);
    EXPECT_EQ(ref.position(), db::Point3d(5, -1, 3));
    EXPECT_EQ(ref.scaleFactors(), db::Vector3d(2, 3, 2));
    EXPECT_EQ(modify(r, {{"Scale X", "0"}, {"Scale Z", "4"}, {"ScaleFactors", ""}}), ok)
        << "zero factors refused";
    EXPECT_EQ(ref.scaleFactors(), db::Vector3d(2, 3, 4));
}

}  // namespace
}  // namespace vela::commands
