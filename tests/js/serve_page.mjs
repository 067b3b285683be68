// The served assistant page in Debian's headless Chromium: it connects through Qt's qwebchannel.js, every slot
// answers as `vela-assist run` answers the same request, the drawing redraws after a change and picks by
// click, the console, layers, changes, LISP and undo work, and the chat runs a model's tool calls (a scripted
// OpenAI-compatible endpoint on loopback). Usage: node serve_page.mjs VELA_ASSIST
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdirSync } from 'node:fs';
import http from 'node:http';
import { dirname, join, resolve } from 'node:path';
import { startServer, launchChromium } from './serve_launch.mjs';

const bin = process.argv[2];
if (!bin) {
  console.error('usage: node serve_page.mjs VELA_ASSIST');
  process.exit(2);
}
// Screenshots go beside the build's other outputs, for people to look at.
const outputDir = resolve(dirname(bin), '../../test-output');
mkdirSync(outputDir, { recursive: true });

let browser;
before(async () => { browser = await launchChromium(); });
after(async () => { await browser?.close(); });

async function openPage(server, viewport = { width: 1400, height: 850 }) {
  const page = await browser.newPage({ viewport });
  const errors = [];
  page.on('pageerror', (e) => errors.push(e.message));
  page.on('console', (m) => { if (m.type() === 'error') errors.push(m.text()); });
  await page.goto(server.address);
  await page.evaluate(() => window.vela.ready);
  await page.waitForFunction(() => window.vela.redraws > 0);
  return { page, errors };
}

// Requests in the order a conversation might make them; each changing one leaves something to report.
const conversation = [
  ['GetCurrentLayersInfo', '{}'],
  ['SelectEntities', JSON.stringify({ entities: [{ className: 'AcDbBlockReference', properties: [{ property: 'Name', operator: '==', value: 'DOOR' }] }] })],
  ['GetHandlesOfSelectedEntities', '{}'],
  ['TransformEntities', JSON.stringify({ transformationMatrices: [[[1, 0, 0, 100], [0, 1, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]]] })],
  ['ModifyEntityProperties', JSON.stringify({ propertyDescriptors: [{ property: 'Color', value: '#FF0000' }] })],
  ['SelectEntityByHandle', JSON.stringify({ handles: ['0xEE', 'zz'] })],
  ['SummarizeEntities', JSON.stringify({ handles: ['EE'] })],
  ['CreateLayers', JSON.stringify({ layers: [{ name: 'Notes', color: '#FF8000' }, { name: 'bad<name' }] })],
  ['ModifyLayers', JSON.stringify({ layers: [{ name: 'Notes', newName: 'Remarks', lineweight: '0.35 mm' }] })],
  ['CreateEntities', JSON.stringify({ entities: [
    { className: 'AcDbLine', start: '0,0', end: '2500,1200', properties: { layer: 'Remarks' } },
    { className: 'AcDbCircle', center: '3000,3000', radius: 400 }] })],
  ['CreateBlocks', JSON.stringify({ blocks: [{ name: 'MARK', entities: [{ className: 'AcDbCircle', center: '0,0', radius: 50 }] }] })],
  ['CreateHatch', JSON.stringify({ entities: [{ pattern: 'ANSI31', scale: 20, needsInternalPoint: false, internalPoints: ['6700,4500'] }] })],
  ['SelectEntities', JSON.stringify({ entities: [{ className: 'All', properties: [{ property: 'Layer', operator: '==', value: 'Remarks' }] }] })],
  ['DeleteEntities', '{}'],
  ['DeleteLayers', JSON.stringify({ layers: ['Remarks', 'Walls'] })],
  ['EvaluateLisp', JSON.stringify({ lispQuery: '(progn (command "_.CIRCLE" "100,100" 30) (sslength (ssget "X" \'((0 . "CIRCLE")))))' })],
  ['EvaluateLisp', JSON.stringify({ lispQuery: '(car' })],
  ['SelectEntities', 'not JSON'],
  ['CreateEntities', '{"entities": 5}'],
  ['HighlightUi', 'LINE'],
  ['ElectricalGoTo', '{}'],
];

// The same conversation through `vela-assist run`, with the changes report asked after every request.
function runAnswers() {
  const lines = [];
  for (const [slot, text] of conversation) {
    lines.push(JSON.stringify({ call: slot, text }));
    lines.push(JSON.stringify({ call: 'GetChangesInfo', text: '{}' }));
  }
  const run = spawnSync(bin, ['run'], { input: lines.join('\n') + '\n', encoding: 'utf8' });
  assert.equal(run.status, 0, run.stderr);
  const out = run.stdout.trimEnd().split('\n');
  assert.equal(out.length, lines.length);
  return conversation.map((_, i) => ({ answer: out[2 * i], changes: out[2 * i + 1] }));
}

