#include <gtest/gtest.h>

#include <sstream>

#include "db/database.h"
#include "db/entities/circle.h"
#include "db/entities/line.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"

namespace vela::db {
namespace {

// Records notifications as "event:handle" strings, in the order they arrive.
class Recorder : public DatabaseReactor {
public:
    std::vector<std::string> events;
    void objectAppended(const Database*, const DbObject* o) override { add("appended", o); }
    void objectOpenedForModify(const Database*, const DbObject* o) override { add("openedForModify", o); }
    void objectModified(const Database*, const DbObject* o) override { add("modified", o); }
    void objectErased(const Database*, const DbObject* o, bool erased) override {
        add(erased ? "erased" : "unerased", o);
    }

private:
    void add(const char* what, const DbObject* o) { events.push_back(std::string(what) + ":" + o->handle().toText()); }
};

// A text picture of everything a user can see in the drawing: layers and live model-space entities.
std::string picture(const Database& db) {
    std::ostringstream out;
    db.layerTable()->forEachRecord([&](SymbolTableRecord* r) {
        auto* l = static_cast<LayerTableRecord*>(r);
        out << "layer " << l->handle().toText() << ' ' << l->name() << " c" << l->color().raw() << " lock"
            << l->isLocked() << '\n';
    });
    auto ms = openObject<BlockTableRecord>(db.modelSpaceId(), OpenMode::ForRead);
    ms->forEachEntity([&](Entity* e) {
        out << e->isA()->dxfName() << ' ' << e->handle().toText() << " on " << e->layer() << " c" << e->color().raw();
        if (auto* l = objectCast<Line>(e))
            out << " " << l->startPoint().x << ',' << l->startPoint().y << ' ' << l->endPoint().x << ','
                << l->endPoint().y;
        if (auto* c = objectCast<Circle>(e)) out << " r" << c->radius();
        out << '\n';
    });
    return out.str();
}

TEST(Notifications, FireInTheOrderACadDatabaseFiresThem) {
    Database db;
    Recorder rec;
    db.addReactor(&rec);
    ObjectId id;
    ASSERT_EQ(db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(), &id), ErrorStatus::Ok);
    const std::string h = id.handle().toText();
    {
        auto line = openObject<Line>(id, OpenMode::ForWrite);
        EXPECT_EQ(rec.events.size(), 1u) << "opening alone notifies nothing";
        line->setStartPoint({1, 1});
        line->setEndPoint({2, 2});  // one opened-for-modify per open, however many changes
        line->erase();
    }
    {
        auto line = openObject<Line>(id, OpenMode::ForWrite, {.openErased = true});
        line->erase(false);
    }
    {
        auto unchanged = openObject<Line>(id, OpenMode::ForWrite);  // no change: no notification
    }
    EXPECT_EQ(rec.events, (std::vector<std::string>{"appended:" + h, "openedForModify:" + h, "erased:" + h,
                                                    "modified:" + h, "openedForModify:" + h, "unerased:" + h,
                                                    "modified:" + h}));
    db.removeReactor(&rec);
    rec.events.clear();
    ASSERT_EQ(db.appendEntity(db.modelSpaceId(), std::make_unique<Line>()), ErrorStatus::Ok);
    EXPECT_TRUE(rec.events.empty()) << "a removed reactor hears nothing";
}

TEST(Notifications, AReactorMayRemoveItselfWhileNotified) {
    Database db;
    struct SelfRemover : DatabaseReactor {
        Database* db = nullptr;
        int calls = 0;
        void objectAppended(const Database*, const DbObject*) override { ++calls, db->removeReactor(this); }
    } once;
    once.db = &db;
    Recorder after;
    db.addReactor(&once);
    db.addReactor(&after);
    db.appendEntity(db.modelSpaceId(), std::make_unique<Line>());
    db.appendEntity(db.modelSpaceId(), std::make_unique<Line>());
    EXPECT_EQ(once.calls, 1);
    EXPECT_EQ(after.events.size(), 2u);
    db.removeReactor(&after);  // the reactors go before the drawing does
}

TEST(Undo, RestoresEveryKindOfChangeExactlyAndRedoReappliesIt) {
    Database db;
    ObjectId layer;
    ASSERT_EQ(db.addRecord(db.layerTableId(), std::make_unique<LayerTableRecord>("A"), &layer), ErrorStatus::Ok);
    ObjectId keep, gone;
    db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(Point3d(0, 0), Point3d(1, 0)), &keep);
    db.appendEntity(db.modelSpaceId(), std::make_unique<Circle>(Point3d(0, 0), 3), &gone);
    const std::string before = picture(db);

