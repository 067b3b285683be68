// Shows that check_catalogue.mjs accepts a sound catalogue and rejects each kind of fault it is meant to find.
// A rejection only counts when the checker says why and names the slot: a checker that crashed would also exit
// 1, and must not pass for one that found the fault.
// Usage: node check_catalogue_selftest.mjs
import { spawnSync } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const checker = join(dirname(fileURLToPath(import.meta.url)), "check_catalogue.mjs");
const DRAFT_2020_12 = "https://json-schema.org/draft/2020-12/schema";

function goodCatalogue() {
  return {
    commands: [
      {
        slot: "SelectEntities",
        parameter: "sSelectionQuery",
        command: "_V3_SELECTENTITIES",
        className: "CJxCommandSelectObjects",
        effect: "reads",
        description: "Finds entities by layer and type.",
        requestSchema: {
          $schema: DRAFT_2020_12,
          type: "object",
          properties: {
            layer: { type: "string", minLength: 1 },
            types: { type: "array", items: { type: "string", enum: ["LINE", "CIRCLE"] } },
          },
          required: ["layer"],
          additionalProperties: false,
        },
        exampleRequest: { layer: "Walls", types: ["LINE"] },
      },
      {
        slot: "CreateLayers",
        parameter: "sLayers",
        command: null,
        className: null,
        effect: "changes",
        description: "Creates layers.",
        requestSchema: {
          $schema: DRAFT_2020_12,
          type: "object",
          properties: {
            layers: {
              type: "array",
              minItems: 1,
              items: {
                type: "object",
                properties: { name: { type: "string" }, color: { type: "integer", minimum: 1, maximum: 255 } },
                required: ["name"],
              },
            },
          },
          required: ["layers"],
        },
        exampleRequest: { layers: [{ name: "Notes", color: 3 }] },
      },
    ],
  };
}

// Each case: a name, how to spoil the good catalogue (or null to keep it), the exit code expected and, for a
// rejection, text the fault line must contain.
const cases = [
  { name: "good", spoil: null, exit: 0 },
  {
    name: "invalid schema",
    spoil: (c) => { c.commands[1].requestSchema.type = "objekt"; },
    exit: 1,
    expect: ["slot CreateLayers", "not a valid 2020-12 schema"],
  },
  {
    name: "example does not validate",
    spoil: (c) => { c.commands[0].exampleRequest = { layer: "" }; },
    exit: 1,
    expect: ["slot SelectEntities", "exampleRequest does not validate", "/layer"],
  },
  {
    name: "duplicate slot",
    spoil: (c) => { c.commands[1].slot = "SelectEntities"; },
    exit: 1,
    expect: ["slot SelectEntities", "slot name repeats"],
  },
  {
    name: "no $schema",
    spoil: (c) => { delete c.commands[0].requestSchema.$schema; },
    exit: 1,
    expect: ["slot SelectEntities", "must declare \"$schema\""],
  },
  {
    name: "unknown keyword (strict mode)",
    spoil: (c) => { c.commands[0].requestSchema.properties.layer.minLenght = 1; },
    exit: 1,
    expect: ["slot SelectEntities", "does not compile in strict mode", "minLenght"],
  },
];

const work = mkdtempSync(join(tmpdir(), "catalogue-selftest-"));
let failures = 0;
try {
  cases.forEach((t, i) => {
    const catalogue = goodCatalogue();
    if (t.spoil) t.spoil(catalogue);
    const file = join(work, `case${i}.json`);
    writeFileSync(file, JSON.stringify(catalogue, null, 2));
    const run = spawnSync(process.execPath, [checker, file], { encoding: "utf8" });
    const problems = [];
    if (run.error) problems.push(`could not run the checker: ${run.error.message}`);
    if (run.status !== t.exit) problems.push(`exit ${run.status}, expected ${t.exit}`);
    if (t.exit === 0) {
      const summary = `catalogue: ${catalogue.commands.length} commands, all schemas valid, all examples validate\n`;
      if (run.stdout !== summary) problems.push(`stdout ${JSON.stringify(run.stdout)}, expected ${JSON.stringify(summary)}`);
      if (run.stderr !== "") problems.push("unexpected stderr");
    } else {
      const lines = run.stderr.split("\n").filter((l) => l !== "");
      if (!lines.some((l) => t.expect.every((s) => l.includes(s))))
        problems.push(`no stderr line containing all of ${JSON.stringify(t.expect)}`);
      if (run.stdout !== "") problems.push("printed a summary although it failed");
    }
    if (problems.length) {
      failures++;
      console.error(`FAIL ${t.name}: ${problems.join("; ")}`);
      if (run.stderr) console.error(run.stderr.trimEnd().replace(/^/gm, "    "));
    } else {
      console.log(`ok   ${t.name}`);
    }
  });
} finally {
  rmSync(work, { recursive: true, force: true });
}
if (failures) {
  console.error(`${failures} of ${cases.length} cases failed`);
  process.exit(1);
}
console.log(`all ${cases.length} cases passed`);