const changed = (report) => {
  const s = JSON.parse(report).changes.summary;
  return s.created + s.modified + s.erased > 0;
};

test('every slot answers through the page as vela-assist run answers it, and JxAnswer follows', async () => {
  const expected = runAnswers();
  const server = await startServer(bin);
  const { page, errors } = await openPage(server);
  try {
    for (const [i, [slot, text]] of conversation.entries()) {
      const [answer, jx, before] = await page.evaluate(async ([slot, text]) => {
        const before = window.vela.changeAnswers.length;
        const answer = await window.vela.call(slot, text);
        return [answer, await window.vela.host('lastAnswer'), before];
      }, [slot, text]);
      const want = expected[i];
      assert.equal(String(answer), want.answer, `${slot} ${text}`);
      if (typeof answer === 'string') assert.equal(jx, answer, `JxAnswer after ${slot}`);
      // The page asks for the changes itself after every change: it must see what run's report says.
      await page.evaluate(() => window.vela.idle());
      const seen = await page.evaluate((n) => window.vela.changeAnswers.slice(n), before);
      if (changed(want.changes)) assert.deepEqual(seen.filter(changed), [want.changes], `changes after ${slot}`);
      else assert.equal(seen.filter(changed).length, 0, `no changes after ${slot}`);
    }
    assert.deepEqual(errors, []);
  } finally {
    await page.close();
    await server.stop();
  }
});

