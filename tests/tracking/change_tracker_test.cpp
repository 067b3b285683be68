#include <QJsonArray>
#include <QJsonDocument>

#include "../commands/fixture.h"
#include "bridge/velaassistant_communication.h"
#include "db/records/text_style_table_record.h"
#include "tracking/changes_report.h"

namespace vela::tracking {
namespace {

using commands::testing::DrawingTest;

const char* kEmptyReport =
    R"({"changes":{"created":{},"erased":{},"modified":[],"summary":{"created":0,"erased":0,"modified":0}},"success":true})";

class ChangeTrackerTest : public DrawingTest {
  protected:
    ChangeTrackerTest() {
        tracker.setClock([this] { return clock; });
        tracker.Start();
    }
    ~ChangeTrackerTest() override {
        tracker.Stop();
        tracker.setClock(nullptr);
    }
    /// The page's answer, as the bridge gives it.
    std::string report() { return bridge.GetChangesInfo(QString()).toStdString(); }
    DatabaseChanges take() { return tracker.TakeChanges(&db); }
    template <class T = db::Entity, class Change>
    void edit(db::ObjectId id, Change change) {
        auto object = db::openObject<T>(id, db::OpenMode::ForWrite);
        ASSERT_TRUE(object);
        change(*object);
    }
    db::ObjectId textStyle(const std::string& name) {
        db::ObjectId id;
        EXPECT_EQ(db.addRecord(db.textStyleTableId(), std::make_unique<db::TextStyleTableRecord>(name), &id),
                  db::ErrorStatus::Ok);
        return id;
    }

    std::int64_t clock = 0;
    CJxV3ChangeTracker& tracker = *GetV3ChangeTracker();
    bridge::CJxVelaAssistantCommunication bridge;
};

TEST_F(ChangeTrackerTest, ReportsCreatedEntitiesAsHandlesAndNamedRecordsAsObjectsOnce) {
    const db::ObjectId l = line();
    const db::ObjectId walls = addLayer("Walls");
    EXPECT_EQ(
        report(),
        QStringLiteral(R"({"changes":{"created":{"Entity":{"AcDbLine":["%1"]},"Layer":)"
                       R"({"AcDbLayerTableRecord":[{"handle":"%2","name":"Walls"}]}},"erased":{},)"
                       R"("modified":[],"summary":{"created":2,"erased":0,"modified":0}},"success":true})")
            .arg(hex(l), hex(walls))
            .toStdString());
    EXPECT_EQ(report(), kEmptyReport) << "a report takes what it shows";
}

TEST_F(ChangeTrackerTest, CreatedAndErasedBeforeAReportIsNowhereAndAnUndoneEraseIsNotErased) {
    const db::ObjectId kept = line(), gone = line();
    report();
    edit(gone, [](db::Entity& e) { e.setColor(db::Color::fromIndex(1)); });
    edit(gone, [](db::Entity& e) { e.erase(true); });
    const db::ObjectId brief = line();
    edit(brief, [](db::Entity& e) { e.setColor(db::Color::fromIndex(3)); });
    edit(brief, [](db::Entity& e) { e.erase(true); });
    db.undoManager().beginGroup("erase");
    edit(kept, [](db::Entity& e) { e.erase(true); });
    db.undoManager().endGroup();
    db.undoManager().undo(1);
    const DatabaseChanges changes = take();
    EXPECT_TRUE(changes.created.empty());
    EXPECT_TRUE(changes.modified.empty()) << "a modified object that is erased is reported as erased only";
    ASSERT_EQ(changes.erased.size(), 1u);
    EXPECT_EQ(changes.erased.begin()->first, gone.handle());
}

TEST_F(ChangeTrackerTest, EveryChangeIsComparedWithTheFirstSnapshotWhichOutlivesReports) {
    const db::ObjectId layer = addLayer("A", db::Color::fromIndex(1));
    report();
    // The record keeps the name the object had when it was first recorded.
    edit<db::LayerTableRecord>(layer, [](db::LayerTableRecord& l) { l.setName("B"); });
    edit<db::LayerTableRecord>(layer, [](db::LayerTableRecord& l) {
        l.setName("C");
        l.setIsLocked(true);
    });
    EXPECT_EQ(
        report(),
        QStringLiteral(R"({"changes":{"created":{},"erased":{},"modified":[{"category":"Layer","changes":[)"
                       R"({"newValue":"B","oldValue":"A","property":"Name"},)"
                       R"({"newValue":"C","oldValue":"A","property":"Name"},)"
                       R"({"newValue":"true","oldValue":"false","property":"IsLocked"}],)"
                       R"("className":"AcDbLayerTableRecord","handle":"%1","name":"B"}],)"
                       R"("summary":{"created":0,"erased":0,"modified":1}},"success":true})")
            .arg(hex(layer))
            .toStdString());
    edit<db::LayerTableRecord>(layer, [](db::LayerTableRecord& l) { l.setColor(db::Color::fromIndex(5)); });
    const DatabaseChanges later = take();
    ASSERT_EQ(later.modified.size(), 1u);
    const std::vector<PropertyChange>& changes = later.modified.begin()->second.changes;
    ASSERT_EQ(changes.size(), 3u) << "still against the first snapshot: name, color and lock differ";
    EXPECT_EQ(changes[1].property, "Color");
    EXPECT_EQ(changes[1].oldValue, "1");
    EXPECT_EQ(changes[1].newValue, "5");
}

TEST_F(ChangeTrackerTest, EntitiesCompareColorLayerLinetypeLineweightAndOpacityOnly) {
    const db::ObjectId walls = addLayer("Walls");
    const db::ObjectId l = line();
    report();
    edit(l, [](db::Entity& e) { e.transformBy(db::Matrix3d::translation({5, 5, 0})); });
    edit(l, [](db::Entity& e) { e.setTransparency(db::Transparency::fromAlpha(255)); });
    EXPECT_TRUE(take().modified.empty()) << "moving, and alpha 255 for by layer, change nothing compared";

    edit(l, [&](db::Entity& e) {
        e.setColor(db::Color::fromRgb(1, 2, 3));
        e.setLayerId(walls);
        e.setLineWeight(db::LineWeight::W035);
        e.setTransparency(db::Transparency::fromAlpha(127));
    });
    const DatabaseChanges changes = take();
    ASSERT_EQ(changes.modified.size(), 1u);
    QStringList seen;
    for (const PropertyChange& c : changes.modified.begin()->second.changes)
        seen << c.property + ':' + c.oldValue + '>' + c.newValue;
    EXPECT_EQ(seen, QStringList({"Color:ByLayer>RGB(1,2,3)", "Layer:0>Walls", "Lineweight:ByLayer>35",
                                 "Transparency:1.0>0.5"}));
}

TEST_F(ChangeTrackerTest, BlockContentsAreNeverRecordedTextStylesOnlyComeAndGo) {
    db::ObjectId block;
    ASSERT_EQ(db.addRecord(db.blockTableId(), std::make_unique<db::BlockTableRecord>("B"), &block),
              db::ErrorStatus::Ok);
    const db::ObjectId inside =
        add(std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(1, 0)), {}, block);
    const db::ObjectId onPaper =
        add(std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(1, 0)), {}, db.paperSpaceId());
    const db::ObjectId style = textStyle("Notes");
    DatabaseChanges changes = take();
    EXPECT_FALSE(changes.created.contains(inside.handle()));
    EXPECT_FALSE(changes.created.contains(block.handle())) << "block records are not tracked";
    EXPECT_TRUE(changes.created.contains(onPaper.handle()));
    ASSERT_TRUE(changes.created.contains(style.handle()));
    EXPECT_EQ(CategoryName(changes.created.at(style.handle()).category), "TextStyle");

