// The door of "vela-assist serve" tried the way a hostile web page, a program on another machine or a broken
// client would try it, over raw sockets so that nothing between the test and the server tidies the requests:
// every refusal answered with its status and logged, the page's own requests let in, and then a few thousand
// random and mutated HTTP requests, WebSocket frames and web channel messages, after which the server must
// still be alive and answer a normal call. The fuzzing seed is printed; VELA_FUZZ_SEED=N repeats a run.
// Usage: node serve_security.mjs VELA_ASSIST
import { test, after } from 'node:test';
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import { mkdtempSync, copyFileSync, writeFileSync } from 'node:fs';
import { tmpdir, networkInterfaces } from 'node:os';
import { join, dirname } from 'node:path';
import { fileURLToPath } from 'node:url';
import { randomBytes } from 'node:crypto';
import net from 'node:net';
import WebSocket from 'ws';

const bin = process.argv[2];
if (!bin) {
  console.error('usage: node serve_security.mjs VELA_ASSIST');
  process.exit(2);
}
const seed = Number(process.env.VELA_FUZZ_SEED ?? 1125);
const sample = join(dirname(fileURLToPath(import.meta.url)), '../../examples/floor_plan.dxf');
const folder = mkdtempSync(join(tmpdir(), 'vela-serve-'));
copyFileSync(sample, join(folder, 'plan.dxf'));
const settingsFile = join(folder, 'assistant.ini');
writeFileSync(settingsFile, '[user]\nid=security-check\n');

// Starts a server and reads its page address from standard output; standard error is kept for the checks.
async function startServer() {
  const child = spawn(bin, ['serve', join(folder, 'plan.dxf'), '--port', '0', '--settings', settingsFile],
                      { stdio: ['ignore', 'pipe', 'pipe'] });
  let out = '', err = '';
  child.stderr.on('data', chunk => { err += chunk; });
  const exited = new Promise(resolve => child.on('exit', (code, signal) => resolve({ code, signal })));
  const address = await new Promise((resolve, reject) => {
    child.stdout.on('data', chunk => {
      out += chunk;
      if (out.includes('\n')) resolve(out.split('\n')[0]);
    });
    exited.then(({ code, signal }) => reject(new Error(`server ended (${code ?? signal}): ${err}`)));
  });
  const url = new URL(address);
  const token = url.pathname.match(/^\/session\/([^/]+)\/$/)?.[1];
  assert.ok(token, `the page address ${address}`);
  const port = Number(url.port);
  const server = { child, url, port, token, base: `/session/${token}/`, host: `127.0.0.1:${port}`,
                   origin: `http://127.0.0.1:${port}`, exited, stderr: () => err };
  server.refusals = () => err.split('\n').filter(line => line.startsWith('vela-assist serve: refused'));
  after(() => { child.kill(); if (process.env.VELA_SERVE_LOG) writeFileSync(`${process.env.VELA_SERVE_LOG}.${port}`, err); });
  return server;
}

// A request as bytes: the request line, the headers as given (a header without a value is left out), a body.
function request(method, path, headers = {}, body = '') {
  let text = `${method} ${path} HTTP/1.1\r\n`;
  for (const [name, value] of Object.entries(headers)) if (value !== undefined) text += `${name}: ${value}\r\n`;
  return Buffer.concat([Buffer.from(text + '\r\n', 'latin1'), Buffer.from(body)]);
}

// Sends bytes on a fresh connection and reads one answer: its status, headers and body, once whole (by its
// length) or once the server closes. `writes` may be a function that writes at its own pace.
function exchange(port, bytes, { address = '127.0.0.1', timeout = 3000, halfClose = false } = {}) {
  return new Promise(resolve => {
    const socket = net.connect({ port, host: address });
    let data = Buffer.alloc(0), done = false, error = null;
    const answer = () => {
      const end = data.indexOf('\r\n\r\n');
      if (end < 0) return null;
      const lines = data.subarray(0, end).toString('latin1').split('\r\n');
      const headers = {};
      for (const line of lines.slice(1)) {
        const colon = line.indexOf(':');
        headers[line.slice(0, colon).toLowerCase()] = line.slice(colon + 1).trim();
      }
      return { status: Number(lines[0].split(' ')[1]), statusLine: lines[0], headers,
               body: data.subarray(end + 4), whole: headers['content-length'] !== undefined &&
                 data.length - end - 4 >= Number(headers['content-length']) };
    };
    const finish = closed => {
      if (done) return;
      done = true;
      clearTimeout(timer);
      socket.destroy();
      resolve({ ...(answer() ?? { status: 0 }), closed, error, raw: data });
    };
    const timer = setTimeout(() => finish(false), timeout);
    socket.on('data', chunk => {
      data = Buffer.concat([data, chunk]);
      if (answer()?.whole && answer().headers.connection !== 'close') finish(false);
    });
    socket.on('error', e => { error = e.code; });
    socket.on('close', () => finish(true));
    if (typeof bytes === 'function') bytes(socket, () => done);
    else socket.write(bytes, () => { if (halfClose) socket.end(); });
  });
}

// Waits until standard error holds `count` refusal lines (the log line may come a moment after the answer).
async function refusalLines(server, count) {
  for (let i = 0; i < 100 && server.refusals().length < count; i++) await new Promise(r => setTimeout(r, 20));
  return server.refusals();
}