test('the page shows the plan, redraws after a change, picks by click, and its panels work', async () => {
  const server = await startServer(bin);
  const { page, errors } = await openPage(server);
  try {
    assert.equal(await page.textContent('#drawing-name'), 'floor_plan.dxf');
    assert.equal(await page.getAttribute('#status', 'data-state'), 'connected');
    await page.screenshot({ path: join(outputDir, 'serve-page.png') });
    const view = page.locator('#view');
    // The plan is on the picture: most of it is white paper, but a good share is drawn.
    const inked = await page.evaluate(() => {
      const img = document.getElementById('picture');
      const c = Object.assign(document.createElement('canvas'), { width: img.width, height: img.height });
      const g = c.getContext('2d');
      g.drawImage(img, 0, 0);
      const d = g.getImageData(0, 0, c.width, c.height).data;
      let n = 0;
      for (let i = 0; i < d.length; i += 4) if (d[i] + d[i + 1] + d[i + 2] < 600) n++;
      return n / (c.width * c.height);
    });
    assert.ok(inked > 0.01 && inked < 0.5, `share of drawn pixels ${inked}`);

    // A change from a slot redraws the picture.
    const before = await view.screenshot();
    const redraws = await page.evaluate(() => window.vela.redraws);
    const created = JSON.parse(await page.evaluate(() => window.vela.call('CreateEntities',
      JSON.stringify({ entities: [{ className: 'AcDbCircle', center: '3000,3000', radius: 700, properties: { color: '#0000FF' } }] }))));
    assert.equal(created.success, true);
    await page.waitForFunction((n) => window.vela.redraws > n, redraws);
    assert.notDeepEqual(await view.screenshot(), before, 'the picture shows the new circle');
    const circle = created.entities[0].handle;

    // A click on the circle's rim picks it; the selection is shown and highlighted.
    const toView = ([x, y]) => page.evaluate(([x, y]) => {
      const [x1, y1, x2, y2] = window.vela.shownWindow();
      const img = document.getElementById('picture');
      return [(x - x1) / (x2 - x1) * img.width, (y2 - y) / (y2 - y1) * img.height];
    }, [x, y]);
    const box = await view.boundingBox();
    const [px, py] = await toView([3700, 3000]);
    const drawn = await page.evaluate(() => window.vela.redraws);
    await page.mouse.click(box.x + px, box.y + py);
    await page.waitForFunction((h) => window.vela.state().selection.includes(h), circle);
    await page.waitForFunction((n) => window.vela.redraws > n, drawn);
    assert.match(await page.textContent('#view-selection'), new RegExp(`\\b${circle}\\b`));
    // A click on empty paper clears it.
    const [ex, ey] = await toView([11500, -1500]);
    await page.mouse.click(box.x + ex, box.y + ey);
    await page.waitForFunction(() => window.vela.state().selection.length === 0);

    // Zooming at the cursor keeps the point under it, and shows a smaller window.
    await page.evaluate(() => window.vela.idle());
    const wide = await page.evaluate(() => window.vela.shownWindow());
    await page.mouse.move(box.x + px, box.y + py);
    await page.mouse.wheel(0, -600);
    await page.waitForFunction((w) => window.vela.shownWindow()[2] - window.vela.shownWindow()[0] < w / 2,
      wide[2] - wide[0]);
    const narrow = await page.evaluate(() => window.vela.shownWindow());
    const [qx, qy] = await toView([3700, 3000]);
    assert.ok(Math.hypot(qx - px, qy - py) < 3, `the point stays under the cursor (${qx},${qy} vs ${px},${py})`);
    await page.click('#extents');
    await page.waitForFunction((w) => window.vela.shownWindow()[2] - window.vela.shownWindow()[0] > w, narrow[2] - narrow[0]);

    // Undo and redo from the page's buttons.
    await page.click('#undo');
    await page.waitForFunction(() => window.vela.state().redoSteps === 1);
    const gone = JSON.parse(await page.evaluate((h) => window.vela.call('SummarizeEntities', JSON.stringify({ handles: [h] })), circle));
    assert.deepEqual(gone.entities, [], 'the circle is undone');
    await page.click('#redo');
    await page.waitForFunction(() => window.vela.state().redoSteps === 0);

    // The console: a form made from the catalogue, the answer shown formatted.
    await page.click('[data-tab="console"]');
    await page.selectOption('#console-slot', 'CreateLayers');
    await page.fill('[data-field="layers"]', '[{"name": "Sketch", "color": "#00FF00"}]');
    assert.deepEqual(JSON.parse(await page.inputValue('#console-request')), { layers: [{ name: 'Sketch', color: '#00FF00' }] });
    await page.click('#console-form button[type="submit"]');
    await page.waitForFunction(() => document.getElementById('console-answer').dataset.raw);
    const raw = await page.getAttribute('#console-answer', 'data-raw');
    assert.equal(JSON.parse(raw).success, true, raw);
    assert.equal(await page.textContent('#console-answer'), JSON.stringify(JSON.parse(raw), null, 2));
    await page.selectOption('#console-slot', 'SelectEntities');
    await page.click('#console-example');
    await page.click('#console-form button[type="submit"]');
    await page.waitForFunction(() => JSON.parse(document.getElementById('console-answer').dataset.raw).entities !== undefined
      || JSON.parse(document.getElementById('console-answer').dataset.raw).handles !== undefined);

    // Layers follow the change; the changes panel reports it.
    await page.click('[data-tab="layers"]');
    await page.waitForSelector('#layers-body tr:has-text("Sketch")');
    await page.click('[data-tab="changes"]');
    await page.waitForSelector('#changes-log .change:has-text("1 created"):has-text("Layer")');

    // LISP at its line.
    await page.click('[data-tab="lisp"]');
    await page.fill('#lisp-input', '(* 6 7)');
    await page.press('#lisp-input', 'Enter');
    await page.waitForSelector('#lisp-log div:text-is("42")');
    await page.fill('#lisp-input', '(car');
    await page.press('#lisp-input', 'Enter');
    await page.waitForSelector('#lisp-log .err');

    // Without a model the chat says how to name one, and where.
    await page.click('[data-tab="chat"]');
    assert.match(await page.textContent('#chat-log .msg.info'), new RegExp(`\\[chat\\][\\s\\S]*url=`));
    assert.ok((await page.textContent('#chat-log .msg.info')).includes(server.settingsFile));
    await page.screenshot({ path: join(outputDir, 'serve-page-panels.png') });
    assert.deepEqual(errors, []);
  } finally {
    await page.close();
    await server.stop();
  }
});

// An OpenAI-compatible endpoint that plays a script: each request gets the next answer.
async function scriptedModel(answers) {
  const requests = [];
  const server = http.createServer((req, res) => {
    let body = '';
    req.on('data', (c) => { body += c; });
    req.on('end', () => {
      requests.push({ url: req.url, headers: req.headers, body: JSON.parse(body) });
      const next = answers.shift();
      res.writeHead(next.status || 200, { 'Content-Type': 'application/json' });
      res.end(JSON.stringify(next.body));
    });
  });
  await new Promise((r) => server.listen(0, '127.0.0.1', r));
  return { server, requests, url: `http://127.0.0.1:${server.address().port}/v1` };
}

