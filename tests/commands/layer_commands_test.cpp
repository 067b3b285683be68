#include <QRegularExpression>

#include "commands/commands.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/support/linetype_file.h"
#include "fixture.h"
#include "host/text/color_text.h"

namespace vela::commands {
namespace {

using Body = QJsonObject (*)(const QJsonDocument&, host::CommandContext&);

class LayerCommandsTest : public testing::DrawingTest {
  protected:
    // The per-layer results of a batch of the given layer objects.
    QJsonArray batch(Body body, const QJsonArray& layers, bool expectSuccess) {
        const QByteArray json = QJsonDocument(QJsonObject{{"layers", layers}}).toJson(QJsonDocument::Compact);
        const QJsonObject r = run(body, json.constData());
        EXPECT_EQ(r.value("success").toBool(), expectSuccess) << json.constData();
        return r.value("layers").toArray();
    }
    db::ObjectId id(const char* name) { return db.layerTable()->getAt(name); }
    const db::LayerTableRecord* layer(const char* name) {
        return db::objectCast<db::LayerTableRecord>(id(name).peek());
    }
    db::ObjectId addDashed() {
        db::LinetypeDefinition dashed{.name = "DASHED", .elements = {{.length = 0.5}, {.length = -0.25}}};
        db::ObjectId linetype;
        EXPECT_EQ(db.addLinetype(dashed, &linetype), db::ErrorStatus::Ok);
        return linetype;
    }
    QJsonObject done(const char* requestName, const char* layerName) {
        return {{"success", true}, {"name", requestName}, {"handle", hex(id(layerName))}};
    }
};

QJsonObject failed(const QString& error) {
    return {{"success", false}, {"error", error}};
}

TEST_F(LayerCommandsTest, FrameRefusesBadRequestsAndSkipsElementsThatAreNotObjects) {
    host::UserIO io({}, host.services().userInput());
    host::CommandContext noDrawing(nullptr, io);
    const QJsonDocument two = QJsonDocument::fromJson(R"({"layers":[{"name":"A"},{"name":"B"}]})");
    for (Body body : {kCreateLayers.body, kModifyLayers.body, kDeleteLayers.body}) {
        for (const char* request : {"{}", R"({"layers":{"name":"A"}})", "[1]"})
            EXPECT_EQ(run(body, request), failed("Missing or invalid 'layers' array in input"));
        EXPECT_EQ(run(body, R"({"layers":[]})"), QJsonObject({{"success", true}, {"layers", QJsonArray()}}));
        EXPECT_EQ(batch(body, {1, "A", QJsonValue(), QJsonArray(), QJsonObject()}, false),
                  QJsonArray({failed("Layer name is required")}));
        // Without a drawing every layer still gets its own result.
        EXPECT_EQ(body(two, noDrawing).value("layers"),
                  QJsonArray({failed("Invalid database"), failed("Invalid database")}));
    }
}

TEST_F(LayerCommandsTest, CreateAppliesWhatItCanAndReportsEachLayer) {
    const db::ObjectId dashed = addDashed();
    addLayer("Walls", db::Color::fromIndex(5));
    const QJsonArray results =
        batch(kCreateLayers.body,
              {QJsonObject{{"name", "Doors"}, {"color", 1}, {"linetype", "NOSUCH"}, {"lineweight", "0.26"}},
               QJsonObject{{"name", "WALLS"}, {"color", 1}, {"on", false}}, QJsonObject{{"name", "Bad:Name"}},
               QJsonObject{{"name", "Glass"},
                           {"color", "(10, 20, 30)"},
                           {"linetype", "dashed"},
                           {"lineweight", "0.35 mm"},
                           {"on", "false"},
                           {"frozen", "TRUE"},
                           {"locked", 1}},
               QJsonObject{{"name", 42}, {"color", "#GG0000"}, {"on", "no"}, {"locked", true}}},
              false);
    const QString colorError =
        "Color parsing for Layer '42' failed. Error parsing property from #GG0000 because";
    ASSERT_EQ(results.size(), 5);
    EXPECT_EQ(results[0], done("Doors", "Doors"));
    EXPECT_EQ(results[1], QJsonObject({{"success", true}, {"info", "Layer 'WALLS' already exists"}}));
    EXPECT_EQ(results[2], failed("Invalid layer name: 'Bad:Name'"));
    EXPECT_EQ(results[3], done("Glass", "Glass"));
    EXPECT_TRUE(results[4]["error"].toString().startsWith(colorError) &&
                results[4]["error"].toString().endsWith(". . "));
    EXPECT_EQ(results[4].toObject().value("handle"), hex(id("42")));

    // An unknown linetype or lineweight leaves the new layer's default; an existing layer is not touched.
    EXPECT_EQ(layer("Doors")->color(), db::Color::fromIndex(1));
    EXPECT_EQ(layer("Doors")->linetypeId(), db.linetypeContinuousId());
    EXPECT_EQ(layer("Doors")->lineWeight(), db::LineWeight::ByLineWeightDefault);
    EXPECT_FALSE(layer("Doors")->isOff() || layer("Doors")->isFrozen() || layer("Doors")->isLocked());
    EXPECT_EQ(layer("Walls")->color(), db::Color::fromIndex(5));
    EXPECT_FALSE(layer("Walls")->isOff());
    EXPECT_EQ(layer("Glass")->color(), db::Color::fromRgb(10, 20, 30));
    EXPECT_EQ(layer("Glass")->linetypeId(), dashed);
    EXPECT_EQ(layer("Glass")->lineWeight(), db::LineWeight::W035);
    EXPECT_TRUE(layer("Glass")->isOff() && layer("Glass")->isFrozen() && layer("Glass")->isLocked());
    EXPECT_EQ(layer("42")->color(), db::Color::fromIndex(7)) << "a bad color is skipped, the rest applies";
    EXPECT_TRUE(!layer("42")->isOff() && layer("42")->isLocked());
    EXPECT_TRUE(layer("Bad:Name") == nullptr && db.layerTable()->size() == 5u);
}

TEST_F(LayerCommandsTest, ALayerColorCannotBeByLayerOrByBlock) {
    addLayer("A", db::Color::fromIndex(3));
    for (const char* color : {"0", "256", "ByLayer", "ByBlock"}) {
        const QJsonArray results =
            batch(kModifyLayers.body, {QJsonObject{{"name", "A"}, {"color", color}}}, true);
        ASSERT_EQ(results.size(), 1);
        // Index 0 reads as a color and is refused as a layer's; the names do not read as colors at all.
        EXPECT_TRUE(results[0]["error"].toString().startsWith("Color parsing for Layer 'A' failed."))
            << color;
        EXPECT_EQ(layer("A")->color(), db::Color::fromIndex(3)) << color;
    }
    const QJsonArray created = batch(kCreateLayers.body, {QJsonObject{{"name", "B"}, {"color", "0"}}}, true);
    EXPECT_TRUE(
        created[0]["error"].toString().contains("must be an index from 1 to 255 or a true color, not 0"))
        << QJsonDocument(created).toJson().constData();
    EXPECT_EQ(layer("B")->color(), db::Color::fromIndex(7)) << "the new layer keeps the default";
}

TEST_F(LayerCommandsTest, DeleteRefusesInOrderAndJudgesUseByTheWholeDrawing) {
    const db::ObjectId used = addLayer("Used");
    line(used);
    addLayer("Defpoints");
    addLayer("Empty");  // added after the last usage scan: only a fresh scan shows it unused
    const db::ObjectId inBlock = addLayer("InBlock"), erasedOnly = addLayer("ErasedOnly");
    db::ObjectId chair, xref, usedXref;
    ASSERT_EQ(db.addRecord(db.blockTableId(), std::make_unique<db::BlockTableRecord>("Chair"), &chair),
              db::ErrorStatus::Ok);
    add(std::make_unique<db::Circle>(db::Point3d(), 1), inBlock, chair);
    ASSERT_EQ(db::openObject<db::Entity>(line(erasedOnly), db::OpenMode::ForWrite)->erase(),
              db::ErrorStatus::Ok);
    // Layers of an external reference, which only a file brings (their names hold the bar).
    for (auto [name, out] : {std::pair{"Site|Walls", &xref}, std::pair{"Site|Roof", &usedXref}})
        ASSERT_EQ(
            db.addRecord(db.layerTableId(), std::make_unique<db::LayerTableRecord>(name), out, {}, true),
            db::ErrorStatus::Ok);
    circle(usedXref);
    const QJsonObject empty = done("empty", "Empty"), erased = done("ErasedOnly", "ErasedOnly");

    auto names = [](std::initializer_list<const char*> list) {
        QJsonArray layers;
        for (const char* n : list) layers.append(QJsonObject{{"name", n}});
        return layers;
    };
    EXPECT_EQ(
        batch(kDeleteLayers.body,
              names({"X", "0", "defPOINTS", "Used", "InBlock", "Site|Walls", "Site|Roof", "empty",
                     "ErasedOnly"}),
              false),
        QJsonArray(
            {failed("Layer 'X' does not exist"),
             failed("Cannot delete layer '0' because it is the current layer"),
             failed("Cannot delete the Defpoints layer"),
             failed("Cannot delete layer 'Used' because it is currently in use"),
             failed("Cannot delete layer 'InBlock' because it is currently in use"),
             failed("Cannot delete layer 'Site|Walls' because it is dependent on an external reference"),
             failed("Cannot delete layer 'Site|Roof' because it is currently in use"), empty, erased}));
    EXPECT_TRUE(id("Empty").isNull() && id("ErasedOnly").isNull() && !inBlock.isErased());
    ASSERT_EQ(db.setCurrentLayer(used), db::ErrorStatus::Ok);
    EXPECT_EQ(batch(kDeleteLayers.body, names({"0", "used"}), false),
              QJsonArray({failed("Cannot delete layer '0'"),
                          failed("Cannot delete layer 'used' because it is the current layer")}));
}

}  // namespace
}  // namespace vela::commands