// One refused request: its status, a JSON reason, and exactly one new log line with the same status.
async function expectRefused(server, bytes, status, what, options) {
  const before = server.refusals().length;
  const got = await exchange(server.port, bytes, options);
  assert.equal(got.status, status, `${what}: ${got.statusLine ?? got.error ?? 'no answer'}`);
  if (got.whole) assert.equal(typeof JSON.parse(got.body.toString()).error, 'string', what);
  const lines = await refusalLines(server, before + 1);
  assert.equal(lines.length, before + 1, `${what}: one log line`);
  assert.match(lines.at(-1), new RegExp(`\\(${status}\\)`), what);
  return got;
}

const wsHeaders = extra => ({ Upgrade: 'websocket', Connection: 'Upgrade', 'Sec-WebSocket-Version': '13',
                              'Sec-WebSocket-Key': randomBytes(16).toString('base64'), ...extra });

// A web channel client over the ws package; `call` sends one message and waits for the answer of its id.
async function channel(server, origin = server.origin) {
  const socket = new WebSocket(`ws://${server.host}${server.base}ws`, { origin });
  await new Promise((resolve, reject) => { socket.once('open', resolve); socket.once('error', reject); });
  const waiting = new Map();
  socket.on('message', text => {
    const message = JSON.parse(text);
    if (message.type === 10 && waiting.has(message.id)) {
      waiting.get(message.id)(message);
      waiting.delete(message.id);
    }
  });
  let id = 1_000_000;
  const call = message => new Promise(resolve => {
    const own = ++id;
    waiting.set(own, resolve);
    socket.send(JSON.stringify({ ...message, id: own }));
  });
  return { socket, call, close: () => socket.close() };
}

const server = await startServer();
const { base, host, origin, token } = server;

test('the page, its picture and its web channel are there for the page itself', async () => {
  for (const path of [base, `${base}index.html`]) {
    const page = await exchange(server.port, request('GET', path, { Host: host }));
    assert.equal(page.status, 200, path);
    assert.match(page.headers['content-type'], /^text\/html/);
    const csp = page.headers['content-security-policy'] ?? '';
    for (const rule of ["default-src 'none'", "script-src 'self'", `connect-src 'self' ws://${host}`,
                        "frame-ancestors 'none'", "base-uri 'none'", "form-action 'none'"])
      assert.ok(csp.includes(rule), `${path}: "${rule}" in the Content-Security-Policy "${csp}"`);
    assert.equal(page.headers['x-frame-options'], 'DENY');
    assert.match(page.body.toString(), /<script/);
  }
  const redirect = await exchange(server.port, request('GET', base.slice(0, -1), { Host: host }));
  assert.equal(redirect.status, 308);
  assert.equal(redirect.headers.location, base);
  // The page's own requests carry its origin.
  const script = await exchange(server.port, request('GET', `${base}qwebchannel.js`, { Host: host, Origin: origin }));
  assert.equal(script.status, 200);
  assert.match(script.body.toString(), /QWebChannel/);

  const picture = await exchange(server.port, request('GET', `${base}picture.png?size=320x200&dark=1`, { Host: host }));
  assert.equal(picture.status, 200);
  assert.equal(picture.headers['content-type'], 'image/png');
  assert.deepEqual([...picture.body.subarray(0, 8)], [137, 80, 78, 71, 13, 10, 26, 10], 'a PNG signature');
  assert.deepEqual([picture.body.readUInt32BE(16), picture.body.readUInt32BE(20)], [320, 200], 'the size asked');
  const window = picture.headers['x-vela-window'].split(',').map(Number);
  assert.ok(window.length === 4 && window.every(Number.isFinite) && window[2] > window[0] && window[3] > window[1],
            `X-Vela-Window ${picture.headers['x-vela-window']}`);

  const handshake = await exchange(server.port, request('GET', `${base}ws`, { Host: host, ...wsHeaders({ Origin: origin }) }),
                                   { timeout: 500 });
  assert.equal(handshake.status, 101);
  const client = await channel(server);
  const init = await client.call({ type: 3 });
  assert.deepEqual(Object.keys(init.data).sort(), ['VelaAssistantAPI', 'VelaHost']);
  const methods = Object.fromEntries(init.data.VelaAssistantAPI.methods);
  const layers = await client.call({ type: 6, object: 'VelaAssistantAPI', method: methods.GetCurrentLayersInfo, args: ['{}'] });
  assert.ok(JSON.parse(layers.data).layers.some(layer => layer.name === 'Walls'), layers.data);
  client.close();
});

