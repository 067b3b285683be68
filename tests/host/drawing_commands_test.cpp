// The host's drawing commands driven through queued input, as a script, LISP or a person typing ahead would.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <cmath>

#include "db/dxf/file/dxf_reader.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/arc.h"
#include "db/entities/block_reference.h"
#include "db/entities/circle.h"
#include "db/entities/line.h"
#include "db/entities/polyline.h"
#include "db/entities/text.h"
#include "db/records/block_table_record.h"
#include "db/records/layer_table_record.h"
#include "host/host.h"
#include "host/result_codes.h"

namespace vela::host {
namespace {

class DrawingCommands : public ::testing::Test, public MessageSink {
  protected:
    Host host;
    Document* doc = host.documents().createNew();
    db::Database& db = *doc->database();
    QStringList log;

    DrawingCommands() {
        host.services().setMessageSink(this);
        db::writeDxf(db);  // adds what a file needs once, so that later texts compare like for like
    }
    void writeMessage(const QString& text) override { log << text; }

    int run(const char* name, QStringList input) {
        return host.services().runCommand(QString::fromLatin1(name), input);
    }
    /// The drawing as DXF, without the handle seed: handles once given are never given again, undo or not.
    std::string dxf() {
        std::string text = db::writeDxf(db);
        const std::size_t at = text.find("$HANDSEED\n  5\n");
        if (at != std::string::npos) text.erase(at, text.find('\n', at + 14) - at);
        return text;
    }
    std::vector<db::Entity*> entities() {
        std::vector<db::Entity*> out;
        db::openObject<db::BlockTableRecord>(db.modelSpaceId(), db::OpenMode::ForRead)
            ->forEachEntity([&](db::Entity* e) { out.push_back(e); });
        return out;
    }
    template <class T>
    std::vector<T*> all() {
        std::vector<T*> out;
        for (db::Entity* e : entities())
            if (auto* t = db::objectCast<T>(e)) out.push_back(t);
        return out;
    }
    QString handle(db::Entity* e) { return QString::fromStdString(e->handle().toText()); }
    bool logged(const QString& text) const { return log.contains(text); }
};

template <class P>
::testing::AssertionResult at(const P& p, double x, double y) {
    if (std::abs(p.x - x) < 1e-9 && std::abs(p.y - y) < 1e-9) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "the point is " << p.x << "," << p.y << ", not " << x << "," << y;
}

TEST_F(DrawingCommands, EachCommandIsOneStepThatUndoRestoresAndRedoRepeatsExactly) {
    // A small drawing to edit: a square of lines, a circle, a closed polyline with an arc, a block reference.
    ASSERT_EQ(run("LINE", {"0,0", "10,0", "10,10", "0,10", "C"}), RTNORM);
    ASSERT_EQ(run("-LAYER", {"M", "Walls", ""}), RTNORM);
    ASSERT_EQ(run("CIRCLE", {"20,5", "3"}), RTNORM);
    ASSERT_EQ(run("-LAYER", {"S", "0", ""}), RTNORM);
    ASSERT_EQ(run("PLINE", {"30,0", "40,0", "A", "40,10", "L", "30,10", "C"}), RTNORM);
    auto block = std::make_unique<db::BlockTableRecord>("Desk");
    db::ObjectId blockId;
    db.addRecord(db.blockTableId(), std::move(block), &blockId);
    db.appendEntity(blockId, std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(1, 0)));
    db.appendEntity(blockId, std::make_unique<db::Circle>(db::Point3d(0, 0), 0.5));
    db.appendEntity(db.modelSpaceId(), std::make_unique<db::BlockReference>(db::Point3d(50, 50), blockId));
    db.undoManager().clear();
    const QString line = handle(all<db::Line>().front()), circle = handle(all<db::Circle>().front());
    const QString pline = handle(all<db::Polyline>().front()),
                  ref = handle(all<db::BlockReference>().front());

