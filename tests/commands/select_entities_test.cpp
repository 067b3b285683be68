#include "commands/commands.h"
#include "fixture.h"

namespace vela::commands {
namespace {

using testing::DrawingTest;

class SelectEntitiesTest : public DrawingTest {
  protected:
    QJsonObject select(const char* json) { return run(kSelectEntities.body, json); }
};

TEST_F(SelectEntitiesTest, AndWithinAClassOrAcrossClasses) {
    const db::ObjectId walls = addLayer("Walls"), doors = addLayer("Doors");
    const db::ObjectId redWall = line(walls, db::Color::fromIndex(1));
    const db::ObjectId plainWall = line(walls);
    line(doors, db::Color::fromIndex(1));
    const db::ObjectId wallCircle = circle(walls);
    circle(doors);

    QJsonObject r = select(R"({"entities":[{"className":"AcDbLine","properties":[
        {"property":"Layer","operator":"==","value":"Walls"},{"property":"Color","operator":"==","value":"1"}]}]})");
    EXPECT_TRUE(r.value("success").toBool());
    EXPECT_EQ(strings(r.value("handles")), QStringList{hex(redWall)}) << "conditions on one class: AND";
    EXPECT_EQ(r.value("numSelected").toInt(), 1);
    EXPECT_EQ(doc->selection().ids(), std::vector<db::ObjectId>{redWall}) << "the result is selected";

    r = select(
        R"({"entities":[{"className":"AcDbLine","properties":[{"property":"Layer","operator":"==","value":"Walls"}]},
        {"className":"AcDbCircle","properties":[{"property":"Layer","operator":"==","value":"Walls"}]}]})");
    EXPECT_EQ(strings(r.value("handles")), (QStringList{hex(wallCircle), hex(redWall), hex(plainWall)}))
        << "classes: OR, in class-name order";

    // Two entries for one class are intersected, not united.
    r = select(
        R"({"entities":[{"className":"AcDbLine","properties":[{"property":"Layer","operator":"==","value":"Walls"}]},
        {"className":"AcDbLine","properties":[{"property":"Color","operator":"!=","value":"1"}]}]})");
    EXPECT_EQ(strings(r.value("handles")), QStringList{hex(plainWall)});

    // A condition that matches nothing empties everything, also the other class's part.
    r = select(
        R"({"entities":[{"className":"AcDbLine","properties":[{"property":"Layer","operator":"==","value":"Walls"}]},
        {"className":"AcDbCircle","properties":[{"property":"Radius","operator":">","value":100}]}]})");
    EXPECT_EQ(r.value("numSelected").toInt(), 0);
    EXPECT_TRUE(strings(r.value("handles")).isEmpty());
    EXPECT_TRUE(r.value("success").toBool()) << "success tells that some search found something";
}

TEST_F(SelectEntitiesTest, ValuesAreConvertedPerPropertyType) {
    const db::ObjectId a = line({}, db::Color::fromRgb(255, 128, 0), 2.5);
    const db::ObjectId b = line({}, db::Color::fromIndex(3), 1234567);
    {
        auto l = db::openObject<db::Line>(b, db::OpenMode::ForWrite);
        l->setLineWeight(db::LineWeight::W025);
        l->setTransparency(db::Transparency::fromAlpha(127));
    }
    auto handles = [&](const char* property, const char* op, const char* value) {
        const QString q =
            QStringLiteral(
                R"({"entities":[{"className":"AcDbLine","properties":[{"property":"%1","operator":"%2","value":%3}]}]})")
                .arg(QLatin1String(property), QLatin1String(op), QLatin1String(value));
        return strings(run(kSelectEntities.body, q.toUtf8().constData()).value("handles"));
    };
    EXPECT_EQ(handles("Color", "==", "\"#FF8000\""), QStringList{hex(a)});
    EXPECT_EQ(handles("Color", "==", "\"(255,128,0)\""), QStringList{hex(a)});
    EXPECT_EQ(handles("Color", "==", "\"3\""), QStringList{hex(b)});
    EXPECT_EQ(handles("Length", "==", "2.5"), QStringList{hex(a)});
    EXPECT_EQ(handles("Length", "==", "1234567"), QStringList{hex(b)})
        << "six significant digits still match";
    EXPECT_EQ(handles("Length", ">", "\"3\""), QStringList{hex(b)});
    EXPECT_EQ(handles("Length", "<", "3"), QStringList{hex(a)});
    EXPECT_EQ(handles("Lineweight", "==", "\"0.25 mm\""), QStringList{hex(b)});
    EXPECT_EQ(handles("Lineweight", "==", "\"ByLayer\""), QStringList{hex(a)});
    EXPECT_EQ(handles("Transparency", "==", "\"50\""), QStringList{hex(b)});
    EXPECT_EQ(handles("Layer", "==", "\"0\""), (QStringList{hex(a), hex(b)}));

    const QJsonObject r = run(kSelectEntities.body, R"({"entities":[{"className":"AcDbLine","properties":[
        {"property":"Color","operator":"==","value":"#FF00001"},{"property":"Color","operator":"==","value":"red"}]}]})");
    EXPECT_EQ(strings(r.value("errorMessages")),
              (QStringList{QStringLiteral("Error parsing property from #FF00001 because . "),
                           QStringLiteral("Error parsing property from red because Unknown error. ")}));
    EXPECT_FALSE(r.value("success").toBool());
}

TEST_F(SelectEntitiesTest, HandleSelectorSortsEveryHandleIntoOneList) {
    const db::ObjectId a = line(), b = circle();
    db::ObjectId paper = add(std::make_unique<db::Line>(), {}, db.paperSpaceId());
    const db::ObjectId gone = line();
    db::openObject(gone, db::OpenMode::ForWrite)->erase();
    doc->selection().set({b});
    const QString query = QStringLiteral(R"({"handles":["0x%1"," %2 ","%3","%4","zz","","%5","%6"]})")
                              .arg(hex(a).toLower(), hex(b), hex(paper), hex(gone), QStringLiteral("FFFFFF"),
                                   hex(db.layerZeroId()));
    QJsonObject r = run(kSelectEntityByHandle.body, query.toUtf8());
    EXPECT_TRUE(r.value("success").toBool());
    EXPECT_EQ(strings(r.value("selectedHandles")), (QStringList{hex(a), hex(b)}));
    EXPECT_EQ(r.value("numSelected").toInt(), 2);
    EXPECT_EQ(
        strings(r.value("notFoundHandles")),
        (QStringList{hex(gone), QStringLiteral("zz"), QStringLiteral("FFFFFF"), hex(db.layerZeroId())}));
    EXPECT_EQ(strings(r.value("foundHandlesNotInActiveSpace")), QStringList{hex(paper)});
    EXPECT_EQ(doc->selection().ids(), (std::vector<db::ObjectId>{a, b}));

    r = run(kSelectEntityByHandle.body,
            QStringLiteral(R"({"handles":["0X%1"],"clearSelection":false})").arg(hex(paper)).toUtf8());
    EXPECT_FALSE(r.value("success").toBool());
    EXPECT_FALSE(r.contains("notFoundHandles")) << "empty lists are left out";
    EXPECT_EQ(doc->selection().ids().size(), 2u) << "kept when not asked to clear";
    r = run(kSelectEntityByHandle.body, "not json");
    EXPECT_EQ(r.value("numSelected").toInt(), 0);
    EXPECT_TRUE(doc->selection().isEmpty()) << "a bad query is an empty one, which clears";
}

}  // namespace
}  // namespace vela::commands
