// The MCP server of vela-assist driven by the official MCP TypeScript SDK clients, as AI clients drive it:
// @modelcontextprotocol/sdk (the 2025 revisions, with their handshake) over stdio and Streamable HTTP, and
// @modelcontextprotocol/client (the stateless 2026-07-28 revision) over both. Usage: node mcp_check.mjs VELA_ASSIST
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import { mkdtempSync, copyFileSync, readFileSync, symlinkSync, writeFileSync, existsSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join, dirname } from 'node:path';
import { fileURLToPath } from 'node:url';
import { inflateSync } from 'node:zlib';
import http from 'node:http';
import Ajv2020 from 'ajv/dist/2020.js';
import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { StreamableHTTPClientTransport } from '@modelcontextprotocol/sdk/client/streamableHttp.js';
import { Client as StatelessClient, StreamableHTTPClientTransport as StatelessHttp } from '@modelcontextprotocol/client';
import { StdioClientTransport as StatelessStdio } from '@modelcontextprotocol/client/stdio';

const bin = process.argv[2];
if (!bin) {
  console.error('usage: node mcp_check.mjs VELA_ASSIST');
  process.exit(2);
}
const sample = join(dirname(fileURLToPath(import.meta.url)), '../../examples/floor_plan.dxf');
const catalogue = JSON.parse(spawnSync(bin, ['catalogue'], { encoding: 'utf8' }).stdout).commands;
const ownTools = ['OpenDrawing', 'NewDrawing', 'SaveDrawing', 'Undo', 'Redo', 'RenderDrawing'];

// A folder of its own for each server, holding a copy of the sample plan.
function freshRoot() {
  const root = mkdtempSync(join(tmpdir(), 'vela-mcp-'));
  copyFileSync(sample, join(root, 'plan.dxf'));
  return root;
}

async function stdioClient(root, extra = []) {
  const client = new Client({ name: 'vela-mcp-check', version: '1.0.0' });
  const transport = new StdioClientTransport({
    command: bin, args: ['mcp', join(root, 'plan.dxf'), '--root', root, ...extra], stderr: 'pipe' });
  await client.connect(transport);
  return client;
}

// Starts the HTTP transport and reads its address and token from standard error.
async function httpServer(root) {
  const child = spawn(bin, ['mcp', join(root, 'plan.dxf'), '--root', root, '--http', '0'],
                      { stdio: ['ignore', 'ignore', 'pipe'] });
  let log = '';
  const started = await new Promise((resolve, reject) => {
    child.stderr.on('data', chunk => {
      log += chunk;
      const address = log.match(/listening on (http:\/\/127\.0\.0\.1:(\d+)\/mcp)/);
      const token = log.match(/token: (\S+)/);
      if (address && token) resolve({ url: address[1], port: Number(address[2]), token: token[1] });
    });
    child.on('exit', code => reject(new Error(`server ended (${code}): ${log}`)));
  });
  return { ...started, child, log: () => log };
}

const text = result => result.content.find(c => c.type === 'text').text;

// The same requests through "vela-assist run", one answer a line.
function runAnswers(drawing, calls) {
  const script = calls.map(([slot, request]) => JSON.stringify({ call: slot, text: JSON.stringify(request) })).join('\n');
  const out = spawnSync(bin, ['run', drawing], { input: script + '\n', encoding: 'utf8' });
  assert.equal(out.status, 0, out.stderr);
  return out.stdout.trimEnd().split('\n');
}

// Width, height and whether anything but white was drawn, read from the PNG itself.
function readPng(base64) {
  const png = Buffer.from(base64, 'base64');
  assert.deepEqual([...png.subarray(0, 8)], [137, 80, 78, 71, 13, 10, 26, 10], 'a PNG signature');
  let pos = 8, width = 0, height = 0, bitDepth = 0, colorType = 0;
  const data = [];
  while (pos < png.length) {
    const length = png.readUInt32BE(pos), type = png.toString('latin1', pos + 4, pos + 8);
    const body = png.subarray(pos + 8, pos + 8 + length);
    if (type === 'IHDR') [width, height, bitDepth, colorType] = [body.readUInt32BE(0), body.readUInt32BE(4), body[8], body[9]];
    if (type === 'IDAT') data.push(body);
    pos += 12 + length;
  }
  const raw = inflateSync(Buffer.concat(data));
  const channels = { 2: 3, 6: 4, 0: 1, 4: 2 }[colorType];
  assert.equal(bitDepth, 8);
  const stride = width * channels + 1;
  let inked = 0;
  // Filter bytes aside, a row of white pixels is all 255 after "none" and all 0 after "sub"/"up"; counting
  // rows that are neither tells drawn rows from empty ones without undoing the filters.
  for (let y = 0; y < height; y++) {
    const row = raw.subarray(y * stride + 1, (y + 1) * stride);
    const filter = raw[y * stride];
    if (!row.every(b => b === (filter === 0 ? 255 : 0))) inked++;
  }
  return { width, height, bytes: png.length, inkedRows: inked };
}

