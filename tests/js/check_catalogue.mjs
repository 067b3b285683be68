// Checks the command catalogue that "vela-assist catalogue" prints: every row is complete and well typed, slot
// and command names are unique, every request schema is a valid, strictly compilable JSON Schema 2020-12 and
// every example request is accepted by its own schema. A model only ever sees these schemas and examples, so
// a schema that ajv has to guess about, or an example that its schema rejects, is a fault here.
// Usage: node check_catalogue.mjs CATALOGUE.json
// Prints one line per fault on stderr and exits 1; on success prints a one-line summary and exits 0.
import { readFileSync } from "node:fs";
import Ajv2020 from "ajv/dist/2020.js";

const DRAFT_2020_12 = "https://json-schema.org/draft/2020-12/schema";
const EFFECTS = ["reads", "changes", "deletes"];

const faults = [];
const fault = (where, text) => faults.push(`catalogue: ${where}: ${text}`);

const isObject = (v) => typeof v === "object" && v !== null && !Array.isArray(v);
const typeName = (v) => (v === null ? "null" : Array.isArray(v) ? "array" : typeof v);

// One line per ajv error, so a long list of problems stays readable and greppable.
function reportAjvErrors(where, what, errors) {
  for (const e of errors ?? []) {
    const at = e.instancePath === "" ? "(root)" : e.instancePath;
    const params = Object.keys(e.params ?? {}).length ? ` ${JSON.stringify(e.params)}` : "";
    fault(where, `${what}: ${at} ${e.message}${params}`);
  }
}

function checkRow(row, index, slots, commands) {
  if (!isObject(row)) {
    fault(`commands[${index}]`, `row must be an object, not ${typeName(row)}`);
    return;
  }
  const named = typeof row.slot === "string" && row.slot !== "";
  const where = named ? `slot ${row.slot}` : `commands[${index}]`;

  if (!("slot" in row)) fault(where, "missing \"slot\"");
  else if (!named) fault(where, `"slot" must be a non-empty string, not ${JSON.stringify(row.slot)}`);
  else if (slots.has(row.slot)) fault(where, `slot name repeats (first at commands[${slots.get(row.slot)}])`);
  else slots.set(row.slot, index);

  if (!("effect" in row)) fault(where, "missing \"effect\"");
  else if (!EFFECTS.includes(row.effect))
    fault(where, `"effect" must be one of ${EFFECTS.join(", ")}, not ${JSON.stringify(row.effect)}`);

  if (!("description" in row)) fault(where, "missing \"description\"");
  else if (typeof row.description !== "string" || row.description.trim() === "")
    fault(where, "\"description\" must be a non-empty string");

  // Fields the catalogue may carry; when present their types are fixed.
  if ("parameter" in row && typeof row.parameter !== "string")
    fault(where, `"parameter" must be a string, not ${typeName(row.parameter)}`);
  for (const key of ["command", "className"]) {
    if (key in row && row[key] !== null && (typeof row[key] !== "string" || row[key] === ""))
      fault(where, `"${key}" must be a non-empty string or null, not ${JSON.stringify(row[key])}`);
  }
  if (typeof row.command === "string" && row.command !== "") {
    const first = commands.get(row.command);
    if (first !== undefined) fault(where, `command ${row.command} repeats (also in ${first})`);
    else commands.set(row.command, where);
  }

  let exampleOk = true;
  if (!("exampleRequest" in row)) {
    fault(where, "missing \"exampleRequest\"");
    exampleOk = false;
  } else if (!isObject(row.exampleRequest)) {
    fault(where, `"exampleRequest" must be an object, not ${typeName(row.exampleRequest)}`);
    exampleOk = false;
  }

  if (!("requestSchema" in row)) {
    fault(where, "missing \"requestSchema\"");
    return;
  }
  const schema = row.requestSchema;
  if (!isObject(schema)) {
    fault(where, `"requestSchema" must be an object, not ${typeName(schema)}`);
    return;
  }
  if (schema.$schema !== DRAFT_2020_12) {
    fault(where, `requestSchema must declare "$schema": "${DRAFT_2020_12}", not ${JSON.stringify(schema.$schema)}`);
    return;
  }

  // A fresh instance per schema: two schemas that happen to share an $id must not collide.
  // Union types ("type": ["string", "number"]) are plain JSON Schema: requests send numbers and texts
  // interchangeably, and the schemas say so.
  const ajv = new Ajv2020({ strict: true, allErrors: true, allowUnionTypes: true });
  let valid;
  try {
    valid = ajv.validateSchema(schema);
  } catch (e) {
    fault(where, `requestSchema cannot be checked against the 2020-12 meta-schema: ${e.message}`);
    return;
  }
  if (!valid) {
    reportAjvErrors(where, "requestSchema is not a valid 2020-12 schema", ajv.errors);
    return;
  }
  let validate;
  try {
    validate = ajv.compile(schema);
  } catch (e) {
    fault(where, `requestSchema does not compile in strict mode: ${e.message}`);
    return;
  }
  if (exampleOk && !validate(row.exampleRequest))
    reportAjvErrors(where, "exampleRequest does not validate", validate.errors);
}

function main(argv) {
  if (argv.length !== 1) {
    console.error("usage: node check_catalogue.mjs CATALOGUE.json");
    return 2;
  }
  let catalogue;
  try {
    catalogue = JSON.parse(readFileSync(argv[0], "utf8"));
  } catch (e) {
    console.error(`catalogue: cannot read ${argv[0]} as JSON: ${e.message}`);
    return 1;
  }
  if (!isObject(catalogue) || !Array.isArray(catalogue.commands) || catalogue.commands.length === 0) {
    console.error("catalogue: the top level must be an object with a non-empty \"commands\" array");
    return 1;
  }
  const slots = new Map();
  const commands = new Map();
  catalogue.commands.forEach((row, i) => checkRow(row, i, slots, commands));
  if (faults.length) {
    for (const line of faults) console.error(line);
    return 1;
  }
  console.log(`catalogue: ${catalogue.commands.length} commands, all schemas valid, all examples validate`);
  return 0;
}

process.exitCode = main(process.argv.slice(2));
