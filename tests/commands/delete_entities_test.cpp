#include "commands/commands.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/raw_object.h"
#include "fixture.h"

namespace vela::commands {
namespace {

class DeleteEntitiesTest : public testing::DrawingTest {
  protected:
    QJsonObject erase(const QJsonArray& handles) {
        return run(kDeleteEntities.body,
                   QJsonDocument(QJsonObject{{"handles", handles}}).toJson().constData());
    }
    static QJsonObject erased(std::initializer_list<std::pair<QString, const char*>> entities,
                              bool success = true) {
        QJsonArray list;
        for (const auto& [handle, cls] : entities)
            list.append(QJsonObject{{"handle", handle}, {"className", cls}});
        return {{"success", success}, {"entities", list}};
    }
    static QJsonObject error(const char* text) { return {{"success", false}, {"error", text}}; }
};

TEST_F(DeleteEntitiesTest, ErasesEntitiesOnlyAndReportsHandlesAsSent) {
    const db::ObjectId locked = addLayer("Locked");
    const db::ObjectId a = line(), b = circle(), keep = line(), onLocked = line(locked);
    db::openObject<db::LayerTableRecord>(locked, db::OpenMode::ForWrite)->setIsLocked(true);
    const QString lower = "0" + hex(b).toLower();  // leading zeros and lower case name the same object
    EXPECT_EQ(erase(QJsonArray{hex(a), "zz", 5, "0", "0x" + hex(keep), lower, hex(a), hex(locked), "FFFFFF"}),
              erased({{hex(a), "AcDbLine"}, {lower, "AcDbCircle"}}))
        << "a handle listed twice names an erased object the second time, which is not found";
    EXPECT_TRUE(a.isErased() && b.isErased());
    EXPECT_FALSE(keep.isErased() || locked.isErased());

    EXPECT_EQ(erase(QJsonArray{hex(onLocked), hex(keep)}), erased({{hex(keep), "AcDbLine"}}, false))
        << "an entity on a locked layer stays, unreported, and the answer says not all went";
    EXPECT_FALSE(onLocked.isErased());
}

TEST_F(DeleteEntitiesTest, TypesWeDoNotModelAreNamedByTheirRecords) {
    db::ObjectId block;
    db.addRecord(db.blockTableId(), std::make_unique<db::BlockTableRecord>("Chair"), &block);
    const db::ObjectId ref = add(std::make_unique<db::BlockReference>(db::Point3d(), block));
    const auto raw = [&](const char* type, std::vector<db::DxfTag> tags) {
        auto entity = std::make_unique<db::RawEntity>(type);
        if (!tags.empty()) entity->editExtras().keptTags = std::move(tags);
        return add(std::move(entity));
    };
    // A rotated dimension as files give it: its own marker, which holds no groups, may be missing.
    const db::ObjectId dim =
        raw("DIMENSION",
            {{100, "AcDbDimension"}, {2, "*D1"}, {70, "32"}, {100, "AcDbAlignedDimension"}, {13, "0.0"}});
    const db::ObjectId radial = raw("DIMENSION", {{100, "AcDbDimension"}, {70, "164"}});
    const db::ObjectId leader = raw("LEADER", {{100, "AcDbLeader"}, {76, "2"}});
    const db::ObjectId bare = raw("LEADER", {});  // an R12 file has no markers
    EXPECT_EQ(erase(QJsonArray{hex(ref), hex(dim), hex(radial), hex(leader), hex(bare)}),
              erased({{hex(ref), "AcDbBlockReference"},
                      {hex(dim), "AcDbRotatedDimension"},
                      {hex(radial), "AcDbRadialDimension"},
                      {hex(leader), "AcDbLeader"},
                      {hex(bare), "AcDbEntity"}}));
}

}  // namespace
}  // namespace vela::commands
