// The assistant's LISP evaluation through the page's slot, with the module loaded as a host loads it: whole
// answers, with the changes of the evaluation alone.
#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>

#include "bridge/velaassistant_communication.h"
#include "db/entities/line.h"
#include "host/command_context.h"
#include "host/host.h"
#include "tracking/tracking.h"

namespace vela::tracking {
namespace {

const char* kEmptyChanges =
    R"({"created":{},"erased":{},"modified":[],"summary":{"created":0,"erased":0,"modified":0}})";

class EvaluateLispSlot : public ::testing::Test, public host::MessageSink {
  protected:
    EvaluateLispSlot() {
        host.services().setMessageSink(this);
        host.capabilities().registerCapability(QStringLiteral("veladesk.v3.selectentities"));
        EXPECT_TRUE(host.modules().load(QStringLiteral("VelaAssist")));
    }
    ~EvaluateLispSlot() override { host.modules().unload(QStringLiteral("VelaAssist")); }
    void writeMessage(const QString& text) override { log << text; }

    std::string ask(const QString& lisp) {
        return bridge
            .EvaluateLisp(QString::fromUtf8(
                QJsonDocument(QJsonObject{{"lispQuery", lisp}}).toJson(QJsonDocument::Compact)))
            .toStdString();
    }
    static std::string answer(const std::string& result, const std::string& changes = kEmptyChanges) {
        return R"({"changes":)" + changes + R"(,"result":)" +
               QJsonDocument(QJsonObject{{"r", QString::fromStdString(result)}})
                   .toJson(QJsonDocument::Compact)
                   .mid(5)
                   .chopped(1)
                   .toStdString() +
               R"(,"success":true})";
    }

    host::Host host;
    host::Document* doc = host.documents().createNew();
    QStringList log;
    bridge::CJxVelaAssistantCommunication bridge;
};

TEST_F(EvaluateLispSlot, AnswersThePrintedResultWithTheChangesOfThisEvaluationAlone) {
    EXPECT_EQ(ask("(+ 1 2)"), answer("3"));
    // A line made before the evaluation is not reported, then or later.
    db::ObjectId before;
    doc->database()->appendEntity(doc->database()->modelSpaceId(),
                                  std::make_unique<db::Line>(db::Point3d(), db::Point3d(1, 1)), &before);
    const std::string made =
        ask("(cdr (assoc 5 (entget (entmakex '((0 . \"LINE\") (10 0 0 0) (11 5 5 0))))))");
    const QJsonObject reply = QJsonDocument::fromJson(QByteArray::fromStdString(made)).object();
    const QString handle = reply.value("result").toString().mid(1).chopped(1);
    EXPECT_NE(handle, QString::fromStdString(before.handle().toText()));
    EXPECT_EQ(made, answer(('"' + handle + '"').toStdString(),
                           (R"({"created":{"Entity":{"AcDbLine":[")" + handle +
                            R"("]}},"erased":{},"modified":[],)"
                            R"("summary":{"created":1,"erased":0,"modified":0}})")
                               .toStdString()));
    EXPECT_EQ(bridge.GetChangesInfo(QString()).toStdString(),
              std::string(R"({"changes":)") + kEmptyChanges + R"(,"success":true})")
        << "what the evaluation reported is taken";

    EXPECT_EQ(
        ask("(entmod (list (cons -1 (handent \"" + handle + "\")) '(62 . 1))) (princ)"),
        answer(
            "",
            (R"({"created":{},"erased":{},"modified":[{"category":"Entity","changes":[)"
             R"({"newValue":"1","oldValue":"ByLayer","property":"Color"}],"className":"AcDbLine","handle":")" +
             handle + R"("}],"summary":{"created":0,"erased":0,"modified":1}})")
                .toStdString()));
    EXPECT_EQ(ask("(setq x (* 6 7))"), answer("42")) << "nothing changed: the empty report";
    EXPECT_EQ(ask("x"), answer("42")) << "globals stay in the drawing";
    EXPECT_EQ(ask("(car x)"), answer("; error: bad argument type: consp 42"))
        << "an error is the result; success stays";
    EXPECT_EQ(ask("(open \"/etc/passwd\" \"r\")"), answer("; error: no function definition: OPEN"));
}

TEST_F(EvaluateLispSlot, RequestsWithoutAnExpressionAndCallsWithoutAContext) {
    EXPECT_EQ(bridge.EvaluateLisp(QStringLiteral("{}")).toStdString(), R"({"success":false})");
    EXPECT_EQ(bridge.EvaluateLisp(QStringLiteral(R"({"lispQuery":42})")).toStdString(),
              R"({"success":false})");
    EXPECT_EQ(bridge.EvaluateLisp(QStringLiteral(R"({"lispQuery":null})")).toStdString(),
              R"({"success":false})");
    host::NoUserInput noUser;
    host::UserIO io({}, noUser);
    host::CommandContext noDrawing(nullptr, io);
    const QJsonObject response =
        kEvaluateLisp.body(QJsonDocument::fromJson(R"x({"lispQuery":"(+ 1 2)"})x"), noDrawing);
    EXPECT_EQ(response, QJsonObject({{"success", false}, {"error", "Invalid command context"}}));
}

TEST_F(EvaluateLispSlot, AnEvaluationIsOneUndoStepAndCannotStartItselfAgain) {
    ask("(command \"LINE\" '(0 0) '(1 0) '(1 1) \"\") (entmake '((0 . \"CIRCLE\") (10 0 0 0) (40 . 1.0)))");
    EXPECT_EQ(doc->database()->undoManager().undo(1), 1);
    EXPECT_EQ(ask("(entnext)"), answer("nil")) << "lines, circle and all went with one undo";
    const std::string nested =
        ask("(command \"_V3_EVALUATELISP\" \"{\\\"lispQuery\\\":\\\"(+ 1 1)\\\"}\") 'after");
    EXPECT_EQ(nested, answer("AFTER")) << "the inner evaluation is refused, the outer one goes on";
}

}  // namespace
}  // namespace vela::tracking