    const std::vector<std::pair<const char*, QStringList>> steps = {
        {"LINE", {"0,0", "@5<45", "U", "@3,4", ""}},
        {"CIRCLE", {"2P", "0,0", "4,0"}},
        {"CIRCLE", {"3P", "0,0", "2,2", "4,0"}},
        {"ARC", {"0,0", "1,1", "2,0"}},
        {"ARC", {"C", "0,0", "1,0", "A", "90"}},
        {"PLINE", {"0,0", "W", "0.5", "1", "10,0", "A", "S", "15,5", "10,10", ""}},
        {"ELLIPSE", {"0,0", "10,0", "2"}},
        {"ELLIPSE", {"C", "0,0", "0,3", "R", "60"}},
        {"POINT", {"7,7"}},
        {"TEXT", {"0,-5", "2", "0", "Room 101", "Second line", ""}},
        {"RECTANG", {"0,0", "D", "4", "3", "-1,-1"}},
        {"ERASE", {line, ""}},
        {"MOVE", {circle, "", "D", "5,5"}},
        {"COPY", {"W", "-1,-1", "11,11", "", "0,0", "20,0", "40,0", "U", "60,0", ""}},
        {"ROTATE", {pline, "", "30,0", "R", "0", "90"}},
        {"SCALE", {"C", "-1,-1", "41,11", "", "0,0", "C", "2"}},
        {"MIRROR", {line, "", "0,0", "0,1", "Y"}},
        {"OFFSET", {"2", line, "5,5", pline, "35,5", ""}},
        {"EXPLODE", {pline, ref, ""}},
        {"MATCHPROP", {circle, line, ""}},
        {"-LAYER", {"N", "A,B", "M", "Rooms", "C", "red", "A,Rooms", "F", "B", "LO", "A", ""}},
        {"SETVAR", {"CECOLOR", "3"}},
        {"SETVAR", {"TEXTSIZE", "5"}},
    };
    for (const auto& [name, input] : steps) {
        SCOPED_TRACE(std::string(name) + " " + input.join(' ').toStdString());
        const std::string before = dxf();
        const std::size_t count = db.undoManager().undoCount();
        ASSERT_EQ(run(name, input), RTNORM) << log.join('\n').toStdString();
        const std::string after = dxf();
        EXPECT_NE(after, before);
        EXPECT_EQ(db.undoManager().undoCount(), count + 1);
        ASSERT_EQ(run("U", {}), RTNORM);
        EXPECT_EQ(dxf(), before);
        ASSERT_EQ(run("REDO", {}), RTNORM);
        EXPECT_EQ(dxf(), after);
        run("U", {});
    }
}

TEST_F(DrawingCommands, CancelledAnywhereLeavesTheDrawingAsItWasAndNoStep) {
    run("LINE", {"0,0", "10,0", ""});
    run("CIRCLE", {"5,5", "2"});
    db.undoManager().clear();
    const std::string before = dxf();
    const QString l = handle(all<db::Line>().front());
    // Each stops short: the next question finds no answer and no user, which is a cancel.
    const std::vector<std::pair<const char*, QStringList>> partial = {
        {"LINE", {"0,0", "5,5", "6,6"}},
        {"CIRCLE", {"1,1"}},
        {"ARC", {"0,0", "1,1"}},
        {"PLINE", {"0,0", "1,0", "A"}},
        {"ELLIPSE", {"0,0", "4,0"}},
        {"POINT", {}},
        {"TEXT", {"0,0", "1", "0", "words"}},
        {"RECTANG", {"0,0"}},
        {"ERASE", {l}},
        {"MOVE", {l, "", "0,0"}},
        {"COPY", {l, "", "0,0", "1,1"}},
        {"ROTATE", {l, "", "0,0"}},
        {"SCALE", {"ALL", "", "0,0"}},
        {"MIRROR", {"ALL", "", "0,0", "1,1"}},
        {"OFFSET", {"1", l, "0,5"}},
        {"EXPLODE", {l}},
        {"MATCHPROP", {l}},
        {"-LAYER", {"M", "New", "OFF"}},
        {"SETVAR", {"CLAYER"}},
    };
    for (const auto& [name, input] : partial) {
        SCOPED_TRACE(name);
        EXPECT_EQ(run(name, input), RTCAN);
        EXPECT_EQ(dxf(), before);
        EXPECT_FALSE(db.undoManager().canUndo());
    }
}

TEST_F(DrawingCommands, BadAnswersAreRefusedWithAReasonAndAskedAgain) {
    ASSERT_EQ(run("CIRCLE", {"here", "5,5", "big", "-2", "0", "2,2,2,2", "X", "D", "6"}), RTNORM);
    EXPECT_TRUE(logged("Point or option keyword required."));
    EXPECT_TRUE(logged("Requires numeric distance or two points."));
    EXPECT_TRUE(logged("Value must be positive and nonzero."));
    ASSERT_EQ(all<db::Circle>().size(), 1u);
    EXPECT_TRUE(at(all<db::Circle>()[0]->center(), 5, 5));
    EXPECT_EQ(all<db::Circle>()[0]->radius(), 3) << "the Diameter keyword after the refusals";
    // The radius is remembered as the next default, taken on Enter.
    ASSERT_EQ(run("CIRCLE", {"0,0", ""}), RTNORM);
    EXPECT_EQ(all<db::Circle>()[1]->radius(), 3);
    log.clear();
    EXPECT_EQ(run("ARC", {"0,0", "1,1", "2,2", "3,0"}), RTNORM);
    EXPECT_TRUE(logged("Arc does not exist: the three points lie on one line."));
    EXPECT_EQ(run("-LAYER", {"Bogus", "Set", "NoSuchLayer", "F", "0", ""}), RTNORM);
    EXPECT_TRUE(logged("Invalid option keyword."));
    EXPECT_TRUE(logged("Cannot find layer \"NoSuchLayer\"."));
    EXPECT_TRUE(logged("Cannot freeze layer \"0\".  It is the CURRENT layer."));
    EXPECT_EQ(run("SETVAR", {"NOSUCH", "CELWEIGHT", "7", "35"}), RTNORM);
    EXPECT_TRUE(logged("Invalid lineweight 7."));
    EXPECT_EQ(static_cast<int>(db.currentLineWeight()), 35);
    // A front end that never stops answering nonsense is not asked forever.
    const QStringList nonsense(1000, QStringLiteral("?"));
    EXPECT_EQ(run("POINT", nonsense), RTCAN);
}

TEST_F(DrawingCommands, PointsAreAbsoluteRelativeOrPolarAndKeywordsTakeTheirShortForms) {
    ASSERT_EQ(run("_.LINE", {"1,1", "@4,0", "@2<90", "c"}), RTNORM);
    auto lines = all<db::Line>();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(at(lines[1]->endPoint(), 5, 3));
    EXPECT_TRUE(at(lines[2]->endPoint(), 1, 1)) << "Close returns to the first point";
    EXPECT_EQ(run("._line", {"0,0", "10,0", ""}), RTNORM);
    EXPECT_EQ(run("_LINE", {"0,0", "10,0", ""}), RTNORM);
    EXPECT_EQ(run("_NOTACOMMAND", {}), RTERROR);
    EXPECT_EQ(run("-LAYER", {"n", "Doors", "lo", "Doors", "u", "Doors", "OFF", "Doors", ""}), RTNORM);
    const auto* doors = db::objectCast<db::LayerTableRecord>(db.layerTable()->getAt("Doors").peek());
    ASSERT_NE(doors, nullptr);
    EXPECT_TRUE(doors->isOff());
    EXPECT_FALSE(doors->isLocked()) << "LO locked it, U unlocked it";
    EXPECT_EQ(run("GETVAR", {"lastpoint"}), RTNORM);
    EXPECT_TRUE(logged("LASTPOINT = 10,0,0"));
}

TEST_F(DrawingCommands, ShapesComeOutWhereTheAnswersPutThem) {
    run("ARC", {"0,0", "1,1", "2,0"});
    const db::Arc* arc = all<db::Arc>().at(0);
    EXPECT_TRUE(at(arc->center(), 1, 0));
    EXPECT_NEAR(arc->startAngle(), 0, 1e-9)
        << "clockwise through (1,1): stored counter-clockwise from the end";
    EXPECT_NEAR(arc->endAngle(), M_PI, 1e-9);
    // A PLINE arc continues tangent to the previous line: a half circle up from (10,0) to (10,10).
    run("PLINE", {"0,0", "10,0", "A", "10,10", "L", "0,10", ""});
    const auto& v = all<db::Polyline>().at(0)->vertices();
    ASSERT_EQ(v.size(), 4u);
    EXPECT_NEAR(v[1].bulge, 1, 1e-9);
    run("ELLIPSE", {"0,0", "2,0", "5"});  // the other axis is the longer one
    run("RECTANG", {"0,0", "@-4,3"});
    const auto* rect = all<db::Polyline>().at(1);
    EXPECT_TRUE(rect->isClosed());
    EXPECT_TRUE(at(rect->vertices()[2].point, -4, 3));
    run("TEXT", {"0,20", "", "90", "A", "B", ""});
    const auto texts = all<db::Text>();
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0]->height(), db.textSize());
    EXPECT_TRUE(at(texts[1]->position(), db.textSize() * 5 / 3, 20)) << "the next line is below, as rotated";
}