    edit(inside, [](db::Entity& e) { e.setColor(db::Color::fromIndex(2)); });
    edit<db::TextStyleTableRecord>(style, [](db::TextStyleTableRecord& s) { s.setName("Titles"); });
    EXPECT_TRUE(take().modified.empty());
    edit<db::TextStyleTableRecord>(style, [](db::TextStyleTableRecord& s) { s.erase(true); });
    EXPECT_TRUE(take().erased.contains(style.handle()));
}

TEST_F(ChangeTrackerTest, ThirtyIdleMinutesDropEverythingSnapshotsIncluded) {
    const db::ObjectId l = line(db::ObjectId(), db::Color::fromIndex(1));
    report();
    edit(l, [](db::Entity& e) { e.setColor(db::Color::fromIndex(2)); });
    clock += 29LL * 60'000'000'000;
    tracker.resetWhenIdle();
    EXPECT_EQ(take().modified.size(), 1u) << "29 minutes are not enough";

    edit(l, [](db::Entity& e) { e.setColor(db::Color::fromIndex(3)); });
    clock += 30LL * 60'000'000'000;
    EXPECT_EQ(report(), kEmptyReport) << "the report resets first";
    edit(l, [](db::Entity& e) { e.setColor(db::Color::fromIndex(4)); });
    clock += 31LL * 60'000'000'000;
    tracker.resetWhenIdle();  // the timer's work
    edit(l, [](db::Entity& e) { e.setColor(db::Color::fromIndex(5)); });
    const DatabaseChanges changes = take();
    ASSERT_EQ(changes.modified.size(), 1u);
    EXPECT_EQ(changes.modified.begin()->second.changes.front().oldValue, "4")
        << "a fresh snapshot after the reset";
}

TEST_F(ChangeTrackerTest, OpeningADrawingRecordsNothingAndEachDrawingHasItsOwnChanges) {
    const db::ObjectId l = line();
    const QString path = QString::fromStdString(
        (std::filesystem::temp_directory_path() / ("vela_tracker_" + std::to_string(::getpid()) + ".dxf"))
            .string());
    ASSERT_TRUE(db::saveDxfFile(db, path.toStdString()).ok);
    host::Document* other = host.documents().open(path);
    std::filesystem::remove(path.toStdString());
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(report(), kEmptyReport) << "the active drawing was just opened";
    add(std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(2, 0)));  // into the first drawing
    EXPECT_TRUE(take().created.contains(l.handle()));
}

}  // namespace
}  // namespace vela::tracking
