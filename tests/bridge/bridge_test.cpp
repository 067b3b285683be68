#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

#include "bridge/assistant_command.h"
#include "bridge/command_call.h"
#include "bridge/command_catalogue.h"
#include "bridge/request_registry.h"
#include "bridge/velaassistant_communication.h"
#include "host/command_context.h"
#include "host/host.h"
#include "host/result_codes.h"

namespace vela::bridge {
namespace {

using host::RTERROR;
using host::RTNORM;

class Log : public host::MessageSink {
  public:
    QStringList lines;
    void writeMessage(const QString& text) override { lines << text; }
};

QJsonObject parse(const QString& text) {
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

class BridgeTest : public ::testing::Test {
  protected:
    BridgeTest() {
        host.services().setMessageSink(&log);
        host.capabilities().registerCapability(QStringLiteral("veladesk.v3.selectentities"));
        host.documents().createNew();
    }
    /// Registers an assistant command with its real variant and a body given by the test.
    void addCommand(const char* globalName, AssistantCommand::BodyFunction body) {
        commands.push_back(std::make_unique<AssistantCommand>(*FindByGlobalName(QLatin1String(globalName)),
                                                              std::move(body)));
        host.commands().addCommand(commands.back().get());
    }
    ~BridgeTest() override {
        for (auto& c : commands) host.commands().removeCommand(c.get());
    }

    host::Host host;
    Log log;
    CJxVelaAssistantCommunication bridge;
    std::vector<std::unique_ptr<AssistantCommand>> commands;
};

TEST(RequestRegistry, KeepsUnansweredRequestsAndHandsOutAnswersOnce) {
    RequestRegistry& r = RequestRegistry::instance();
    const int before = r.size();
    const QString id = r.AddRequest(QStringLiteral("{\"a\":1}"));
    EXPECT_EQ(id.size(), 38);
    EXPECT_TRUE(id.startsWith(QLatin1Char('{')) && id.endsWith(QLatin1Char('}')));
    EXPECT_NE(r.AddRequest(QString()), id);
    ASSERT_TRUE(r.FindRequest(id).has_value());
    EXPECT_EQ(r.FindRequest(id)->requestText, QStringLiteral("{\"a\":1}"));
    EXPECT_FALSE(r.TakeResponse(id).has_value()) << "not answered yet";
    EXPECT_TRUE(r.FindRequest(id).has_value()) << "an unanswered request is kept";
    r.SetResponse(QStringLiteral("{unknown}"), MakeResult(true));
    EXPECT_FALSE(r.FindRequest(QStringLiteral("{unknown}")).has_value())
        << "setting an unknown id adds nothing";
    r.SetResponse(id, MakeResult(true));
    const auto response = r.TakeResponse(id);
    ASSERT_TRUE(response.has_value());
    EXPECT_TRUE(response->value(QStringLiteral("success")).toBool());
    EXPECT_FALSE(r.FindRequest(id).has_value());
    EXPECT_FALSE(r.TakeResponse(id).has_value());
    EXPECT_EQ(r.size(), before + 1) << "only the unanswered empty request is left";
}

TEST_F(BridgeTest, ACommandThatLeavesNoResponseAnswersFailure) {
    // No command is registered for creating entities, and one that fails before answering.
    EXPECT_EQ(bridge.CreateEntities(QStringLiteral("{}")), QStringLiteral("{\"success\":false}"));
    host::CommandContext* seen = nullptr;
    addCommand("_V3_SELECTENTITIES", [&](const QJsonDocument&, host::CommandContext& c) -> QJsonObject {
        seen = &c;
        throw std::runtime_error("the body failed");
    });
    EXPECT_EQ(bridge.SelectEntities(QStringLiteral("{}")), QStringLiteral("{\"success\":false}"));
    EXPECT_NE(seen, nullptr);
    EXPECT_EQ(bridge.property("JxAnswer").toString(), QStringLiteral("{\"success\":false}"));
}

TEST_F(BridgeTest, OversizedRequestsAndReadingAnswersAreRefusedWithTheirSizes) {
    int bodies = 0;
    const QString huge(70 * 1024 * 1024, QLatin1Char('x'));
    auto bigAnswer = [&](const QJsonDocument&, host::CommandContext&) {
        ++bodies;
        return QJsonObject{{QStringLiteral("success"), true}, {QStringLiteral("text"), huge}};
    };
    addCommand("_V3_SUMMARIZEENTITIES", bigAnswer);
    addCommand("_V3_CREATEENTITIES", bigAnswer);

    const QJsonObject request = parse(bridge.SummarizeEntities(QString(17 * 1024 * 1024, QLatin1Char(' '))));
    EXPECT_EQ(bodies, 0) << "an oversized request is not run";
    EXPECT_FALSE(request.value(QStringLiteral("success")).toBool());
    EXPECT_TRUE(request.value(QStringLiteral("errorMessages")).toString().startsWith(
        QStringLiteral("The request has 17825792 characters; at most 16777216")));

    const QJsonObject reading = parse(bridge.SummarizeEntities(QStringLiteral("{\"handles\":[\"1\"]}")));
    EXPECT_EQ(bodies, 1);
    EXPECT_FALSE(reading.value(QStringLiteral("success")).toBool());
    EXPECT_TRUE(reading.value(QStringLiteral("errorMessages")).toString().contains(QStringLiteral("more than the")));

    // A change has been made: its answer goes out whatever its size.
    EXPECT_GT(bridge.CreateEntities(QStringLiteral("{}")).size(), huge.size());
}

TEST_F(BridgeTest, PrologueAnswersNotFoundAndBadJsonPerVariant) {
    int bodies = 0;
    auto body = [&](const QJsonDocument&, host::CommandContext&) {
        ++bodies;
        return MakeResult(true);
    };
    std::vector<const catalogue::CommandRow*> rows;
    for (const catalogue::CommandRow* row : Catalogue())
        if (row->globalName) rows.push_back(row);
    for (const catalogue::CommandRow* row : rows) addCommand(row->globalName, body);
    RequestRegistry& registry = RequestRegistry::instance();
    const int before = registry.size();
    // Typed on the command line with an identifier that was never registered.
    for (const catalogue::CommandRow* row : rows) {
        const int code =
            host.services().runCommand(QLatin1String(row->globalName), {QStringLiteral("{nothing}")});
        EXPECT_EQ(code, row->notFoundReturn) << row->globalName;
    }
    EXPECT_EQ(registry.size(), before) << "the registry is left as it was";
    EXPECT_EQ(host.services().runCommand(QStringLiteral("_V3_CREATEBLOCKS"), {}), RTERROR)
        << "no identifier to read";
    EXPECT_EQ(bodies, 0);

    // Bad JSON never reaches the body; commands that take no payload never parse.
    QJsonParseError expected;
    QJsonDocument::fromJson(QByteArray(), &expected);
    const QJsonObject empty = parse(bridge.ModifyLayers(QString()));
    EXPECT_FALSE(empty.value(QStringLiteral("success")).toBool());
    EXPECT_EQ(empty.value(QStringLiteral("errorMessages")).toString(),
              QStringLiteral("Invalid JSON payload: ") + expected.errorString());
    EXPECT_EQ(parse(bridge.EvaluateLisp(QStringLiteral("{oops")))
                  .value(QStringLiteral("error"))
                  .toString()
                  .left(22),
              QStringLiteral("Invalid JSON payload: "));
    EXPECT_EQ(bodies, 0);
    EXPECT_EQ(bridge.GetCurrentLayersInfo(QStringLiteral("not json at all")),
              QStringLiteral("{\"success\":true}"));
    EXPECT_EQ(bodies, 1);

    // The layer summary needs a drawing before anything else: no response is stored without one.
    const QString id = registry.AddRequest(QString());
    host::UserIO withId({id}, host.services().userInput());
    host::CommandContext noDrawing(nullptr, withId);
    host::Command* summarize = host.commands().lookup(QStringLiteral("_V3_SUMMARIZELAYERS"));
    EXPECT_EQ(summarize->execute(noDrawing), RTERROR);
    EXPECT_FALSE(registry.TakeResponse(id).has_value());
}

TEST(AssistantCommand, LocalNamesComeFromTheTranslationsOrTheNameItself) {
    const AssistantCommand command(*FindByGlobalName(u"_V3_CREATEBLOCKS"));
    EXPECT_EQ(command.globalName(), QStringLiteral("_V3_CREATEBLOCKS"));
    EXPECT_EQ(command.localName(), QStringLiteral("V3_CREATEBLOCKS"));
    EXPECT_EQ(FindByGlobalName(u"_NOT_ONE"), nullptr);
}

}  // namespace
}  // namespace vela::bridge
