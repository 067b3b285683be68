// Hatches through the page's slot, with the module loaded as a host loads it: whole answers for each rule of
// the request, the user's pick with the preview following the cursor, undo, and the saved drawing as ezdxf
// reads it.
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <functional>

#include "bridge/velaassistant_communication.h"
#include "commands/commands.h"
#include "db/entities/hatch.h"
#include "db/entities/polyline.h"
#include "fixture.h"
#include "host/result_codes.h"
#include "host/system_variables.h"

namespace vela::commands {
namespace {

/// A user at a drawing window: for each point asked for, the cursor passes over some points (the tracker is
/// told, as a canvas tells it), and then the user clicks one, or presses Escape.
class CursorUser : public host::UserInputSource {
  public:
    struct Pick {
        std::vector<db::Point3d> moves;
        std::optional<db::Point3d> click;  // none: Escape
    };
    std::vector<Pick> picks;
    QStringList prompts;
    /// Called after each cursor move, to see what the drawing shows then.
    std::function<void()> afterMove;

    int getInput(const host::InputRequest& request, host::InputAnswer& answer) override {
        prompts << request.prompt;
        if (picks.empty()) return host::RTCAN;
        const Pick pick = picks.front();
        picks.erase(picks.begin());
        for (const db::Point3d& p : pick.moves) {
            if (request.tracker) request.tracker->track(p);
            if (afterMove) afterMove();
        }
        if (!pick.click) return host::RTCAN;
        answer.point = *pick.click;
        return host::RTNORM;
    }
};

class CreateHatchSlot : public testing::DrawingTest {
  protected:
    CreateHatchSlot() {
        host.services().setUserInput(&user);
        host.capabilities().registerCapability(QStringLiteral("veladesk.v3.selectentities"));
        EXPECT_TRUE(host.modules().load(QStringLiteral("VelaAssist")));
    }
    ~CreateHatchSlot() override { host.modules().unload(QStringLiteral("VelaAssist")); }

    /// A square room of four lines with its lower left corner at (x, y).
    std::vector<db::ObjectId> room(double x, double y, double size) {
        std::vector<db::ObjectId> walls;
        const db::Point3d p[] = {{x, y}, {x + size, y}, {x + size, y + size}, {x, y + size}};
        for (int i = 0; i < 4; ++i) walls.push_back(add(std::make_unique<db::Line>(p[i], p[(i + 1) % 4])));
        return walls;
    }
    std::string hatch(const std::string& request) {
        return bridge.CreateHatch(QString::fromStdString(request)).toStdString();
    }
    /// The hatches the drawing holds (erased ones are gone), in drawing order.
    std::vector<const db::Hatch*> hatches() {
        std::vector<const db::Hatch*> out;
        db::openObject<db::BlockTableRecord>(db.modelSpaceId(), db::OpenMode::ForRead)
            ->forEachEntity([&](db::Entity* e) {
                if (auto* h = db::objectCast<db::Hatch>(e); h && !h->isErased()) out.push_back(h);
            });
        return out;
    }
    static std::string handleIn(const std::string& answer, int k = 0) {
        return QJsonDocument::fromJson(QByteArray::fromStdString(answer))
            .object()["entities"][k]["handle"]
            .toString()
            .toStdString();
    }
    static std::string made(const std::string& handle, const std::string& pattern, const std::string& scale,
                            const std::string& angle, const std::string& points) {
        return R"({"className":"AcDbHatch","handle":")" + handle + R"(","properties":{"angle":)" + angle +
               R"(,"internalPoints":[)" + points + R"(],"pattern":")" + pattern + R"(","scale":)" + scale +
               "}}";
    }

