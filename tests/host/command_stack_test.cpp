#include <gtest/gtest.h>

#include "db/entities/line.h"
#include "host/command.h"
#include "host/command_context.h"
#include "host/host.h"
#include "host/result_codes.h"
#include "db/records/block_table_record.h"

namespace vela::host {
namespace {

// A command whose work the test gives as a function.
class FunctionCommand : public Command {
public:
    FunctionCommand(QString name, std::function<int(CommandContext&)> work)
        : name_(std::move(name)), work_(std::move(work)) {}
    QString globalName() const override { return QLatin1Char('_') + name_; }
    QString localName() const override { return name_; }
    int execute(CommandContext& c) override { return work_(c); }

private:
    QString name_;
    std::function<int(CommandContext&)> work_;
};

db::ObjectId addLine(db::Database& db) {
    db::ObjectId id;
    db.appendEntity(db.modelSpaceId(), std::make_unique<db::Line>(db::Point3d(0, 0), db::Point3d(1, 1)), &id);
    return id;
}

class CommandStackTest : public ::testing::Test {
protected:
    Host host;
    Document* doc = host.documents().createNew();
    db::Database& db = *doc->database();
};

TEST_F(CommandStackTest, RunsByGlobalOrLocalNameInAnyCase) {
    int runs = 0;
    FunctionCommand cmd(QStringLiteral("THING"), [&](CommandContext& c) {
        ++runs;
        EXPECT_EQ(c.document(), doc);
        EXPECT_EQ(c.database(), &db);
        return RTNORM;
    });
    ASSERT_TRUE(host.commands().addCommand(&cmd));
    EXPECT_FALSE(host.commands().addCommand(&cmd)) << "a global name is taken once";
    EXPECT_EQ(host.services().runCommand(QStringLiteral("_THING"), {}), RTNORM);
    EXPECT_EQ(host.services().runCommand(QStringLiteral("thing"), {}), RTNORM);
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(host.services().runCommand(QStringLiteral("_NOSUCH"), {}), RTERROR);
    EXPECT_TRUE(host.commands().removeCommand(&cmd));
    EXPECT_FALSE(host.commands().removeCommand(&cmd));
    EXPECT_EQ(host.services().runCommand(QStringLiteral("_THING"), {}), RTERROR);
}

TEST_F(CommandStackTest, QueuedInputComesFirstThenTheFrontEndWhichHereHasNoUser) {
    QStringList answers;
    QList<int> codes;
    FunctionCommand ask(QStringLiteral("ASK"), [&](CommandContext& c) {
        for (bool spaces : {true, false, true}) {
            QString a;
            codes << c.userIO().getString(QStringLiteral("Text:"), spaces, a);
            answers << a;
        }
        db::Point3d p;
        codes << c.userIO().getPoint(Prompt(QStringLiteral("Point")), p);
        return RTNORM;
    });
    host.commands().addCommand(&ask);
    host.services().runCommand(QStringLiteral("ASK"), {QStringLiteral("two words"), QStringLiteral("first second")});
    EXPECT_EQ(answers, (QStringList{QStringLiteral("two words"), QStringLiteral("first"), QString()}));
    EXPECT_EQ(codes, (QList<int>{RTNORM, RTNORM, RTCAN, RTCAN})) << "no user: what is not queued is cancelled";

    codes.clear();
    FunctionCommand point(QStringLiteral("PICK"), [&](CommandContext& c) {
        db::Point3d p;
        codes << c.userIO().getPoint(Prompt(), p);
        EXPECT_EQ(p, db::Point3d(1.5, -2, 3));
        codes << c.userIO().getPoint(Prompt(), p);
        return RTNORM;
    });
    host.commands().addCommand(&point);
    host.services().runCommand(QStringLiteral("PICK"), {QStringLiteral("1.5, -2,3"), QStringLiteral("1;2")});
    EXPECT_EQ(codes, (QList<int>{RTNORM, RTCAN}))
        << "unreadable input is refused and asked again: of no one here";
}

TEST_F(CommandStackTest, EachRunIsOneUndoStepAndReadOnlyRunsLeaveNone) {
    const db::ObjectId line = addLine(db);
    FunctionCommand look(QStringLiteral("LOOK"), [&](CommandContext&) {
        auto l = db::openObject<db::Line>(line, db::OpenMode::ForRead);
        return l ? RTNORM : RTERROR;
    });
    FunctionCommand move(QStringLiteral("SHIFT"), [&](CommandContext&) {
        auto l = db::openObject<db::Line>(line, db::OpenMode::ForWrite);
        l->setEndPoint(l->endPoint() + db::Vector3d(1, 0, 0));
        addLine(db);
        return RTNORM;
    });
    host.commands().addCommand(&look);
    host.commands().addCommand(&move);
    host.services().runCommand(QStringLiteral("SHIFT"), {});
    host.services().runCommand(QStringLiteral("LOOK"), {});
    host.services().runCommand(QStringLiteral("LOOK"), {});
    EXPECT_EQ(db.undoManager().undoCount(), 1u) << "queries do not bury the user's edit";
    host.services().runCommand(QStringLiteral("SHIFT"), {});
    EXPECT_EQ(db.undoManager().undoCount(), 2u);
    db.undoManager().undo(1);
    host.services().runCommand(QStringLiteral("LOOK"), {});
    EXPECT_TRUE(db.undoManager().canRedo()) << "a query does not clear the redo step";
    db.undoManager().undo(1);
    EXPECT_EQ(db::openObject<db::Line>(line, db::OpenMode::ForRead)->endPoint(), db::Point3d(1, 1));
}

TEST_F(CommandStackTest, ACommandThatThrowsIsRolledBack) {
    const db::ObjectId line = addLine(db);
    FunctionCommand broken(QStringLiteral("BROKEN"), [&](CommandContext&) -> int {
        db::openObject<db::Line>(line, db::OpenMode::ForWrite)->setEndPoint({9, 9});
        addLine(db);
        throw std::runtime_error("half way");
    });
    host.commands().addCommand(&broken);
    EXPECT_EQ(host.services().runCommand(QStringLiteral("BROKEN"), {}), RTERROR);
    EXPECT_EQ(db::openObject<db::Line>(line, db::OpenMode::ForRead)->endPoint(), db::Point3d(1, 1));
    EXPECT_EQ(db::openObject<db::BlockTableRecord>(db.modelSpaceId(), db::OpenMode::ForRead)->entityCount(), 1u);
    EXPECT_FALSE(db.undoManager().canUndo());
}

TEST(DocumentManager, TellsReactorsWhenDocumentsComeAndGo) {
    Host host;
    struct Log : DocumentManagerReactor {
        QStringList events;
        void documentCreated(Document* d) override { events << QStringLiteral("created ") + d->title(); }
        void documentToBeDestroyed(Document* d) override {
            EXPECT_NE(d->database(), nullptr) << "the database is still there";
            events << QStringLiteral("destroyed ") + d->title();
        }
        void documentActivated(Document* d) override { events << QStringLiteral("active ") + (d ? d->title() : "none"); }
    } log;
    host.documents().addReactor(&log);
    Document* a = host.documents().createNew();
    QString error;
    EXPECT_EQ(host.documents().open(QStringLiteral("/no/such/file.dxf"), &error), nullptr);
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(activeDocument(), a);
    host.documents().close(a);
    EXPECT_EQ(activeDocument(), nullptr);
    EXPECT_EQ(log.events, (QStringList{QStringLiteral("created Drawing"), QStringLiteral("active Drawing"),
                                       QStringLiteral("destroyed Drawing"), QStringLiteral("active none")}));
    host.documents().removeReactor(&log);
}

TEST(CapabilitiesAndSettings, AreAskedAfreshEachTime) {
    Host host;
    Capabilities& caps = host.capabilities();
    EXPECT_FALSE(caps.hasCapability(QStringLiteral("x")));
    caps.registerCapability(QStringLiteral("x"));
    EXPECT_TRUE(caps.hasCapability(QStringLiteral("x")));
    caps.setGranted(QStringLiteral("x"), false);
    EXPECT_FALSE(caps.hasCapability(QStringLiteral("x")));
    EXPECT_TRUE(caps.isRegistered(QStringLiteral("x")));
    caps.setGranted(QStringLiteral("x"), true);
    EXPECT_TRUE(caps.hasCapability(QStringLiteral("x")));
    host.debugSettings().setDescription(QStringLiteral("K"), QStringLiteral("what K does"));
    EXPECT_EQ(host.debugSettings().value(QStringLiteral("K")), QString());
    host.debugSettings().setValue(QStringLiteral("K"), QStringLiteral("enabled"));
    EXPECT_EQ(debugSettings().value(QStringLiteral("K")), QStringLiteral("enabled"));
}

}  // namespace
}  // namespace vela::host