TEST_F(DrawingCommands, OffsetKeepsShapesParallelOnTheSideShown) {
    run("LINE", {"0,0", "10,0", ""});
    run("CIRCLE", {"50,0", "5"});
    run("RECTANG", {"100,0", "110,10"});
    const QString line = handle(all<db::Line>()[0]), circle = handle(all<db::Circle>()[0]);
    const QString rect = handle(all<db::Polyline>()[0]);
    ASSERT_EQ(run("OFFSET", {"2", line, "5,-7", circle, "50,1", rect, "105,5", circle, "0,0", ""}), RTNORM);
    EXPECT_TRUE(at(all<db::Line>().at(1)->startPoint(), 0, -2));
    EXPECT_EQ(all<db::Circle>().at(1)->radius(), 3) << "inside";
    EXPECT_EQ(all<db::Circle>().at(2)->radius(), 7) << "outside";
    const auto& inner = all<db::Polyline>().at(1)->vertices();
    ASSERT_EQ(inner.size(), 4u);
    EXPECT_TRUE(at(inner[0].point, 102, 2));
    EXPECT_TRUE(at(inner[2].point, 108, 8));
    log.clear();
    EXPECT_EQ(run("OFFSET", {"6", circle, "50,0", ""}), RTNORM);
    EXPECT_TRUE(logged("Cannot offset that object.")) << "a circle cannot shrink past its center";
    EXPECT_EQ(run("OFFSET", {"T", line, "3,4", ""}), RTNORM);
    EXPECT_TRUE(at(all<db::Line>().back()->endPoint(), 10, 4));
}

