#include "tracking/tracking.h"

namespace vela::tracking {

// The interpreter that evaluates the expression is not built yet, so the command has no body: the host does
// not get it and its slot answers {"success": false}.
extern const catalogue::CommandRow kEvaluateLisp = {
    .slot = "EvaluateLisp",
    .parameter = "lispQuery",
    .receivedLog = "Received EvaluateLisp query from assistant:\n%1",
    .responseLog = "EvaluateLisp response:\n%1",
    .globalName = "_V3_EVALUATELISP",
    .className = "CJxCommandEvaluateLisp",
    .notFoundKey = "error",
    .effect = catalogue::Effect::Changes,
    .description =
        "Evaluates one expression of the CAD LISP dialect in the drawing and answers its printed result "
        "with everything the evaluation changed.",
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