    CursorUser user;
    bridge::CJxVelaAssistantCommunication bridge;
};

TEST_F(CreateHatchSlot, RequestsReadAsThePageWritesThem) {
    room(0, 0, 10);
    room(20, 0, 10);
    EXPECT_EQ(hatch("{}"), R"({"error":"Missing or invalid 'entities' array in input","success":false})");
    EXPECT_EQ(hatch(R"({"entities":{"pattern":"SOLID"}})"),
              R"({"error":"Missing or invalid 'entities' array in input","success":false})");
    EXPECT_EQ(hatch(R"({"entities":[]})"), R"({"count":0,"entities":[],"success":false})");

    // Elements that are no objects are skipped but keep their place in the numbering; texts without two
    // readable numbers give no point.
    EXPECT_EQ(hatch(R"({"entities":[7,{"needsInternalPoint":false,"internalPoints":["10,abc","10",5]}]})"),
              R"({"count":0,"entities":[],"error":"Hatch #2: No internal points were provided",)"
              R"("errors":["Hatch #2: No internal points were provided"],"success":false})");

    // Defaults (ANSI31, scale 1, angle 0), a bad z read as 0, and the numbers written with six digits.
    std::string answer = hatch(R"({"entities":[{"needsInternalPoint":false,"internalPoints":["1,2,x"]},)"
                               R"({"pattern":"solid","scale":2.5,"angle":30,"needsInternalPoint":false,)"
                               R"("internalPoints":["21.123456789,0.0000001,7"]}]})");
    EXPECT_EQ(answer, R"({"count":2,"entities":[)" +
                          made(handleIn(answer), "ANSI31", "1", "0", R"("1,2,0")") + "," +
                          made(handleIn(answer, 1), "solid", "2.5", "30", R"("21.1235,1e-07,7")") +
                          R"(],"success":true})");
    ASSERT_EQ(hatches().size(), 2u);
    EXPECT_EQ(hatches()[0]->patternName(), "ANSI31");
    EXPECT_FALSE(hatches()[0]->patternLines().empty()) << "the pattern's lines are written into the hatch";
    EXPECT_TRUE(hatches()[1]->isSolidFill()) << "a pattern name in any case";
    EXPECT_EQ(hatches()[1]->patternName(), "SOLID");
    EXPECT_NEAR(hatches()[1]->area(), 100, 1e-9);

    // Present values of the wrong kind: a pattern that is no text is the empty name, a scale that is no
    // number is 0, and neither makes a hatch; a needsInternalPoint that is no boolean counts as false.
    answer = hatch(R"({"entities":[{"pattern":5,"needsInternalPoint":false,"internalPoints":["5,5"]},)"
                   R"({"scale":"big","needsInternalPoint":false,"internalPoints":["5,5"]},)"
                   R"({"pattern":"NO_SUCH","needsInternalPoint":false,"internalPoints":["5,5"]},)"
                   R"({"needsInternalPoint":"no"}]})");
    EXPECT_EQ(
        answer,
        R"({"count":0,"entities":[],"error":"Hatch #1: Failed to create hatch entity; )"
        R"(Hatch #2: Failed to create hatch entity; Hatch #3: Failed to create hatch entity; )"
        R"(Hatch #4: No internal points were provided","errors":["Hatch #1: Failed to create hatch entity",)"
        R"("Hatch #2: Failed to create hatch entity","Hatch #3: Failed to create hatch entity",)"
        R"("Hatch #4: No internal points were provided"],"success":false})");
    EXPECT_TRUE(user.prompts.isEmpty()) << "no element asked the user";
    EXPECT_EQ(hatches().size(), 2u);
}

TEST_F(CreateHatchSlot, FailuresKeepWhatWasMadeAndAbandonAWholeHatch) {
    room(0, 0, 10);
    room(20, 0, 10);
    // The second hatch has no boundary: the first stays, and the answer lists the failure without "error".
    std::string answer = hatch(R"({"entities":[{"needsInternalPoint":false,"internalPoints":["5,5"]},)"
                               R"({"needsInternalPoint":false,"internalPoints":["50,50"]}]})");
    EXPECT_EQ(answer, R"({"count":1,"entities":[)" +
                          made(handleIn(answer), "ANSI31", "1", "0", R"("5,5,0")") +
                          R"(],"errors":["Hatch #2: No valid boundaries found"],"success":false})");
    EXPECT_EQ(hatches().size(), 1u);

    // Points in two rooms make one hatch of both; a hatch with one point outside everything is not made.
    answer = hatch(
        R"({"entities":[{"pattern":"SOLID","needsInternalPoint":false,"internalPoints":["5,5","25,5"]},)"
        R"({"needsInternalPoint":false,"internalPoints":["25,5","-5,-5"]}]})");
    EXPECT_EQ(answer, R"({"count":1,"entities":[)" +
                          made(handleIn(answer), "SOLID", "1", "0", R"("5,5,0","25,5,0")") +
                          R"(],"errors":["Hatch #2: No valid boundaries found"],"success":false})");
    ASSERT_EQ(hatches().size(), 2u);
    EXPECT_EQ(hatches()[1]->numLoops(), 2u);
    EXPECT_NEAR(hatches()[1]->area(), 200, 1e-9);
    EXPECT_EQ(hatches()[1]->seedPoints().size(), 2u);

    // Without a drawing there is no context to hatch in.
    host.documents().close(doc);
    EXPECT_EQ(hatch(R"({"entities":[]})"), R"({"entities":[],"success":false})") << "the slot's refusal";
    EXPECT_EQ(runWithoutDrawing(kCreateHatch.body, R"({"entities":[]})"),
              QJsonObject({{"error", "Invalid command context"}, {"success", false}}));
}

TEST_F(CreateHatchSlot, TheUserPicksWithAPreviewThatLeavesNothingBehind) {
    room(0, 0, 10);
    room(20, 0, 20);
    std::vector<std::vector<double>> seen;  // the areas of the hatches in the drawing after each cursor move
    user.afterMove = [&] {
        std::vector<double> areas;
        for (const db::Hatch* h : hatches()) areas.push_back(std::round(h->area()));
        seen.push_back(areas);
    };
    user.picks = {
        {{{5, 5, 0}, {5.0000001, 5, 0}, {50, 50, 0}, {30, 10, 0}, {4, 4, 0}}, db::Point3d(6, 7, 0)}};
    const std::string answer = hatch(R"({"entities":[{"pattern":"NET","scale":0.5}]})");
    EXPECT_EQ(answer, R"({"count":1,"entities":[)" + made(handleIn(answer), "NET", "0.5", "0", R"("6,7,0")") +
                          R"(],"success":true})");
    EXPECT_EQ(user.prompts, QStringList{"Specify internal point for hatch: "});
    const std::vector<std::vector<double>> expected = {{100}, {100}, {}, {400}, {100}};
    EXPECT_EQ(seen, expected) << "each move inside an area shows its hatch, outside none";
    ASSERT_EQ(hatches().size(), 1u) << "previews are gone";
    EXPECT_EQ(hatches()[0]->patternName(), "NET");

    // The command, previews included, is one undo step.
    ASSERT_EQ(host.services().runCommand(QStringLiteral("U"), {}), host::RTNORM);
    EXPECT_TRUE(hatches().empty());
    ASSERT_EQ(host.services().runCommand(QStringLiteral("REDO"), {}), host::RTNORM);
    EXPECT_EQ(hatches().size(), 1u);

    // Escape: the pick answers the origin, a corner of the first room, which bounds no area around it.
    user.picks = {{{{5, 5, 0}}, std::nullopt}};
    EXPECT_EQ(hatch(R"({"entities":[{}]})"),
              R"({"count":0,"entities":[],"error":"Hatch #1: No valid boundaries found",)"
              R"("errors":["Hatch #1: No valid boundaries found"],"success":false})");
    EXPECT_EQ(hatches().size(), 1u) << "the preview shown before Escape is gone";
}

TEST_F(CreateHatchSlot, SavedHatchesAreBoundedAsEzdxfSeesThem) {
    // A room with a round table (an island) holding a vase (an island within it, hatched again), a polyline
    // room with a rounded end next door, the gap tolerance closing a door left open in a third room.
    room(0, 0, 10);
    add(std::make_unique<db::Circle>(db::Point3d(5, 5), 3));
    add(std::make_unique<db::Circle>(db::Point3d(5, 5), 1));
    auto pl = std::make_unique<db::Polyline>();
    pl->addVertexAt(0, {10, 0});
    pl->addVertexAt(1, {20, 0}, 1.0);
    pl->addVertexAt(2, {20, 10});
    pl->addVertexAt(3, {10, 10});
    pl->setClosed(true);
    add(std::move(pl));
    const db::Point3d door[] = {{40, 0}, {50, 0}, {50, 10}, {40, 10}, {40, 0.5}};
    for (int i = 0; i < 4; ++i) add(std::make_unique<db::Line>(door[i], door[i + 1]));
    EXPECT_EQ(hatch(R"({"entities":[{"needsInternalPoint":false,"internalPoints":["45,5"]}]})"),
              R"({"count":0,"entities":[],"error":"Hatch #1: No valid boundaries found",)"
              R"("errors":["Hatch #1: No valid boundaries found"],"success":false})");
    ASSERT_EQ(host::systemVariables().set(QStringLiteral("HPGAPTOL"), 1.0, doc), QString());
    const std::string answer = hatch(
        R"({"entities":[{"pattern":"ANSI31","scale":0.2,"angle":45,"needsInternalPoint":false,"internalPoints":["1,1"]},)"
        R"({"pattern":"SOLID","needsInternalPoint":false,"internalPoints":["15,5","45,5"]}]})");
    ASSERT_EQ(QJsonDocument::fromJson(QByteArray::fromStdString(answer))["count"].toInt(), 2) << answer;
    EXPECT_TRUE(ezdxfAccepts(
        "created_hatches",
        "from ezdxf.path import from_hatch_boundary_path\n"
        "from ezdxf.math import Vec2, is_point_in_polygon_2d\n"
        "def inside(h, x, y):\n"
        "    n = 0\n"
        "    for p in h.paths:\n"
        "        poly = [Vec2(v) for v in from_hatch_boundary_path(p).flattening(0.001)]\n"
        "        n += is_point_in_polygon_2d(Vec2(x, y), poly) >= 0\n"
        "    return n % 2 == 1\n"
        "a, b = msp.query('HATCH')\n"
        "assert a.dxf.associative == 1 and a.pattern.lines and a.dxf.pattern_angle == 45\n"
        "assert len(a.paths) == 3\n"
        "for x, y in [(1, 1), (9, 9), (5, 1.5), (5, 5.5)]: assert inside(a, x, y), (x, y)\n"
        "for x, y in [(5, 7.5), (5, 2.5), (15, 5), (11, 1)]: assert not inside(a, x, y), (x, y)\n"
        "for x, y in [(15, 5), (20.5, 5), (45, 5), (41, 0.2)]: assert inside(b, x, y), (x, y)\n"
        "for x, y in [(5, 5), (30, 5)]: assert not inside(b, x, y), (x, y)\n"
        "handles = {e.dxf.handle for e in msp.query('LINE CIRCLE LWPOLYLINE')}\n"
        "for h in (a, b):\n"
        "    for p in h.paths:\n"
        "        assert p.source_boundary_objects and set(p.source_boundary_objects) <= handles\n"
        "        for s in p.source_boundary_objects: assert h.dxf.handle in "
        "doc.entitydb[s].reactors.get()\n"));
}

}  // namespace
}  // namespace vela::commands