test('the catalogue clients get: unique names, descriptions, strict 2020-12 schemas that accept their examples', () => {
  // A model only ever sees these schemas and examples: a schema ajv has to guess about, or an example its own
  // schema rejects, is a fault.
  const unique = names => new Set(names).size === names.length;
  assert.ok(unique(catalogue.map(r => r.slot)) && unique(catalogue.filter(r => r.command).map(r => r.command)));
  for (const row of catalogue) {
    assert.ok(['reads', 'changes', 'deletes'].includes(row.effect), row.slot);
    assert.ok(row.description.trim().length > 20, row.slot);
    assert.equal(row.requestSchema.$schema, 'https://json-schema.org/draft/2020-12/schema', row.slot);
    const ajv = new Ajv2020({ strict: true, allowUnionTypes: true, allErrors: true });
    assert.ok(ajv.validateSchema(row.requestSchema), `${row.slot}: ${ajv.errorsText(ajv.errors)}`);
    const validate = ajv.compile(row.requestSchema);
    assert.ok(validate(row.exampleRequest), `${row.slot}: ${ajv.errorsText(validate.errors)}`);
  }
});

test('stdio with the 2025 handshake: tools from the catalogue, valid schemas, every tool on the sample', async t => {
  const root = freshRoot();
  const client = await stdioClient(root);
  t.after(() => client.close());
  assert.equal(client.getServerVersion().name, 'vela-assist');
  assert.match(client.getInstructions(), /handles/);
  await client.ping();

  const { tools } = await client.listTools();
  const names = tools.map(tool => tool.name);
  // Every built command of the catalogue is a tool by its row alone; one not built yet is not offered.
  for (const row of catalogue)
    assert.equal(names.includes(row.slot), row.available, `${row.slot}: a tool exactly when the command is built`);
  for (const name of ownTools) assert.ok(names.includes(name), name);
  assert.equal(tools.length, catalogue.filter(r => r.available).length + ownTools.length);
  // Small enough to sit in a model's context with room to spare.
  assert.ok(JSON.stringify(tools).length < 24000, `tools/list is ${JSON.stringify(tools).length} bytes`);

  const ajv = new Ajv2020({ strict: true, allowUnionTypes: true, allErrors: true });
  for (const tool of tools) {
    const validate = ajv.compile(tool.inputSchema);
    const row = catalogue.find(r => r.slot === tool.name);
    if (!row) continue;
    assert.ok(validate(row.exampleRequest), `${tool.name}: ${ajv.errorsText(validate.errors)}`);
    assert.equal(tool.annotations.readOnlyHint, row.effect === 'reads', tool.name);
    assert.equal(tool.annotations.destructiveHint === true, row.effect === 'deletes', tool.name);
    // A change can be tried first; a query has nothing to try.
    assert.equal('dryRun' in (tool.inputSchema.properties ?? {}), row.effect !== 'reads', tool.name);
    if (row.effect !== 'reads') assert.ok(validate({ ...row.exampleRequest, dryRun: true }));
  }

  // Every command tool, on the catalogue's own examples, answers exactly what "vela-assist run" answers for the
  // same requests in the same order.
  const calls = catalogue.filter(r => r.available).map(r => [r.slot, r.exampleRequest]);
  const expected = runAnswers(join(root, 'plan.dxf'), calls);
  for (const [i, [slot, request]] of calls.entries()) {
    const result = await client.callTool({ name: slot, arguments: request });
    assert.equal(text(result), expected[i], `${slot} answers as through run`);
    assert.deepEqual(result.structuredContent, JSON.parse(expected[i]), `${slot}: structured as the text`);
    assert.equal(result.isError === true, JSON.parse(expected[i]).success === false, `${slot}: isError`);
  }

  // The drawing's own tools.
  const undone = await client.callTool({ name: 'Undo', arguments: { steps: 2 } });
  assert.equal(undone.structuredContent.undone, 2);
  const redone = await client.callTool({ name: 'Redo', arguments: {} });
  assert.equal(redone.structuredContent.redone, 1);
  assert.equal(redone.structuredContent.redoSteps, 1);
  const saved = await client.callTool({ name: 'SaveDrawing', arguments: { path: 'out.dxf' } });
  assert.equal(saved.isError, undefined, text(saved));
  assert.ok(readFileSync(join(root, 'out.dxf'), 'latin1').includes('EOF'));
  const unsaved = await client.callTool({ name: 'Undo', arguments: {} });
  assert.equal(unsaved.structuredContent.success, true);
  const refused = await client.callTool({ name: 'NewDrawing', arguments: {} });
  assert.equal(refused.isError, true);
  assert.match(refused.structuredContent.error, /not saved/);
  const fresh = await client.callTool({ name: 'NewDrawing', arguments: { discardChanges: true } });
  assert.equal(fresh.structuredContent.success, true);
  const summary = JSON.parse((await client.readResource({ uri: 'drawing://summary' })).contents[0].text);
  assert.equal(summary.modelSpaceEntities, 0);
  const reopened = await client.callTool({ name: 'OpenDrawing', arguments: { path: 'out.dxf' } });
  assert.equal(reopened.structuredContent.success, true, text(reopened));
  assert.ok(reopened.structuredContent.modelSpaceEntities > 50);
});