    UndoManager& undo = db.undoManager();
    undo.beginGroup("edit");
    {
        auto line = openObject<Line>(keep, OpenMode::ForWrite);
        line->setEndPoint({5, 5});
        line->setColor(Color::fromIndex(1));
        line->setLayerId(layer);
    }
    openObject(gone, OpenMode::ForWrite)->erase();
    {
        auto l = openObject<LayerTableRecord>(layer, OpenMode::ForWrite);
        ASSERT_EQ(l->setName("Renamed"), ErrorStatus::Ok);
        l->setColor(Color::fromIndex(5));
    }
    ObjectId added;
    db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(Point3d(9, 9), Point3d(8, 8)), &added);
    {
        auto a = openObject<Line>(added, OpenMode::ForWrite);  // changing a new object in its own group
        a->setStartPoint({7, 7});
    }
    ObjectId newLayer;
    db.addRecord(db.layerTableId(), std::make_unique<LayerTableRecord>("A"), &newLayer);  // reuses the old name
    undo.endGroup();
    const std::string after = picture(db);
    ASSERT_NE(before, after);
    EXPECT_EQ(undo.undoCount(), 1u);

    ASSERT_EQ(undo.undo(), 1u);
    EXPECT_EQ(picture(db), before);
    EXPECT_EQ(db.layerTable()->getAt("A"), layer) << "the name index follows undo";
    EXPECT_TRUE(db.layerTable()->getAt("Renamed").isNull());
    EXPECT_TRUE(added.isErased());

    ASSERT_EQ(undo.redo(), 1u);
    EXPECT_EQ(picture(db), after);
    EXPECT_EQ(db.layerTable()->getAt("A"), newLayer);
    EXPECT_EQ(openObject<Line>(added, OpenMode::ForRead)->startPoint(), Point3d(7, 7));

    ASSERT_EQ(undo.undo(), 1u);
    EXPECT_EQ(picture(db), before);
}

TEST(Undo, FiresNotificationsSoAnUneraseIsSeenAsSuch) {
    Database db;
    ObjectId id;
    db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(), &id);
    const std::string h = id.handle().toText();
    db.undoManager().beginGroup();
    openObject(id, OpenMode::ForWrite)->erase();
    db.undoManager().endGroup();

    Recorder rec;
    db.addReactor(&rec);
    db.undoManager().undo();
    EXPECT_EQ(rec.events, (std::vector<std::string>{"unerased:" + h}));
    rec.events.clear();
    db.undoManager().redo();
    EXPECT_EQ(rec.events, (std::vector<std::string>{"erased:" + h}));

    // A change of contents and an erase in one group: undo restores both, the erase first.
    db.undoManager().undo();
    db.undoManager().beginGroup();
    {
        auto line = openObject<Line>(id, OpenMode::ForWrite);
        line->setEndPoint({3, 3});
        line->erase();
    }
    db.undoManager().endGroup();
    rec.events.clear();
    db.undoManager().undo();
    EXPECT_EQ(rec.events, (std::vector<std::string>{"unerased:" + h, "openedForModify:" + h, "modified:" + h}));
    EXPECT_EQ(openObject<Line>(id, OpenMode::ForRead)->endPoint(), Point3d(0, 0));
    db.removeReactor(&rec);  // the reactor goes before the drawing does
}

TEST(Undo, AbortingAGroupRollsBackToAConsistentDrawing) {
    Database db;
    ObjectId id;
    db.appendEntity(db.modelSpaceId(), std::make_unique<Line>(Point3d(0, 0), Point3d(1, 1)), &id);
    const std::string before = picture(db);
    db.undoManager().beginGroup();
    try {
        openObject<Line>(id, OpenMode::ForWrite)->setEndPoint({50, 50});
        db.appendEntity(db.modelSpaceId(), std::make_unique<Circle>(Point3d(), 1));
        db.addRecord(db.layerTableId(), std::make_unique<LayerTableRecord>("Half"));
        throw std::runtime_error("command failed halfway");
    } catch (const std::exception&) {
        db.undoManager().abortGroup();
    }
    EXPECT_EQ(picture(db), before);
    EXPECT_FALSE(db.undoManager().canUndo());
    EXPECT_FALSE(db.undoManager().isGroupOpen());
    EXPECT_TRUE(db.layerTable()->getAt("Half").isNull());
}

}  // namespace
}  // namespace vela::db