test('requests without this start\'s token are refused (401)', async () => {
  const other = randomBytes(32).toString('base64url');
  assert.equal(other.length, token.length);
  const flipped = token.slice(0, -1) + (token.at(-1) === 'A' ? 'B' : 'A');
  const cases = [
    ['no token', '/'],
    ['no token, the page', '/index.html'],
    ['an empty token', '/session//index.html'],
    ['an empty token, no slash', '/session/'],
    ['a token of the same length', `/session/${other}/index.html`],
    ['the token with its last character changed', `/session/${flipped}/`],
    ['the token shortened', `/session/${token.slice(0, -1)}/`],
    ['the token lengthened', `/session/${token}x/`],
    ['the token in other letter case', `/session/${token.toUpperCase()}/picture.png`],
    ['the token in the query', `/index.html?token=${token}`],
    ['the token in the query of a wrong session', `/session/nothing/app.js?token=${token}`],
    ['the token as the first path segment', `/${token}/index.html`],
    ['the token one level deeper', `/session/x/${token}/index.html`],
    ['the token after the file', `/session/x/drawing.dxf/${token}`],
  ];
  for (const [what, path] of cases) await expectRefused(server, request('GET', path, { Host: host }), 401, what);
  for (const [what, headers] of [
    ['the token in a cookie', { Cookie: `token=${token}` }],
    ['the token in another header', { 'X-Token': token }],
    ['the token as Basic credentials', { Authorization: `Basic ${Buffer.from(`u:${token}`).toString('base64')}` }],
    ['a wrong bearer token', { Authorization: `Bearer ${other}` }]])
    await expectRefused(server, request('GET', '/session/x/index.html', { Host: host, ...headers }), 401, what);
  // A WebSocket is held to the same token.
  await expectRefused(server, request('GET', `/session/${other}/ws`, { Host: host, ...wsHeaders({ Origin: origin }) }), 401,
                      'a WebSocket with a wrong token');
  // Outside /session/TOKEN/ nothing is served even with the token.
  await expectRefused(server, request('GET', '/index.html', { Host: host, Authorization: `Bearer ${token}` }), 404,
                      'a bearer token and a path outside the session');
  assert.equal((await exchange(server.port, request('GET', `/session/${other}/style.css`,
                                                  { Host: host, Authorization: `Bearer ${token}` }))).status, 200,
               'the token as a bearer header');
});

test('requests naming another host, or from another page, are refused (403)', async () => {
  const page = `${base}index.html`;
  for (const [what, value] of [
    ['a rebound name', `evil.example:${server.port}`], ['another port', `127.0.0.1:${server.port + 1}`],
    ['no port', '127.0.0.1'], ['a name ending like ours', `evil.127.0.0.1:${server.port}`],
    ['user information', `127.0.0.1:${server.port}@evil.example`], ['an empty Host', '']])
    await expectRefused(server, request('GET', page, { Host: value }), 403, `Host: ${what}`);
  await expectRefused(server, request('GET', page, {}), 403, 'no Host');
  // A request line naming another host, with our Host header: the header still decides, and it is ours.
  for (const [what, value] of [
    ['a foreign site', 'https://evil.example'], ['a foreign site on our port', `http://evil.example:${server.port}`],
    ['another port', `http://127.0.0.1:${server.port + 1}`], ['https to our address', `https://${host}`],
    ['a sandboxed frame', 'null'], ['our address with a path', `${origin}/x`]]) {
    await expectRefused(server, request('GET', page, { Host: host, Origin: value }), 403, `Origin: ${what}`);
    await expectRefused(server, request('GET', `${base}ws`, { Host: host, ...wsHeaders({ Origin: value }) }), 403,
                        `a WebSocket from ${what}`);
  }
  await expectRefused(server, request('GET', `${base}ws`, { Host: host, ...wsHeaders() }), 403, 'a WebSocket without Origin');
  await expectRefused(server, request('GET', `${base}ws`, { Host: `evil.example:${server.port}`, ...wsHeaders({ Origin: origin }) }),
                      403, 'a WebSocket naming another host');
  // The ws package's client too, as a foreign page would open it.
  await assert.rejects(channel(server, 'https://evil.example'), /403/);
  // The other spellings of the server's own name are its own.
  for (const name of ['localhost', '[::1]'])
    assert.equal((await exchange(server.port, request('GET', page, { Host: `${name}:${server.port}`,
                                                                       Origin: `http://${name}:${server.port}` }))).status, 200, name);
});

test('methods other than GET are refused (405)', async () => {
  for (const method of ['POST', 'PUT', 'DELETE', 'PATCH', 'OPTIONS'])
    for (const path of [`${base}index.html`, `${base}ws`]) {
      const got = await expectRefused(server, request(method, path, { Host: host, 'Content-Length': 2 }, '{}'), 405,
                                      `${method} ${path.replace(token, 'TOKEN')}`);
      assert.equal(got.headers.allow, 'GET');
    }
});

test('large requests are refused as they arrive: 413 for the body, 431 for the head', async () => {
  const page = `${base}index.html`;
  await expectRefused(server, request('POST', page, { Host: host, 'Content-Length': 2 ** 20 + 1 }), 413,
                      'a body announced one byte over 1 MiB, nothing of it sent');
  await expectRefused(server, request('GET', page, { Host: host, 'Content-Length': '999999999999999999' }), 413,
                      'a body announced huge');
  await expectRefused(server, request('GET', page, { Host: host, 'X-Filler': 'a'.repeat(70 * 1024) }), 431,
                      'a head of 70 KiB at once');
  // The limit passed in one piece and the head's end in the next: measured whole, not by its last piece.
  const split = (first, rest) => (socket, done) => {
    const head = request('GET', page, { Host: host, 'X-Filler': 'a'.repeat(first + rest) });
    const cut = head.indexOf('X-Filler') + first;
    socket.write(head.subarray(0, cut), () => setTimeout(() => done() || socket.write(head.subarray(cut)), 100));
  };
  await expectRefused(server, split(60 * 1024, 10 * 1024), 431, 'a head of 70 KiB whose end comes later');
  const within = await exchange(server.port, split(40 * 1024, 20 * 1024));
  assert.equal(within.status, 200, 'a head of 60 KiB in two pieces is taken');
});