test('pictures as a model needs them: bounded size, labels with their pixels, the transform', async t => {
  const client = await stdioClient(freshRoot());
  t.after(() => client.close());
  const heard = [];
  const whole = await client.callTool({ name: 'RenderDrawing', arguments: { handles: 'all' } }, undefined,
                                      { onprogress: progress => heard.push(progress) });
  assert.ok(heard.length >= 1 && heard.at(-1).progress === heard.at(-1).total, 'progress reported to the end');
  const info = whole.structuredContent;
  const image = whole.content.find(c => c.type === 'image');
  assert.equal(image.mimeType, 'image/png');
  const png = readPng(image.data);
  assert.deepEqual([png.width, png.height], [info.width, info.height]);
  assert.equal(Math.max(png.width, png.height), 1568);
  assert.ok(png.bytes <= 5 * 1024 * 1024);
  assert.ok(png.inkedRows > png.height / 2, `the plan covers the picture (${png.inkedRows} rows drawn)`);
  // The window's corners land on the picture's edges through the transform given.
  const { scale, offsetX, offsetY } = info.worldToPixel;
  const [x1, y1, x2, y2] = info.window;
  assert.ok(Math.abs(scale * x1 + offsetX) < 1 && Math.abs(scale * x2 + offsetX - info.width) < 1);
  assert.ok(Math.abs(offsetY - scale * y2) < 1 && Math.abs(offsetY - scale * y1 - info.height) < 1);
  for (const label of info.labels) assert.ok(label.x >= 0 && label.x <= info.width && label.y >= 0 && label.y <= info.height);

  // A label's pixel is the centre of its entity's box, by that transform.
  const wall = info.labels.find(l => l.handle === 'DD');
  const dump = await client.callTool({ name: 'SummarizeEntities', arguments: { handles: ['DD'] } });
  const points = dump.structuredContent.entities[0].dxf.filter(g => g.code === 10).map(g => g.value);
  const cx = (Math.min(...points.map(p => p[0])) + Math.max(...points.map(p => p[0]))) / 2;
  const cy = (Math.min(...points.map(p => p[1])) + Math.max(...points.map(p => p[1]))) / 2;
  assert.ok(Math.abs(scale * cx + offsetX - wall.x) < 0.2 && Math.abs(offsetY - scale * cy - wall.y) < 0.2);

  // Framed around two entities, with only those labelled.
  const framed = await client.callTool({ name: 'RenderDrawing', arguments: { around: ['DD', 'DE'], handles: ['DD'] } });
  assert.deepEqual(framed.structuredContent.labels.map(l => l.handle), ['DD']);
  assert.ok(framed.structuredContent.window[2] - framed.structuredContent.window[0] < x2 - x1);
  const bad = await client.callTool({ name: 'RenderDrawing', arguments: { window: '0,0,0,0' } });
  assert.equal(bad.isError, true);
});