TEST_F(DrawingCommands, SelectionsByWindowCrossingPreviousAndTheSelectionAlreadyMade) {
    run("LINE", {"0,0", "10,0", ""});     // inside the window
    run("LINE", {"5,5", "30,5", ""});     // crosses its edge
    run("LINE", {"20,20", "40,40", ""});  // box meets the window's corner region, the line does not
    run("-LAYER", {"M", "Locked", ""});
    run("LINE", {"1,1", "2,2", ""});
    run("-LAYER", {"LO", "Locked", "S", "0", ""});
    const auto lines = all<db::Line>();
    log.clear();
    ASSERT_EQ(run("MOVE", {"C", "-1,-1", "21,19", "", "0,0", "0,100"}), RTNORM);
    EXPECT_TRUE(logged("1 were on a locked layer."));
    EXPECT_EQ(lines[0]->startPoint().y, 100);
    EXPECT_EQ(lines[1]->startPoint().y, 105);
    EXPECT_EQ(lines[2]->startPoint().y, 20) << "crossing tests the line, not its box";
    ASSERT_EQ(run("MOVE", {"W", "-1,99", "21,106", "", "0,0", "0,-100"}), RTNORM);
    EXPECT_EQ(lines[1]->startPoint().y, 105) << "a window takes only what lies wholly inside";
    EXPECT_EQ(lines[0]->startPoint().y, 0);
    ASSERT_EQ(run("ERASE", {"P", "R", handle(lines[0]), "A", handle(lines[2]), ""}), RTNORM);
    EXPECT_TRUE(lines[2]->isErased());
    EXPECT_FALSE(lines[0]->isErased());
    // Noun-verb: what is selected when the command starts is its selection, and is cleared after.
    doc->selection().set({lines[1]->objectId()});
    ASSERT_EQ(run("ERASE", {}), RTNORM);
    EXPECT_TRUE(lines[1]->isErased());
    EXPECT_TRUE(doc->selection().isEmpty());
}

TEST_F(DrawingCommands, UndoMarksGroupsAndSettingsFollowTheCommands) {
    run("LINE", {"0,0", "1,0", ""});
    run("UNDO", {"M"});
    run("LINE", {"0,0", "2,0", ""});
    run("CIRCLE", {"0,0", "1"});
    ASSERT_EQ(run("UNDO", {"B"}), RTNORM);
    EXPECT_EQ(entities().size(), 1u) << "back to the mark";
    run("UNDO", {"BE"});
    run("LINE", {"0,0", "3,0", ""});
    run("CIRCLE", {"0,0", "1"});
    run("LINE", {"0,0", "4,0"});  // cancelled inside the group: only its own work goes
    run("UNDO", {"E"});
    EXPECT_EQ(entities().size(), 3u);
    run("U", {});
    EXPECT_EQ(entities().size(), 1u) << "the group is one step";
    run("-LAYER", {"M", "Walls", ""});
    EXPECT_EQ(db.currentLayer(), db.layerTable()->getAt("Walls"));
    run("U", {});
    EXPECT_EQ(db.currentLayer(), db.layerZeroId()) << "the current layer comes back with the step";
    EXPECT_EQ(run("UNDO", {"100"}), RTNORM);
    EXPECT_TRUE(logged("Everything has been undone"));
}

TEST_F(DrawingCommands, SaveWritesTheFileAndQsaveReusesIt) {
    const QString path = QDir::temp().filePath(
        QStringLiteral("vela_host_save_%1.dxf").arg(QCoreApplication::applicationPid()));
    run("CIRCLE", {"0,0", "5"});
    ASSERT_EQ(run("QSAVE", {path}), RTNORM) << "a new drawing is asked a name";
    EXPECT_EQ(doc->path(), path);
    run("CIRCLE", {"0,0", "6"});
    ASSERT_EQ(run("QSAVE", {}), RTNORM);
    db::DxfReadResult read = db::readDxfFile(path.toStdString());
    QFile::remove(path);
    ASSERT_TRUE(read.database);
    std::size_t circles = 0;
    db::openObject<db::BlockTableRecord>(read.database->modelSpaceId(), db::OpenMode::ForRead)
        ->forEachEntity([&](db::Entity* e) { circles += db::objectCast<db::Circle>(e) != nullptr; });
    EXPECT_EQ(circles, 2u);
}

}  // namespace
}  // namespace vela::host