// What the server holds of a request must be bounded however it arrives: Qt's reader takes in every piece as it
// comes, so the server counts what a request has sent in all, not what waits unread.
test('a head that goes on past 64 KiB in small pieces is refused (431)', async () => {
  await expectRefused(server, (socket, done) => {
    let sent = 0;
    socket.write(`GET ${base}index.html HTTP/1.1\r\nHost: ${host}\r\n`);
    const more = () => {
      if (done() || sent > 256 * 1024) return;
      socket.write(`X-Filler-${sent}: ${'b'.repeat(1000)}\r\n`, () => setTimeout(more, 1));
      sent += 1000;
    };
    more();
  }, 431, 'a head that goes on past 64 KiB in pieces', { timeout: 4000 });
});

// In small pieces, and in pieces as large as a fast client's writes (those are refused today, but as a head too
// long, and the answer is lost to the reset of a connection closed with unread data).
test('a chunked body streaming past 1 MiB is refused (413) and its connection closed', async () => {
  for (const size of [8192, 65536]) {
    const before = server.refusals().length;
    let sent = 0;
    const got = await exchange(server.port, (socket, done) => {
      socket.write(`POST ${base}index.html HTTP/1.1\r\nHost: ${host}\r\nTransfer-Encoding: chunked\r\n\r\n`);
      const piece = Buffer.alloc(size, 'c');
      const more = () => {
        if (done() || socket.destroyed || socket.readableLength > 0) return;  // stop at the answer
        if (sent >= 4 * 2 ** 20) return socket.write('0\r\n\r\n');
        socket.write(Buffer.concat([Buffer.from(`${size.toString(16)}\r\n`), piece, Buffer.from('\r\n')]), () => setTimeout(more, 1));
        sent += piece.length;
      };
      more();
    }, { timeout: 20000 });
    const lines = await refusalLines(server, before + 1);
    assert.ok(got.status === 413 && got.closed, `pieces of ${size} bytes, after ${sent} bytes of body: ` +
              `${got.statusLine ?? got.error ?? 'no answer'}; the log: ${lines.slice(before).join(' | ')}`);
    assert.ok(sent <= 2 * 2 ** 20, `refused only after ${sent} bytes`);
    assert.match(lines.at(-1), /\(413\)/);
  }
});

// A handshake with the token, Host and Origin right but of another WebSocket version (426, naming the one
// spoken) or without its key (400) is refused, and gives its connection back when it closes.
test('broken WebSocket handshakes are refused and give their connections back', async () => {
  const own = await startServer();
  for (const [broken, status] of [[{ 'Sec-WebSocket-Version': '8' }, 426], [{ 'Sec-WebSocket-Key': undefined }, 400]])
    for (let i = 0; i < 70; i++) {
      const got = await exchange(own.port, request('GET', `${own.base}ws`, { Host: own.host, ...wsHeaders({ Origin: own.origin, ...broken }) }));
      assert.equal(got.status, status);
      if (status === 426) assert.equal(got.headers['sec-websocket-version'], '13');
    }
  await new Promise(r => setTimeout(r, 300));
  const page = await exchange(own.port, request('GET', `${own.base}style.css`, { Host: own.host }));
  assert.equal(page.status, 200, `after 140 handshakes refused by Qt: ${page.statusLine}; ${own.refusals().at(-1)}`);
});

// A page opens one WebSocket each time it loads; closed, it must give its connection back.
test('WebSockets that closed give their connections back', async () => {
  const own = await startServer();
  for (let i = 1; i <= 140; i++) {
    const page = await channel(own).catch(e => assert.fail(`page load ${i}: ${e.message}; ${own.refusals().at(-1)}`));
    page.close();
    await new Promise(resolve => page.socket.once('close', resolve));
  }
});

test('the server is reachable on 127.0.0.1 only, and will not listen on every address', async () => {
  const connect = address => new Promise(resolve => {
    const socket = net.connect({ port: server.port, host: address });
    socket.on('connect', () => { socket.destroy(); resolve('connected'); });
    socket.on('error', e => resolve(e.code));
  });
  const own = Object.values(networkInterfaces()).flat()
    .filter(a => a.family === 'IPv4' && !a.internal).map(a => a.address);
  for (const address of ['127.0.0.2', '127.1.2.3', '::1', ...own])
    assert.equal(await connect(address), 'ECONNREFUSED', address);
  console.log(`# not reachable at 127.0.0.2, 127.1.2.3, ::1${own.map(a => ', ' + a).join('')}`);
  for (const address of ['0.0.0.0', '::', 'nowhere']) {
    const run = spawnSync(bin, ['serve', join(folder, 'plan.dxf'), '--port', '0', '--listen', address, '--settings', settingsFile],
                          { encoding: 'utf8', timeout: 20000 });
    assert.equal(run.status, 2, `--listen ${address}: ${run.stderr}`);
    assert.equal(run.stdout, '', 'no address printed');
  }
});