test('a model at work: find the walls, make them red, ask what changed, look, try a deletion, undo', async t => {
  const root = freshRoot();
  const client = await stdioClient(root);
  t.after(() => client.close());
  const call = async (name, args) => (await client.callTool({ name, arguments: args })).structuredContent;

  const found = await call('SelectEntities', { entities: [{ className: 'All', properties: [{ property: 'Layer', operator: '==', value: 'Walls' }] }] });
  assert.ok(found.numSelected > 5);
  const walls = found.handles;
  const before = JSON.parse((await client.readResource({ uri: 'drawing://summary' })).contents[0].text).undoSteps;
  assert.deepEqual(await call('GetChangesInfo', {}), (await call('GetChangesInfo', {})), 'a report taken twice is empty the second time');

  assert.equal((await call('ModifyEntityProperties', { handles: walls, propertyDescriptors: [{ LineColor: '1' }] })).success, true);
  const report = await call('GetChangesInfo', {});
  assert.equal(report.changes.summary.modified, walls.length);
  for (const m of report.changes.modified)
    assert.deepEqual(m.changes, [{ property: 'Color', oldValue: 'ByLayer', newValue: '1' }]);

  const look = await client.callTool({ name: 'RenderDrawing', arguments: { since: before, around: walls } });
  assert.equal(look.structuredContent.changed, walls.length);
  assert.ok(readPng(look.content.find(c => c.type === 'image').data).inkedRows > 100);

  // A trial deletion: what it would answer and change, pictures before and after, and nothing done.
  const saveBefore = await call('SaveDrawing', { path: 'before.dxf' });
  assert.equal(saveBefore.success, true);
  const trial = await client.callTool({ name: 'DeleteEntities', arguments: { handles: [walls[0]], dryRun: true, dryRunPictures: true } });
  const tried = trial.structuredContent;
  assert.equal(tried.dryRun, true);
  assert.deepEqual(tried.answer.entities.map(e => e.handle), [walls[0]]);
  assert.equal(tried.changes.summary.erased, 1);
  assert.equal(trial.content.filter(c => c.type === 'image').length, 2);
  assert.deepEqual((await call('SelectEntityByHandle', { handles: [walls[0]] })).selectedHandles, [walls[0]]);
  assert.equal((await call('GetChangesInfo', {})).changes.summary.erased, 0, 'the trial is not reported as a change');
  assert.equal((await call('SaveDrawing', { path: 'after.dxf' })).success, true);
  const withoutSeed = file => readFileSync(join(root, file), 'latin1').replace(/\$HANDSEED\s*\r?\n\s*5\s*\r?\n[0-9A-F]+/, '');
  assert.equal(withoutSeed('after.dxf'), withoutSeed('before.dxf'), 'the drawing is as it was before the trial');

  const undo = await call('Undo', {});
  assert.equal(undo.undone, 1);
  const dump = await call('SummarizeEntities', { handles: [walls[0]] });
  assert.equal(dump.entities[0].dxf.some(g => g.code === 62), false, 'the wall has its layer color again');
});

