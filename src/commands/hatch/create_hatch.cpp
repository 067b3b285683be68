#include "commands/commands.h"

namespace vela::commands {

// The boundary search by internal point that this command stands on is not built yet, so the command has no
// body: the host does not get it and its slot answers {"success": false}.
extern const catalogue::CommandRow kCreateHatch = {
    .slot = "CreateHatch",
    .parameter = "hatchQuery",
    .refusalPayloadKey = "entities",
    .receivedLog = "Received hatch creation query from assistant:\n%1",
    .responseLog = "Hatch creation response:\n%1",
    .globalName = "_V3_CREATEHATCH",
    .className = "CJxCommandCreateHatch",
    .notFoundMessage = "Empty JSON payload",
    .notFoundReturn = host::RTNORM,
    .effect = catalogue::Effect::Changes,
    .description =
        "Fills closed areas with hatch patterns: each hatch is found around its internal points, as a CAD "
        "program's pick-inside does (or, with needsInternalPoint true, around a point the user picks).",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "entities": {
      "type": "array",
      "items": {
        "type": "object",
        "properties": {
          "pattern": {"type": "string", "default": "ANSI31"},
          "scale": {"type": "number", "default": 1},
          "angle": {"type": "number", "description": "degrees", "default": 0},
          "needsInternalPoint": {"type": "boolean", "default": true},
          "internalPoints": {"type": "array", "items": {"type": "string", "description": "x,y[,z]"}}
        }
      }
    }
  },
  "required": ["entities"]
})json",
    .exampleRequest = R"json({"entities": [{"pattern": "ANSI31", "scale": 20, "angle": 0,
        "needsInternalPoint": false, "internalPoints": ["1200,800"]}]})json",
};

}  // namespace vela::commands