const toolCall = (id, name, args) => ({ id, type: 'function', function: { name, arguments: JSON.stringify(args) } });

test('the chat offers the commands as tools, runs the calls through the bridge and shows what they did', async () => {
  const model = await scriptedModel([
    { body: { choices: [{ message: { role: 'assistant', content: 'I will draw it.', tool_calls: [
      toolCall('c1', 'CreateEntities', { entities: [{ className: 'AcDbCircle', center: '6000,2000', radius: 500 }] }),
      toolCall('c2', 'NoSuchTool', {}),
      { id: 'c3', type: 'function', function: { name: 'SummarizeEntities', arguments: '{not json' } }] } }] } },
    { body: { choices: [{ message: { role: 'assistant', content: 'Done: one circle by the bathroom door.' } }] } },
    { status: 500, body: { error: { message: 'the model is tired' } } },
  ]);
  const server = await startServer(bin, {
    settings: `[chat]\nurl=${model.url}\nmodel=scripted-model\nkey=sk-secret-key-123\n` });
  const { page, errors } = await openPage(server);
  try {
    const state = await page.evaluate(() => window.vela.host('state'));
    assert.deepEqual(state.chat, { configured: true, model: 'scripted-model', busy: false });
    assert.ok(!JSON.stringify(state).includes('sk-secret'), 'the key never reaches the page');

    const redraws = await page.evaluate(() => window.vela.redraws);
    await page.fill('#chat-input', 'Draw a circle in the bedroom');
    await page.press('#chat-input', 'Enter');
    await page.waitForSelector('.msg.assistant:text-is("Done: one circle by the bathroom door.")');
    await page.waitForFunction((n) => window.vela.redraws > n, redraws);

    // What the endpoint was sent: the model, the key, the commands as tools, and then the tools' answers.
    assert.equal(model.requests.length, 2);
    const [first, second] = model.requests;
    assert.equal(first.url, '/v1/chat/completions');
    assert.equal(first.headers.authorization, 'Bearer sk-secret-key-123');
    assert.equal(first.body.model, 'scripted-model');
    const tools = new Map(first.body.tools.map((t) => [t.function.name, t.function]));
    for (const name of ['SelectEntities', 'CreateEntities', 'CreateHatch', 'EvaluateLisp', 'Undo', 'RenderDrawing'])
      assert.ok(tools.has(name), name);
    for (const name of ['OpenDrawing', 'SaveDrawing', 'NewDrawing']) assert.ok(!tools.has(name), name);
    assert.equal(tools.get('CreateEntities').parameters.type, 'object');
    assert.deepEqual(first.body.messages.at(-1), { role: 'user', content: 'Draw a circle in the bedroom' });
    const replies = second.body.messages.filter((m) => m.role === 'tool');
    assert.deepEqual(replies.map((m) => m.tool_call_id), ['c1', 'c2', 'c3']);
    const created = JSON.parse(replies[0].content);
    assert.equal(created.success, true);
    assert.match(replies[1].content, /no tool named 'NoSuchTool'/);
    assert.match(replies[2].content, /one JSON object/);
    assert.equal(second.body.messages.find((m) => m.tool_calls)?.tool_calls.length, 3);

    // The page shows each call with its answer, a picture of what the circle call did, and the drawing has it.
    const handle = created.entities[0].handle;
    assert.equal(await page.locator('.msg.tool').count(), 3);
    assert.match(await page.textContent('.msg.tool[data-tool="CreateEntities"] pre.result'), new RegExp(handle));
    await page.waitForFunction(() => {
      const img = document.querySelector('.msg.tool[data-tool="CreateEntities"] img');
      return img && img.complete && img.naturalWidth === 480;
    });
    assert.equal(await page.locator('.msg.tool.failed').count(), 2);
    const summary = JSON.parse(await page.evaluate((h) => window.vela.call('SummarizeEntities', JSON.stringify({ handles: [h] })), handle));
    assert.equal(summary.success, true);
    await page.screenshot({ path: join(outputDir, 'serve-chat.png') });

    // The endpoint's failure is told in the chat; the page goes on.
    await page.fill('#chat-input', 'And another');
    await page.press('#chat-input', 'Enter');
    await page.waitForSelector('.msg.error:has-text("the model is tired")');
    assert.equal(await page.textContent('#chat-send'), 'Send');
    await page.click('#chat-new');
    assert.equal(await page.locator('#chat-log .msg').count(), 0);
    assert.deepEqual(errors, []);
  } finally {
    await page.close();
    await server.stop();
    model.server.close();
  }
});