test('safety: files only under the root, bad arguments as tool errors, protocol errors as JSON-RPC errors', async t => {
  const root = freshRoot();
  const outside = mkdtempSync(join(tmpdir(), 'vela-outside-'));
  copyFileSync(sample, join(outside, 'secret.dxf'));
  symlinkSync(join(outside, 'secret.dxf'), join(root, 'link.dxf'));
  const client = await stdioClient(root);
  t.after(() => client.close());
  for (const path of ['../' + outside.split('/').pop() + '/secret.dxf', join(outside, 'secret.dxf'), 'link.dxf']) {
    const opened = await client.callTool({ name: 'OpenDrawing', arguments: { path, discardChanges: true } });
    assert.equal(opened.isError, true, path);
    assert.match(opened.structuredContent.error, /outside the folder/, path);
  }
  const savedOutside = await client.callTool({ name: 'SaveDrawing', arguments: { path: join(outside, 'x.dxf') } });
  assert.match(savedOutside.structuredContent.error, /outside the folder/);
  assert.equal(existsSync(join(outside, 'x.dxf')), false);
  assert.match((await client.callTool({ name: 'SaveDrawing', arguments: { path: 'x.txt' } })).structuredContent.error, /\.dxf/);
  assert.match((await client.callTool({ name: 'OpenDrawing', arguments: { path: 'none.dxf' } })).structuredContent.error, /no file/);

  const badArguments = [
    ['SelectEntities', { entities: 5 }], ['ModifyEntityProperties', { handles: ['DD'], propertyDescriptors: [{ LineColor: 'pink' }] }],
    ['TransformEntities', { handles: ['DD'], transformationMatrices: [{ a00: 'x' }] }], ['DeleteEntities', { handles: [] }],
    ['CreateEntities', { entities: [{ className: 'AcDbCircle', center: 'here', radius: -1 }] }],
    ['DeleteEntities', { handles: ['DD'], dryRun: 'yes' }], ['Undo', { steps: 0 }], ['RenderDrawing', { around: ['nothing'] }],
  ];
  for (const [name, args] of badArguments) {
    const result = await client.callTool({ name, arguments: args });
    assert.equal(result.isError, true, `${name} ${JSON.stringify(args)}: ${text(result)}`);
  }
  await assert.rejects(client.callTool({ name: 'NoSuchTool', arguments: {} }), error => error.code === -32602);
  await assert.rejects(client.readResource({ uri: 'drawing://nothing' }), error => error.code === -32002);
  await client.ping();
});

test('stdio by hand: parse errors, batches, cancellation of a waiting request', async () => {
  const child = spawn(bin, ['mcp', '--new'], { stdio: ['pipe', 'pipe', 'ignore'] });
  const lines = [];
  let buffered = '';
  child.stdout.on('data', chunk => {
    buffered += chunk;
    let at;
    while ((at = buffered.indexOf('\n')) >= 0) { lines.push(JSON.parse(buffered.slice(0, at))); buffered = buffered.slice(at + 1); }
  });
  const waitFor = async count => { while (lines.length < count) await new Promise(r => setTimeout(r, 10)); };
  // A long request, a short one behind it, and the short one cancelled while it waits.
  child.stdin.write([
    '{"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"RenderDrawing","arguments":{"size":"4000x4000"}}}',
    '{"jsonrpc":"2.0","id":2,"method":"ping"}',
    '{"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":2,"reason":"changed my mind"}}',
    'this is not JSON', '[{"jsonrpc":"2.0","id":4,"method":"ping"}]', '{"jsonrpc":"1.0","id":5,"method":"ping"}',
    '{"jsonrpc":"2.0","id":6,"method":"no/such/method"}', '{"jsonrpc":"2.0","id":7,"method":"ping"}', ''].join('\n'));
  await waitFor(6);
  child.stdin.end();
  await new Promise(resolve => child.on('exit', resolve));
  assert.deepEqual(lines.map(l => l.id), [1, null, null, 5, 6, 7], 'no answer to the cancelled request');
  assert.equal(lines[1].error.code, -32700);
  assert.equal(lines[2].error.code, -32600);
  assert.equal(lines[3].error.code, -32600);
  assert.equal(lines[4].error.code, -32601);
  assert.deepEqual(lines[5].result, {});
});

