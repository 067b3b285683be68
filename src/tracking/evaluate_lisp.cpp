#include <QJsonObject>

#include "host/command_context.h"
#include "host/lisp/evaluation.h"
#include "tracking/change_tracker.h"
#include "tracking/changes_report.h"
#include "tracking/tracking.h"

namespace vela::tracking {

namespace {

// The printed result of the expression, and the changes of this evaluation alone: the tracker forgets
// everything before it (for every drawing, as intended: a report is about the evaluation).
QJsonObject evaluateLispResponse(const QJsonDocument& request, host::CommandContext& context) {
    QJsonObject response{{QStringLiteral("success"), false}};
    if (!context.document()) {
        response.insert(QStringLiteral("error"), QStringLiteral("Invalid command context"));
        return response;
    }
    const QJsonValue query = request.object().value(QStringLiteral("lispQuery"));
    if (!query.isString()) return response;
    GetV3ChangeTracker()->Reset();
    // An error of the program is its result ("; error: ..."): the evaluation itself succeeded.
    const host::lisp::EvaluationResult result = host::lisp::evaluateLisp(query.toString());
    response.insert(QStringLiteral("result"), result.text);
    response.insert(QStringLiteral("success"), true);
    response.insert(QStringLiteral("changes"),
                    BuildChangesReport(GetV3ChangeTracker()->TakeChanges(context.database())));
    return response;
}

}  // namespace

extern const catalogue::CommandRow kEvaluateLisp = {
    .slot = "EvaluateLisp",
    .parameter = "lispQuery",
    .receivedLog = "Received EvaluateLisp query from assistant:\n%1",
    .responseLog = "EvaluateLisp response:\n%1",
    .globalName = "_V3_EVALUATELISP",
    .className = "CJxCommandEvaluateLisp",
    .notFoundKey = "error",
    .body = evaluateLispResponse,
    .effect = catalogue::Effect::Changes,
    .description =
        "Evaluates expressions of the CAD LISP dialect (entget/entmod/entmake with DXF group codes, ssget "
        "filter lists, command, getvar/setvar, vla- properties) in the drawing and answers the printed value "
        "of the last one (or \"; error: ...\") with everything the evaluation changed. Sandboxed: no files, "
        "processes or network; limited in steps, time, recursion and memory. The evaluation is one undo "
        "step.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "lispQuery": {"type": "string"}
  },
  "required": ["lispQuery"]
})json",
    .exampleRequest = R"json({"lispQuery": "(length (entget (entlast)))"})json",
};

}  // namespace vela::tracking
