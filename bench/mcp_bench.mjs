// A trivial tool call over stdio through the official MCP SDK client, against the same request through
// "vela-assist run" driven the same way (a line written, its answer line awaited), in one run, alternating.
// A third driver writes the tool call's JSON-RPC line itself, which tells the server's share of the cost
// from the SDK client's own (its message validation and bookkeeping in JavaScript).
// Target: the MCP call costs at most 1.5 times the run call.
// Usage: node bench/mcp_bench.mjs build/release/apps/vela-assist/vela-assist [calls]
// (needs the JavaScript test tools: npm ci in tests/js, which scripts/install-deps.sh does)
import { spawn, spawnSync } from 'node:child_process';
import { dirname, join } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';

const here = dirname(fileURLToPath(import.meta.url));
const sdk = path => import(pathToFileURL(join(here, '../tests/js/node_modules/@modelcontextprotocol/sdk/dist/esm', path)).href);
const { Client } = await sdk('client/index.js');
const { StdioClientTransport } = await sdk('client/stdio.js');

const bin = process.argv[2];
const calls = Number(process.argv[3] ?? 2000);
if (!bin) {
  console.error('usage: node bench/mcp_bench.mjs VELA_ASSIST [calls]');
  process.exit(2);
}
const tool = 'GetHandlesOfSelectedEntities';

const client = new Client({ name: 'vela-mcp-bench', version: '1.0.0' });
await client.connect(new StdioClientTransport({ command: bin, args: ['mcp'], stderr: 'ignore' }));

// A process answering one line per line written.
function lineDriver(args, lineOf) {
  const child = spawn(bin, args, { stdio: ['pipe', 'pipe', 'ignore'] });
  let buffered = '', waiting = null, id = 0;
  child.stdout.on('data', chunk => {
    buffered += chunk;
    const at = buffered.indexOf('\n');
    if (at >= 0 && waiting) {
      buffered = buffered.slice(at + 1);
      const resolve = waiting;
      waiting = null;
      resolve();
    }
  });
  return { call: () => new Promise(resolve => { waiting = resolve; child.stdin.write(lineOf(++id)); }), child };
}
const run = lineDriver(['run'], () => JSON.stringify({ call: tool, text: '{}' }) + '\n');
const raw = lineDriver(['mcp'], id => JSON.stringify({ jsonrpc: '2.0', id, method: 'tools/call', params: { name: tool, arguments: {} } }) + '\n');
const runCall = run.call, rawCall = raw.call;
const mcpCall = () => client.callTool({ name: tool, arguments: {} });

// Warm all, then time rounds of each in turn so that the machine's moods fall on all alike.
const drivers = [['MCP (SDK client -> vela-assist mcp)', mcpCall], ['JSON-RPC lines -> vela-assist mcp', rawCall],
                 ['run (lines -> vela-assist run)', runCall]];
for (let i = 0; i < 200; i++) for (const [, call] of drivers) await call();
const totals = drivers.map(() => 0n);
const rounds = 10, perRound = Math.max(1, Math.floor(calls / rounds));
for (let r = 0; r < rounds; r++)
  for (const [k, [, call]] of drivers.entries()) {
    const t = process.hrtime.bigint();
    for (let i = 0; i < perRound; i++) await call();
    totals[k] += process.hrtime.bigint() - t;
  }
const n = rounds * perRound;
const us = totals.map(t => Number(t) / n / 1000);
console.log(`${tool}, ${n} calls each over stdio`);
for (const [k, [name]] of drivers.entries()) console.log(`  ${name.padEnd(38)} ${us[k].toFixed(1)} us a call`);
console.log(`  through the SDK client: ${(us[0] / us[2]).toFixed(2)}x run (target <= 1.5x)`);
console.log(`  the server alone:       ${(us[1] / us[2]).toFixed(2)}x run; the SDK client's own work ${(us[0] - us[1]).toFixed(1)} us a call`);
// What a client without a server does: one "vela-assist run" for each call, the drawing loaded each time.
const spawned = 20;
let t = process.hrtime.bigint();
for (let i = 0; i < spawned; i++)
  spawnSync(bin, ['run'], { input: JSON.stringify({ call: tool, text: '{}' }) + '\n', stdio: ['pipe', 'ignore', 'ignore'] });
const perSpawn = Number(process.hrtime.bigint() - t) / spawned / 1000;
console.log(`  one vela-assist run started per call:   ${perSpawn.toFixed(0)} us a call (${(us[0] / perSpawn).toFixed(3)}x of it through the SDK client)`);
await client.close();
run.child.stdin.end();
raw.child.stdin.end();