test('Streamable HTTP: the SDK client with the token; the door shut without it', async t => {
  const root = freshRoot();
  const server = await httpServer(root);
  t.after(() => server.child.kill());
  const client = new Client({ name: 'vela-mcp-check', version: '1.0.0' });
  await client.connect(new StreamableHTTPClientTransport(new URL(server.url), {
    requestInit: { headers: { Authorization: `Bearer ${server.token}` } } }));
  const { tools } = await client.listTools();
  assert.ok(tools.some(tool => tool.name === 'SelectEntities'));
  const layers = await client.callTool({ name: 'GetCurrentLayersInfo', arguments: {} });
  assert.ok(layers.structuredContent.layers.some(l => l.name === 'Walls'));
  await client.close();

  const body = '{"jsonrpc":"2.0","id":1,"method":"ping"}';
  const send = (headers, method = 'POST', path = '/mcp') => new Promise((resolve, reject) => {
    const request = http.request({ host: '127.0.0.1', port: server.port, path, method,
      headers: { 'Content-Type': 'application/json', Host: `127.0.0.1:${server.port}`, ...headers } }, response => {
      let data = '';
      response.on('data', chunk => { data += chunk; });
      response.on('end', () => resolve({ status: response.statusCode, data }));
    });
    request.on('error', reject);
    if (method === 'POST') request.write(body);
    request.end();
  });
  const token = { Authorization: `Bearer ${server.token}` };
  assert.equal((await send(token)).status, 200);
  assert.equal((await send({})).status, 401, 'no token');
  assert.equal((await send({ Authorization: 'Bearer guess' })).status, 401, 'a wrong token');
  assert.equal((await send({ ...token, Host: 'evil.example:80' })).status, 403, 'a rebound name');
  assert.equal((await send({ ...token, Origin: 'https://evil.example' })).status, 403, 'a foreign page');
  assert.equal((await send({ ...token, Origin: `http://localhost:${server.port}` })).status, 200, 'its own origin');
  assert.equal((await send(token, 'GET')).status, 405);
  assert.equal((await send(token, 'POST', '/other')).status, 404);
  assert.match(server.log(), /refused POST \/mcp \(403\): the Host header/);
});

test('the stateless 2026-07-28 revision with the SDK client of that revision, over stdio and HTTP', async t => {
  const root = freshRoot();
  const stdio = new StatelessClient({ name: 'vela-mcp-check', version: '2.0.0' }, { versionNegotiation: { mode: { pin: '2026-07-28' } } });
  await stdio.connect(new StatelessStdio({ command: bin, args: ['mcp', join(root, 'plan.dxf'), '--root', root], stderr: 'ignore' }));
  t.after(() => stdio.close());
  assert.equal(stdio.getNegotiatedProtocolVersion(), '2026-07-28');
  const listed = await stdio.listTools();
  assert.ok(listed.tools.length > 10);
  const selected = await stdio.callTool({ name: 'SelectEntityByHandle', arguments: { handles: ['DD', 'nothing'] } });
  assert.deepEqual(selected.structuredContent.selectedHandles, ['DD']);
  const prompt = await stdio.getPrompt({ name: 'drawing-conventions' });
  assert.match(prompt.messages[0].content.text, /modelSpaceEntities/);
  await assert.rejects(stdio.readResource({ uri: 'drawing://nothing' }), error => error.code === -32602);

  const server = await httpServer(root);
  t.after(() => server.child.kill());
  const overHttp = new StatelessClient({ name: 'vela-mcp-check', version: '2.0.0' }, { versionNegotiation: { mode: 'auto' } });
  await overHttp.connect(new StatelessHttp(new URL(server.url), { requestInit: { headers: { Authorization: `Bearer ${server.token}` } } }));
  assert.equal(overHttp.getNegotiatedProtocolVersion(), '2026-07-28');
  const layers = JSON.parse((await overHttp.readResource({ uri: 'drawing://layers' })).contents[0].text);
  assert.ok(layers.layers.length > 3);
  await overHttp.close();

  // A revision the server does not speak, and headers that disagree with the body.
  const post = (headers, meta) => fetch(server.url, { method: 'POST', headers: {
    'Content-Type': 'application/json', Authorization: `Bearer ${server.token}`, ...headers },
    body: JSON.stringify({ jsonrpc: '2.0', id: 7, method: 'tools/list', params: { _meta: meta } }) });
  const unknown = await post({}, { 'io.modelcontextprotocol/protocolVersion': '2099-01-01' });
  assert.equal(unknown.status, 400);
  assert.equal((await unknown.json()).error.code, -32022);
  const mismatch = await post({ 'MCP-Protocol-Version': '2025-11-25' }, { 'io.modelcontextprotocol/protocolVersion': '2026-07-28' });
  assert.equal((await mismatch.json()).error.code, -32020);
  const envelopeLess = await post({ 'MCP-Protocol-Version': '2026-07-28' }, {});
  assert.equal((await envelopeLess.json()).error.code, -32602);
});