test('connections and WebSockets past their caps are refused (503), and room comes back when they close', async () => {
  const own = await startServer();
  const open = [];
  const connectIdle = () => new Promise(resolve => {
    const socket = net.connect({ port: own.port, host: '127.0.0.1' });
    let data = '';
    socket.on('data', chunk => { data += chunk; });
    socket.on('connect', () => resolve(socket));
    socket.answer = () => data;
    open.push(socket);
  });
  for (let i = 0; i < 128; i++) await connectIdle();
  const extra = [];
  for (let i = 0; i < 3; i++) extra.push(await connectIdle());
  await new Promise(r => setTimeout(r, 300));
  assert.equal(open.filter(s => s.answer().startsWith('HTTP/1.1 503')).length, 3, 'the connections past 128');
  assert.ok(extra.every(s => s.answer().startsWith('HTTP/1.1 503')), 'the latest ones');
  assert.equal(own.refusals().filter(l => /refused a connection \(503\)/.test(l)).length, 3);
  for (const socket of open) socket.destroy();
  await new Promise(r => setTimeout(r, 300));

  const pages = [];
  for (let i = 0; i < 32; i++) pages.push(await channel(own));
  const before = own.refusals().length;
  const over = await exchange(own.port, request('GET', `${own.base}ws`, { Host: own.host, ...wsHeaders({ Origin: own.origin }) }));
  assert.equal(over.status, 503, 'the 33rd WebSocket');
  assert.match((await refusalLines(own, before + 1)).at(-1) ?? '', /\(503\): too many pages/);
  pages.pop().close();
  await new Promise(r => setTimeout(r, 300));
  const again = await channel(own);
  assert.equal((await again.call({ type: 3 })).type, 10, 'a page again once one left');
  for (const page of [...pages, again]) page.close();
});

// ---- fuzzing -------------------------------------------------------------------------------------------------

// A small seeded generator (mulberry32), so that a failing run can be repeated.
function generator(start) {
  let a = start >>> 0;
  const next = () => {
    a = (a + 0x6d2b79f5) >>> 0;
    let t = a;
    t = Math.imul(t ^ (t >>> 15), t | 1);
    t ^= t + Math.imul(t ^ (t >>> 7), t | 61);
    return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
  };
  const int = (lo, hi) => lo + Math.floor(next() * (hi - lo + 1));
  const pick = list => list[int(0, list.length - 1)];
  const bytes = n => Buffer.from(Array.from({ length: n }, () => int(0, 255)));
  return { next, int, pick, bytes, chance: p => next() < p };
}

async function inBatches(count, parallel, work) {
  let next = 0;
  await Promise.all(Array.from({ length: parallel }, async () => {
    while (next < count) await work(next++);
  }));
}

