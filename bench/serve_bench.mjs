// The round trip of a trivial query from the assistant page to the bridge and back, as the page makes it: Qt's
// own qwebchannel.js (fetched from the server and run in node) over a WebSocket with the page's Origin, against
// a bare WebSocket echo on the same machine (a separate node process with the ws package), in one run. 8
// clients at once, each asking SelectEntityByHandle for a handle "qN" that names nothing (a lookup that changes
// nothing; the answer lists it as not found), N unique to the call, so that an answer lost or given to the wrong
// call shows; the echo clients send messages of the same size and check what comes back.
// The two sides alternate in halves so that the machine's moods fall on both alike.
// Targets: bridge median at most 2x the echo's, bridge p99 at most 2 ms, no answer lost or mixed up. Exit code 1
// when a target fails.
// Usage: node bench/serve_bench.mjs build/release/apps/vela-assist/vela-assist [calls per client]
// (needs the JavaScript test tools: npm ci in tests/js, which scripts/install-deps.sh does)
import { spawn } from 'node:child_process';
import { mkdtempSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import vm from 'node:vm';

const here = dirname(fileURLToPath(import.meta.url));
const wsModule = join(here, '../tests/js/node_modules/ws/index.js');
const { default: WebSocket } = await import(pathToFileURL(wsModule).href);

const bin = process.argv[2];
const calls = Number(process.argv[3] ?? 10000);
if (!bin) {
  console.error('usage: node bench/serve_bench.mjs VELA_ASSIST [calls per client]');
  process.exit(2);
}
const clients = 8, warmup = 200, halves = 2, callTimeoutMs = 5000;

const folder = mkdtempSync(join(tmpdir(), 'vela-serve-bench-'));
writeFileSync(join(folder, 'assistant.ini'), '[user]\nid=bench\n');
const server = spawn(bin, ['serve', '--port', '0', '--settings', join(folder, 'assistant.ini')],
                     { stdio: ['ignore', 'pipe', 'pipe'] });
let serverLog = '';
server.stderr.on('data', chunk => { serverLog += chunk; });
let stopping = false;
server.on('exit', (code, signal) => { if (!stopping) console.error(`vela-assist serve ended (${code ?? signal}):\n${serverLog}`); });
const page = new URL(await new Promise((resolve, reject) => {
  let out = '';
  server.stdout.on('data', chunk => { out += chunk; if (out.includes('\n')) resolve(out.split('\n')[0]); });
  server.on('exit', code => reject(new Error(`vela-assist serve ended (${code})`)));
}));
const pageOrigin = `http://${page.host}`;

// The echo peer: a process of its own, as the server is.
const echoSource = `
const { WebSocketServer } = require(${JSON.stringify(wsModule)});
const wss = new WebSocketServer({ host: '127.0.0.1', port: 0, perMessageDeflate: false });
wss.on('listening', () => console.log(wss.address().port));
wss.on('connection', ws => ws.on('message', (data, binary) => ws.send(data, { binary })));`;
const echo = spawn(process.execPath, ['-e', echoSource], { stdio: ['ignore', 'pipe', 'inherit'] });
const echoPort = Number(await new Promise(resolve => echo.stdout.once('data', chunk => resolve(String(chunk).trim()))));

// Qt's client, as the page loads it.
const clientSource = await (await fetch(new URL('qwebchannel.js', page))).text();
const sandbox = { module: { exports: {} }, console };
vm.runInNewContext(clientSource, sandbox);
const { QWebChannel } = sandbox.module.exports;

const open = (url, origin) => new Promise((resolve, reject) => {
  const socket = new WebSocket(url, { origin, perMessageDeflate: false });
  socket.once('open', () => resolve(socket));
  socket.once('error', reject);
});

// A web channel client; its call resolves with the answer, or null after the timeout (a lost answer).
async function bridgeClient() {
  const socket = await open(new URL('ws', page).href.replace(/^http/, 'ws'), pageOrigin);
  const transport = { send: text => socket.send(text), onmessage: null };
  socket.on('message', data => transport.onmessage({ data: data.toString() }));
  const api = await new Promise(resolve => new QWebChannel(transport, channel => resolve(channel.objects.VelaAssistantAPI)));
  let sentBytes = 0;
  const send = transport.send;
  transport.send = text => { sentBytes = text.length; send(text); };
  return {
    call: n => new Promise(resolve => {
      const timer = setTimeout(() => resolve(null), callTimeoutMs);
      api.SelectEntityByHandle(JSON.stringify({ handles: [`q${n}`], clearSelection: false }),
        answer => { clearTimeout(timer); resolve(answer); });
    }),
    check: (n, answer) => JSON.parse(answer).notFoundHandles?.[0] === `q${n}`,
    sentBytes: () => sentBytes,
    close: () => socket.close(),
  };
}

// An echo client sending messages as long as the bridge client's, each carrying its own number.
async function echoClient(size) {
  const socket = await open(`ws://127.0.0.1:${echoPort}`, pageOrigin);
  let waiting = null;
  socket.on('message', data => { const resolve = waiting; waiting = null; resolve?.(data.toString()); });
  return {
    call: n => new Promise(resolve => {
      const timer = setTimeout(() => { waiting = null; resolve(null); }, callTimeoutMs);
      waiting = answer => { clearTimeout(timer); resolve(answer); };
      socket.send(String(n).padEnd(size, '.'));
    }),
    check: (n, answer) => answer === String(n).padEnd(size, '.'),
    close: () => socket.close(),
  };
}

// Every client calls in turn, all clients at once; the latencies in microseconds.
async function drive(side, first, count, samples, faults) {
  await Promise.all(side.map(async (client, k) => {
    for (let i = first; i < first + count; i++) {
      const n = k * 10_000_000 + i;
      const t = process.hrtime.bigint();
      const answer = await client.call(n);
      const us = Number(process.hrtime.bigint() - t) / 1000;
      if (answer === null) faults.lost++;
      else if (!client.check(n, answer)) faults.mixed++;
      else if (samples) samples.push(us);
    }
  }));
}

const bridge = await Promise.all(Array.from({ length: clients }, bridgeClient));
await bridge[0].call(0);
const requestSize = bridge[0].sentBytes();
const echoes = await Promise.all(Array.from({ length: clients }, () => echoClient(requestSize)));

const sides = { bridge: { clients: bridge, samples: [], faults: { lost: 0, mixed: 0 } },
                echo: { clients: echoes, samples: [], faults: { lost: 0, mixed: 0 } } };
for (const side of Object.values(sides)) await drive(side.clients, 1, warmup, null, side.faults);
const half = Math.floor(calls / halves);
const started = Date.now();
for (let h = 0; h < halves; h++)
  for (const side of Object.values(sides)) await drive(side.clients, warmup + 1 + h * half, half, side.samples, side.faults);
const seconds = (Date.now() - started) / 1000;

const percentile = (sorted, p) => sorted[Math.min(sorted.length - 1, Math.floor(p / 100 * sorted.length))];
const stats = {};
console.log(`${clients} clients x ${half * halves} calls each, concurrently, in ${seconds.toFixed(1)} s; ` +
            `messages of ${requestSize} bytes out`);
for (const [name, side] of Object.entries(sides)) {
  const sorted = Float64Array.from(side.samples).sort();
  stats[name] = { p50: percentile(sorted, 50), p90: percentile(sorted, 90), p99: percentile(sorted, 99), max: sorted.at(-1) };
  const s = stats[name];
  console.log(`  ${name === 'bridge' ? 'page -> bridge -> page (qwebchannel.js, a lookup)'.padEnd(52) : 'raw WebSocket echo (ws, own process)'.padEnd(52)}` +
              `  p50 ${s.p50.toFixed(0)} us  p90 ${s.p90.toFixed(0)} us  p99 ${s.p99.toFixed(0)} us  max ${s.max.toFixed(0)} us;` +
              `  ${side.faults.lost} lost, ${side.faults.mixed} mixed up`);
}
const medianRatio = stats.bridge.p50 / stats.echo.p50, p99Ratio = stats.bridge.p99 / stats.echo.p99;
console.log(`  bridge / echo: medians ${medianRatio.toFixed(2)}x, p99 ${p99Ratio.toFixed(2)}x`);
const targets = [
  ['bridge median <= 2x the echo median', medianRatio <= 2],
  ['bridge p99 <= 2 ms', stats.bridge.p99 <= 2000],
  ['no answer lost or mixed up (either side)',
   Object.values(sides).every(side => side.faults.lost === 0 && side.faults.mixed === 0)],
];
for (const [what, ok] of targets) console.log(`  ${ok ? 'PASS' : 'FAIL'}  ${what}`);

for (const client of [...bridge, ...echoes]) client.close();
stopping = true;
server.kill();
echo.kill();
process.exitCode = targets.every(([, ok]) => ok) ? 0 : 1;
