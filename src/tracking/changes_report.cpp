#include "tracking/tracking.h"

namespace vela::tracking {

// The change tracker that this report reads is not built yet, so the command has no body: the host does not
// get it and its slot answers {"success": false}.
extern const catalogue::CommandRow kChangesReport = {
    .slot = "GetChangesInfo",
    .parameter = "jsonRequest",
    .dispatch = catalogue::Dispatch::Direct,
    // The report is about what happened, and answers for no drawing as well.
    .gated = false,
    .receivedLog = "Received GetChangesInfo query from assistant",
    .globalName = "_V3_GETCHANGESINFO",
    .className = "CJxCommandGetChangesInfo",
    .takesPayload = false,
    .effect = catalogue::Effect::Reads,
    .description =
        "Reports what changed in the drawing since the last report: objects created, modified (with old and"
        " new property values) and erased.",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object"
})json",
    .exampleRequest = R"json({})json",
};

}  // namespace vela::tracking