test(`fuzzing (seed ${seed}): random and mutated HTTP requests, WebSocket frames and web channel messages`, async () => {
  console.log(`# fuzz seed ${seed} (VELA_FUZZ_SEED=${seed} repeats this run)`);
  const r = generator(seed);
  const started = Date.now();
  const verbs = ['GET', 'GET', 'GET', 'POST', 'PUT', 'HEAD', 'DELETE', 'OPTIONS', 'PATCH', 'TRACE', 'CONNECT', 'PRI',
                   'get', 'G\u00c9T', '', 'GET GET', 'X'.repeat(300)];
  const files = ['', 'index.html', 'app.js', 'style.css', 'icon.svg', 'qwebchannel.js', 'drawing.dxf', 'ws', 'nothing',
                 'picture.png?size=64x48', 'picture.svg?size=80x60&handles=all', 'picture.png?size=0x0',
                 'picture.png?size=99999x99999', 'picture.png?window=1,2,nan,inf&size=50x50', 'picture.png?since=-1&size=40x40',
                 'picture.png?handles=%00,ZZ,&size=30x30', 'picture.png?x=1', '../../etc/passwd', '%2e%2e/%2e%2e/',
                 '.%00.', 'index.html%00.js', 'a/b/c/d', '?' + 'q'.repeat(5000)];
  const paths = () => r.pick([
    () => base + r.pick(files), () => base + r.pick(files), () => `/session/${r.bytes(8).toString('hex')}/` + r.pick(files),
    () => '/', () => '*', () => `http://evil.example${base}`, () => '/' + 'p'.repeat(r.int(1, 70000)),
    () => base + r.bytes(r.int(1, 40)).toString('latin1').replace(/[\r\n ]/g, '_')])();
  const versions = ['HTTP/1.1', 'HTTP/1.1', 'HTTP/1.0', 'HTTP/2.0', 'HTTP/0.9', 'HTTP/1.1x', '', 'http/1.1', 'HTTP/1.10000000'];
  const headerLines = () => {
    const lines = [];
    if (r.chance(0.85)) lines.push(`Host: ${r.pick([host, host, `evil.example:${server.port}`, '', host + ' ' + host])}`);
    if (r.chance(0.2)) lines.push(`Host: ${host}`);
    if (r.chance(0.3)) lines.push(`Origin: ${r.pick([origin, 'null', 'https://evil.example', '', origin + '\u0000'])}`);
    if (r.chance(0.2)) lines.push(`Authorization: ${r.pick([`Bearer ${token}`, 'Bearer', 'Bearer  ', `bearer ${token}x`])}`);
    if (r.chance(0.2)) lines.push(`Content-Length: ${r.pick(['0', '5', '-1', '1e3', '18446744073709551616', ' 7', '3, 4', 'x'])}`);
    if (r.chance(0.2)) lines.push(`Transfer-Encoding: ${r.pick(['chunked', 'gzip, chunked', 'identity', 'chunked, chunked', 'x'])}`);
    // A broken handshake that passes the door is the case of its own test above; here it comes without our Origin.
    const ours = lines.some(line => line === `Origin: ${origin}`);
    if (r.chance(0.15)) lines.push('Upgrade: websocket', 'Connection: Upgrade', 'Sec-WebSocket-Version: ' + (ours ? '13' : r.pick(['13', '8', ''])),
                                  'Sec-WebSocket-Key: ' + (ours ? randomBytes(16).toString('base64') : r.pick([randomBytes(16).toString('base64'), '', 'x'])));
    if (r.chance(0.1)) lines.push('Expect: 100-continue');
    for (let i = r.int(0, 4); i > 0; i--)
      lines.push(r.pick([() => `X-${r.int(0, 1e6)}: ${r.bytes(r.int(0, 60)).toString('latin1').replace(/\r|\n/g, '')}`,
                         () => 'no colon here', () => ': empty name', () => ' folded continuation', () => 'A'.repeat(r.int(1, 9000)) + ': 1',
                         () => `Connection: ${r.pick(['close', 'keep-alive', 'Upgrade, close'])}`])());
    return lines;
  };
  const chunkedBody = () => {
    let body = '';
    for (let i = r.int(0, 5); i > 0; i--) {
      const data = r.bytes(r.int(0, 40)).toString('latin1');
      body += r.pick([`${data.length.toString(16)}\r\n${data}\r\n`, `${(data.length + 3).toString(16)}\r\n${data}\r\n`,
                      `zz\r\n${data}\r\n`, `-1\r\n`, `ffffffffffffffff\r\n${data}`, `${data.length.toString(16)};ext=1\r\n${data}\r\n`,
                      `${data.length.toString(16)}\n${data}\n`, '7fffffff\r\n']);
    }
    return body + r.pick(['0\r\n\r\n', '0\r\nTrailer: x\r\n\r\n', '', '0\r\n']);
  };
  const composed = () => {
    const eol = r.chance(0.1) ? '\n' : '\r\n';
    const head = `${r.pick(verbs)} ${paths()} ${r.pick(versions)}`.trimEnd() + eol + headerLines().join(eol) + eol + eol;
    const body = r.pick(['', '', 'x=1', chunkedBody(), r.bytes(r.int(0, 3000)).toString('latin1')]);
    return Buffer.from(head + body, 'latin1');
  };
  const valid = () => request('GET', base + r.pick(files.slice(0, 9)), { Host: host, Origin: r.chance(0.5) ? origin : undefined });
  const mutated = () => {
    let bytes = r.chance(0.5) ? valid() : composed();
    for (let k = r.int(1, 8); k > 0; k--) {
      const at = r.int(0, bytes.length);
      bytes = r.pick([
        () => Buffer.concat([bytes.subarray(0, at), r.bytes(r.int(1, 16)), bytes.subarray(at)]),
        () => Buffer.concat([bytes.subarray(0, at), bytes.subarray(Math.min(bytes.length, at + r.int(1, 20)))]),
        () => Buffer.concat([bytes.subarray(0, at), Buffer.from(r.pick(['\r\n', '\n', '\r', '\0', ':', ' ', '\r\n\r\n'])), bytes.subarray(at)]),
        () => { const copy = Buffer.from(bytes); if (at < copy.length) copy[at] ^= 1 << r.int(0, 7); return copy; },
        () => Buffer.concat([bytes.subarray(0, at), bytes.subarray(Math.max(0, at - 30), at), bytes.subarray(at)])])();
    }
    return bytes;
  };
  const garbage = () => r.bytes(r.int(1, 4096));
  const pipelined = () => Buffer.concat(Array.from({ length: r.int(2, 6) }, () => r.chance(0.7) ? valid() : composed()));

  // Each request is written whole, whole and then half-closed, cut off part way, or in small pieces.
  const outcomes = {};
  const count = key => { outcomes[key] = (outcomes[key] ?? 0) + 1; };
  const httpRequests = 2400;
  await inBatches(httpRequests, 6, async () => {
    const bytes = r.pick([composed, composed, mutated, mutated, garbage, pipelined, valid])();
    const mode = r.pick(['whole', 'whole', 'halfClose', 'cut', 'pieces']);
    const seedOfPieces = r.int(1, 1e9);
    const got = await exchange(server.port, mode === 'whole' || mode === 'halfClose' ? bytes : (socket, done) => {
      if (mode === 'cut') {
        socket.write(bytes.subarray(0, Math.floor(bytes.length / 2)), () => setTimeout(() => socket.destroy(), 5));
        return;
      }
      const p = generator(seedOfPieces);
      let at = 0;
      const more = () => {
        if (done() || socket.destroyed) return;
        if (at >= bytes.length) return socket.end();
        const n = p.int(1, 64);
        socket.write(bytes.subarray(at, at + n), () => setImmediate(more));
        at += n;
      };
      more();
    }, { timeout: mode === 'cut' ? 200 : 700, halfClose: mode === 'halfClose' });
    count(got.status ? `http ${got.status}` : got.closed ? 'closed without an answer' : 'no answer yet (left open)');
  });
  const httpSeconds = (Date.now() - started) / 1000;
  const still = await exchange(server.port, request('GET', `${base}style.css`, { Host: host }));
  assert.equal(still.status, 200, `a normal request after the HTTP fuzzing: ${still.statusLine}; ${server.refusals().at(-1)}`);

  // Frames after a valid handshake, made by hand: opcodes, fragments, masks, lengths and payloads of every kind.
  const frame = ({ fin = true, rsv = 0, opcode, masked = true, payload = Buffer.alloc(0), declared }) => {
    const length = declared ?? payload.length;
    const head = [(fin ? 0x80 : 0) | (rsv << 4) | opcode];
    let extended = Buffer.alloc(0);
    if (length < 126) head.push((masked ? 0x80 : 0) | length);
    else if (length < 65536) { head.push((masked ? 0x80 : 0) | 126); extended = Buffer.alloc(2); extended.writeUInt16BE(length); }
    else { head.push((masked ? 0x80 : 0) | 127); extended = Buffer.alloc(8); extended.writeBigUInt64BE(BigInt(length)); }
    const mask = masked ? r.bytes(4) : Buffer.alloc(0);
    const body = Buffer.from(payload);
    if (masked) for (let i = 0; i < body.length; i++) body[i] ^= mask[i % 4];
    return Buffer.concat([Buffer.from(head), extended, mask, body]);
  };
  const objectNames = ['VelaAssistantAPI', 'VelaAssistantAPI', 'VelaHost', 'Nothing', '', 7, null, ['VelaHost']];
  const randomValue = depth => r.pick([() => r.int(-1e9, 1e9), () => r.next() * 1e300, () => null, () => r.chance(0.5),
    () => r.bytes(r.int(0, 30)).toString('latin1'), () => '{}', () => '{"handles":["DD"]}', () => '{"lispQuery":"(+ 1 2)"}',
    () => JSON.stringify({ lispQuery: r.pick(['(', ')', '(car 1)', '(setq a (list a a))', '(strcat "a" 1)', '(entdel (entlast))']) }),
    () => 'x'.repeat(r.int(0, 100000)),
    () => depth > 3 ? [] : Array.from({ length: r.int(0, 4) }, () => randomValue(depth + 1)),
    () => depth > 3 ? {} : { [r.pick(['a', 'handles', 'lispQuery', 'layers', ''])]: randomValue(depth + 1) }])();
  // Method 24 of the bridge (openUrl) is left out: it starts the system's URL opener on this machine.
  const methodIndex = () => r.pick([r.int(0, 23), r.int(0, 23), r.int(0, 15), 3, -1, 25, 99, 2 ** 31, -(2 ** 31), 1.5, 'EvaluateLisp',
                                    'state', 'deleteLater', '', null]);
  const channelMessage = () => {
    const kind = r.pick(['call', 'call', 'call', 'other', 'broken']);
    if (kind === 'broken')
      return r.pick([() => '{', () => '[]', () => '"text"', () => '1', () => 'null', () => '{"type":6', () => '['.repeat(5000) + ']'.repeat(5000),
                     () => '{"a":'.repeat(3000) + '1' + '}'.repeat(3000), () => r.bytes(r.int(1, 200)).toString('latin1')])();
    const message = kind === 'call'
      ? { type: r.pick([6, 6, 6, '6', 6.5]), id: r.pick([r.int(0, 1e6), -1, 'x', null, 1e300]), object: r.pick(objectNames),
          method: methodIndex(), args: r.pick([[randomValue(0)], [], [randomValue(0), randomValue(0)], 'x', null, [[randomValue(0)]]]) }
      : { type: r.pick([0, 1, 2, 3, 4, 5, 7, 8, 9, 10, 11, -1, 2 ** 40, 'init']), id: r.int(0, 1e6), object: r.pick(objectNames),
          signal: r.pick([0, 1, 5, 6, 99, -1]), property: r.pick([0, 1, -1, 50]), value: randomValue(0), data: randomValue(0) };
    return JSON.stringify(message);
  };
  const randomFrame = () => r.pick([
    () => frame({ opcode: r.pick([3, 4, 5, 6, 7, 11, 12, 13, 14, 15]), payload: r.bytes(r.int(0, 50)) }),
    () => frame({ opcode: 1, rsv: r.int(1, 7), payload: Buffer.from(channelMessage()) }),
    () => frame({ opcode: 1, masked: false, payload: Buffer.from(channelMessage()) }),
    () => frame({ opcode: 1, payload: Buffer.from(channelMessage()) }),
    () => frame({ opcode: 1, payload: Buffer.concat([Buffer.from('{"type":3,"id":"'), Buffer.from([0xc3, 0x28, 0xed, 0xa0, 0x80, 0xff]), Buffer.from('"}')]) }),
    () => frame({ opcode: 2, payload: r.bytes(r.int(0, 300)) }),
    () => frame({ opcode: 1, fin: false, payload: Buffer.from('{"type":') }),
    () => frame({ opcode: 0, payload: Buffer.from('3,"id":1}') }),
    () => frame({ opcode: 0, fin: false, payload: r.bytes(10) }),
    () => Buffer.concat([frame({ opcode: 1, fin: false, payload: Buffer.from('{"type":3,') }),
                         frame({ opcode: 9, payload: Buffer.from('ping') }), frame({ opcode: 0, payload: Buffer.from('"id":5}') })]),
    () => frame({ opcode: 9, payload: r.bytes(r.int(0, 200)) }),
    () => frame({ opcode: 10, payload: r.bytes(r.int(0, 20)) }),
    () => frame({ opcode: 8, payload: r.bytes(r.int(0, 3)) }),
    () => frame({ opcode: 8, fin: false }),
    () => frame({ opcode: 1, declared: r.pick([2 ** 20, 2 ** 26 + 1, 2 ** 40, Number.MAX_SAFE_INTEGER]), payload: r.bytes(r.int(0, 100)) }),
    () => frame({ opcode: 2, declared: 2 ** 53 }),
    () => r.bytes(r.int(1, 100))])();
  const frameOutcomes = {};
  const frameCount = key => { frameOutcomes[key] = (frameOutcomes[key] ?? 0) + 1; };
  // Each round on a server of its own, while every WebSocket keeps a connection counted (the test above); a
  // round must leave its server alive and answering.
  const rounds = 4, perRound = 100, wsConnections = rounds * perRound;
  let framesSent = 0;
  for (let round = 0; round < rounds; round++) {
  const target = await startServer();
  const handshake = () => request('GET', `${target.base}ws`, { Host: target.host, ...wsHeaders({ Origin: target.origin }) });
  await inBatches(perRound, 4, async () => {
    const frames = Array.from({ length: r.int(1, 6) }, randomFrame);
    framesSent += frames.length;
    const ending = r.pick(['close', 'end', 'destroy', 'wait']);
    const got = await exchange(target.port, (socket, done) => {
      socket.write(handshake());
      let sent = false;
      socket.on('data', () => {
        if (sent) return;
        sent = true;
        socket.write(Buffer.concat(frames), () => {
          if (ending === 'close') socket.write(frame({ opcode: 8, payload: Buffer.from([3, 232]) }));
          else if (ending === 'end') socket.end();
          else if (ending === 'destroy') socket.destroy();
        });
      });
    }, { timeout: 400 });
    frameCount(got.status !== 101 ? `handshake ${got.status}` : got.closed ? 'closed by the server or the test' : 'left open');
  });
  const after = await channel(target);
  const answer = await after.call({ type: 6, object: 'VelaAssistantAPI', method: 17, args: [JSON.stringify({ lispQuery: `(+ ${round} 0.5)` })] });
  assert.equal(JSON.parse(answer.data).result, `${round}.5`, `round ${round} of frames`);
  after.close();
  target.child.kill();
  assert.doesNotMatch(target.stderr(), /segmentation|abort|assert|terminate called|double free|corrupt|QFATAL|stack smashing/i);
  }
  const frameSeconds = (Date.now() - started) / 1000 - httpSeconds;

  // Web channel messages from clients that speak WebSocket properly, each ending with a call that must come back.
  const clients = await Promise.all(Array.from({ length: 6 }, () => channel(server)));
  const messages = 2000;
  await inBatches(messages, 6, async i => {
    const client = clients[i % clients.length];
    if (client.socket.readyState === WebSocket.OPEN) client.socket.send(channelMessage());
    if (i % 50 === 0) await new Promise(resolve => setImmediate(resolve));
  });
  let answered = 0;
  for (const [k, client] of clients.entries()) {
    if (client.socket.readyState !== WebSocket.OPEN) continue;
    const answer = await client.call({ type: 6, object: 'VelaAssistantAPI', method: 17, args: [JSON.stringify({ lispQuery: `(* ${k + 2} 1000)` })] });
    assert.equal(JSON.parse(answer.data).result, String((k + 2) * 1000));
    answered++;
    client.close();
  }
  const channelSeconds = (Date.now() - started) / 1000 - httpSeconds - frameSeconds;

  // Still alive: a fresh page loads and a normal call is answered right.
  const page = await exchange(server.port, request('GET', `${base}index.html`, { Host: host }));
  assert.equal(page.status, 200, 'the page after fuzzing');
  const client = await channel(server);
  const init = await client.call({ type: 3 });
  const methods = Object.fromEntries(init.data.VelaAssistantAPI.methods);
  const lisp = await client.call({ type: 6, object: 'VelaAssistantAPI', method: methods.EvaluateLisp,
                                   args: [JSON.stringify({ lispQuery: '(+ 40 2)' })] });
  assert.deepEqual({ result: JSON.parse(lisp.data).result, success: JSON.parse(lisp.data).success }, { result: '42', success: true });
  const layers = await client.call({ type: 6, object: 'VelaAssistantAPI', method: methods.GetCurrentLayersInfo, args: ['{}'] });
  assert.ok(JSON.parse(layers.data).layers.some(layer => layer.name === 'Walls'));
  client.close();
  assert.equal(server.child.exitCode, null, 'the server runs');
  assert.equal(server.child.signalCode, null, 'the server runs');
  assert.doesNotMatch(server.stderr(), /segmentation|abort|assert|terminate called|double free|corrupt|QFATAL|stack smashing/i);

  console.log(`# fuzz: ${httpRequests} HTTP requests in ${httpSeconds.toFixed(1)} s: ` +
              Object.entries(outcomes).sort().map(([k, v]) => `${k}: ${v}`).join(', '));
  console.log(`# fuzz: ${wsConnections} WebSockets, ${framesSent} hand-made frames in ${frameSeconds.toFixed(1)} s: ` +
              Object.entries(frameOutcomes).sort().map(([k, v]) => `${k}: ${v}`).join(', '));
  console.log(`# fuzz: ${messages} web channel messages on ${clients.length} clients in ${channelSeconds.toFixed(1)} s, ` +
              `${answered} of them still answering after`);
});

// The log hides the path segment after /session/ only, so a path carrying the token anywhere else (a client's
// mistake, or the mangled paths of the fuzzing) is logged with it.
test('the token never reaches the log', () => {
  assert.ok(server.refusals().length > 50);
  const leaked = server.stderr().split('\n').filter(line => line.includes(token));
  assert.deepEqual(leaked.map(line => line.replaceAll(token, 'TOKEN')), []);
});
