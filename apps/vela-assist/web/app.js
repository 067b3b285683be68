// The assistant page: the drawing, a console of the assistant's commands, layers, changes, LISP, undo and a
// chat, all through the web channel of the server that served it. Docked in a desktop host's palette, the
// channel is the web view's own and the host's window shows the drawing, so the page leaves that out.
'use strict';

(() => {
  const $ = (id) => document.getElementById(id);
  const el = (tag, props = {}, ...children) => {
    const e = Object.assign(document.createElement(tag), props);
    for (const c of children) if (c != null) e.append(c);
    return e;
  };
  // The page address's own query tells who the client is; a '+' there is a plus (Qt does not encode it).
  const query = new Map(location.search.slice(1).split('&').filter(Boolean).map((item) => {
    const at = item.indexOf('=');
    const key = at < 0 ? item : item.slice(0, at);
    return [decodeURIComponent(key), at < 0 ? '' : decodeURIComponent(item.slice(at + 1))];
  }));
  const dark = query.get('theme') === 'dark';
  const docked = !!(window.qt && window.qt.webChannelTransport);
  if (docked) document.documentElement.classList.add('docked');
  document.documentElement.dataset.theme = dark ? 'dark' : 'light';
  document.documentElement.lang = query.get('language') || 'en';
  if (query.get('application')) {
    $('product').textContent = query.get('application');
    document.title = query.get('application');
  }

  let api = null;   // the assistant's bridge
  let host = null;  // the page's host: state, catalogue, picking, undo, chat
  let state = null;
  let readyResolve;
  let pending = 0; // calls on their way
  const call = (object, method, ...args) => new Promise((resolve) => {
    ++pending;
    object[method](...args, (answer) => { --pending; resolve(answer); });
  });

  // For automation and tests: the same calls the page makes.
  window.vela = {
    ready: new Promise((resolve) => { readyResolve = resolve; }),
    call: (slot, text) => call(api, slot, text),
    host: (method, ...args) => call(host, method, ...args),
    state: () => state,
    redraws: 0,
    shownWindow: () => shown && shown.slice(),
    changeAnswers: [], // every GetChangesInfo answer the page had, as text
    // Resolves once the page has had no call on its way for a while.
    idle: async (quiet = 80) => {
      for (let still = 0; still < quiet; still += 10) {
        await new Promise((r) => setTimeout(r, 10));
        if (pending > 0) still = -10;
      }
    },
  };

  function setStatus(kind, text) {
    const s = $('status');
    s.dataset.state = kind;
    s.textContent = text;
  }

  // ---- connection --------------------------------------------------------------------------------------
  function connected(channel) {
    api = channel.objects.VelaAssistantAPI;
    host = channel.objects.VelaHost;
    host.drawingChanged.connect(drawingChanged);
    host.chatEvent.connect(chatEvent);
    start().catch((e) => setStatus('closed', 'error: ' + e.message));
  }

  function connect() {
    if (docked) return new QWebChannel(window.qt.webChannelTransport, connected);
    const url = new URL('ws', location.href);
    url.protocol = 'ws:';
    url.search = '';
    const socket = new WebSocket(url);
    socket.addEventListener('close', () => {
      setStatus('closed', 'disconnected');
      $('drawing-name').textContent = 'The server has stopped; start vela-assist serve and open its new address.';
      for (const b of document.querySelectorAll('button')) b.disabled = true;
    });
    socket.addEventListener('open', () => {
      new QWebChannel(socket, connected);
    });
  }

  async function start() {
    setStatus('connected', 'connected');
    applyState(await call(host, 'state'));
    if (state.chat.help) chatEvent({ kind: 'info', text: state.chat.help });
    buildConsole(await call(host, 'commands'));
    showExtents();
    await Promise.all([refreshLayers(), refreshChanges()]);
    readyResolve();
  }

  function applyState(s) {
    state = s;
    $('drawing-name').textContent = s.drawing == null ? 'no drawing open' : s.drawing;
    $('undo').disabled = !(s.undoSteps > 0);
    $('redo').disabled = !(s.redoSteps > 0);
    const selection = s.selection || [];
    $('view-selection').textContent = selection.length
      ? `Selected (${selection.length}): ${selection.slice(0, 12).join(', ')}${selection.length > 12 ? ', …' : ''}`
      : '';
    $('chat-model').textContent = s.chat.configured ? `model: ${s.chat.model}` : 'no model configured';
  }

  function drawingChanged(s) {
    const before = state;
    applyState(s);
    redraw();
    refreshLayers();
    // Only edits leave changes to report; a new selection does not.
    if (!before || before.undoSteps !== s.undoSteps || before.redoSteps !== s.redoSteps || s.undoSteps === 0)
      refreshChanges();
  }

  // ---- the drawing -------------------------------------------------------------------------------------
  const view = $('view');
  const picture = $('picture');
  let want = null;   // the window asked for, drawing units [x1, y1, x2, y2]
  let shown = null;  // the window the current picture shows
  let size = [1, 1]; // the current picture's pixels
  // Image pixels to view pixels while the user pans and zooms, until the next picture arrives.
  let t = { s: 1, x: 0, y: 0 };
  let requested = null; // the transform in force when the coming picture was asked for
  let sequence = 0;

  function applyTransform() {
    picture.style.transform = `translate(${t.x}px, ${t.y}px) scale(${t.s})`;
  }

  function toDrawing(vx, vy) {
    const ix = (vx - t.x) / t.s, iy = (vy - t.y) / t.s;
    return [shown[0] + (ix / size[0]) * (shown[2] - shown[0]), shown[3] - (iy / size[1]) * (shown[3] - shown[1])];
  }

  function visibleWindow() {
    const a = toDrawing(0, view.clientHeight), b = toDrawing(view.clientWidth, 0);
    return [a[0], a[1], b[0], b[1]];
  }

  function showExtents() {
    const e = state && state.extents;
    if (!e) {
      want = [0, 0, 1000, 1000];
    } else {
      const mx = Math.max((e[2] - e[0]) * 0.03, 1e-6), my = Math.max((e[3] - e[1]) * 0.03, 1e-6);
      want = [e[0] - mx, e[1] - my, e[2] + mx, e[3] + my];
    }
    redraw();
  }

  async function redraw() {
    const w = Math.max(1, view.clientWidth), h = Math.max(1, view.clientHeight);
    if (docked || !want) return;
    const mine = ++sequence;
    requested = { ...t };
    const q = new URLSearchParams({ size: `${w}x${h}`, window: want.map((v) => +v.toPrecision(15)).join(',') });
    if (dark) q.set('dark', '1');
    let response;
    try {
      response = await fetch('picture.png?' + q);
    } catch (e) {
      return;
    }
    if (mine !== sequence) return;
    if (!response.ok) {
      $('view-info').textContent = 'The picture could not be drawn: ' + ((await response.json()).error || response.status);
      return;
    }
    const blob = await response.blob();
    if (mine !== sequence) return;
    const url = URL.createObjectURL(blob);
    await new Promise((resolve) => {
      picture.onload = resolve;
      picture.onerror = resolve;
      picture.src = url;
    });
    if (picture.dataset.url) URL.revokeObjectURL(picture.dataset.url);
    picture.dataset.url = url;
    shown = response.headers.get('X-Vela-Window').split(',').map(Number);
    size = [w, h];
    picture.width = w;
    picture.height = h;
    // The new picture is what the view showed when it was asked for; what the user did since stays.
    t = { s: t.s / requested.s, x: t.x - (t.s / requested.s) * requested.x, y: t.y - (t.s / requested.s) * requested.y };
    applyTransform();
    window.vela.redraws++;
    view.dispatchEvent(new CustomEvent('redrawn'));
  }

  let redrawTimer = 0;
  function redrawSoon() {
    want = visibleWindow();
    clearTimeout(redrawTimer);
    redrawTimer = setTimeout(redraw, 120);
  }

  view.addEventListener('wheel', (e) => {
    e.preventDefault();
    if (!shown) return;
    const r = view.getBoundingClientRect();
    const cx = e.clientX - r.left, cy = e.clientY - r.top;
    const f = Math.exp(-e.deltaY * 0.0015);
    t = { s: t.s * f, x: cx - (cx - t.x) * f, y: cy - (cy - t.y) * f };
    applyTransform();
    redrawSoon();
  }, { passive: false });

  let press = null;
  view.addEventListener('pointerdown', (e) => {
    if (!shown) return;
    view.setPointerCapture(e.pointerId);
    press = { x: e.clientX, y: e.clientY, tx: t.x, ty: t.y, moved: false, button: e.button };
  });
  view.addEventListener('pointermove', (e) => {
    if (!press) {
      if (shown) {
        const r = view.getBoundingClientRect();
        const [x, y] = toDrawing(e.clientX - r.left, e.clientY - r.top);
        $('view-info').textContent = `${x.toFixed(2)}, ${y.toFixed(2)}`;
      }
      return;
    }
    const dx = e.clientX - press.x, dy = e.clientY - press.y;
    if (!press.moved && Math.hypot(dx, dy) < 4) return;
    press.moved = true;
    view.classList.add('panning');
    t = { ...t, x: press.tx + dx, y: press.ty + dy };
    applyTransform();
  });
  view.addEventListener('pointerup', async (e) => {
    const p = press;
    press = null;
    view.classList.remove('panning');
    if (!p) return;
    if (p.moved) return redrawSoon();
    if (p.button !== 0) return;
    const r = view.getBoundingClientRect();
    await pickAt(e.clientX - r.left, e.clientY - r.top, e.shiftKey);
  });

  async function pickAt(vx, vy, adding) {
    const [x, y] = toDrawing(vx, vy);
    const unitsPerPixel = (shown[2] - shown[0]) / size[0] / t.s;
    const handle = await call(host, 'pick', x, y, 5 * unitsPerPixel);
    if (!handle && adding) return;
    const request = { handles: handle ? [handle] : [], clearSelection: !adding };
    const answer = await call(api, 'SelectEntityByHandle', JSON.stringify(request));
    view.dispatchEvent(new CustomEvent('picked', { detail: { handle, answer } }));
  }
  window.vela.pickAt = pickAt;

  new ResizeObserver(() => { if (shown) { want = visibleWindow(); redraw(); } }).observe(view);

  $('extents').addEventListener('click', showExtents);
  async function undoRedo(which) {
    const answer = await call(host, which);
    if (!answer.success) $('view-info').textContent = answer.error || `nothing to ${which}`;
  }
  $('undo').addEventListener('click', () => undoRedo('undo'));
  $('redo').addEventListener('click', () => undoRedo('redo'));
  document.addEventListener('keydown', (e) => {
    if (e.target.closest('input, textarea, select') || !(e.ctrlKey || e.metaKey)) return;
    if (e.key === 'z' && !e.shiftKey) { e.preventDefault(); undoRedo('undo'); }
    if (e.key === 'y' || (e.key === 'Z' && e.shiftKey)) { e.preventDefault(); undoRedo('redo'); }
  });

  // ---- tabs --------------------------------------------------------------------------------------------
  for (const tab of document.querySelectorAll('[role="tab"]')) {
    tab.addEventListener('click', () => {
      for (const other of document.querySelectorAll('[role="tab"]')) {
        other.setAttribute('aria-selected', String(other === tab));
        $('tab-' + other.dataset.tab).hidden = other !== tab;
      }
    });
  }

  // ---- the console: one form per slot, made from the command catalogue ----------------------------------
  let commands = [];
  const extraSlots = [
    { slot: 'HighlightUi', parameter: 'sCommandName', description: 'Where the control that starts a command lives: its workspace.', raw: true },
    { slot: 'ElectricalGoTo', parameter: 'query', description: 'Hands a query to the electrical add-on; answers true or false.', raw: true },
  ];

  function typesOf(schema) {
    const t = schema.type;
    return Array.isArray(t) ? t : t ? [t] : [];
  }

  function fieldFor(name, schema) {
    const types = typesOf(schema);
    let input;
    let read;
    if (schema.enum) {
      input = el('select', {}, el('option', { value: '', textContent: '—' }),
        ...schema.enum.map((v) => el('option', { value: JSON.stringify(v), textContent: String(v) })));
      read = () => (input.value === '' ? undefined : JSON.parse(input.value));
    } else if (types.length === 1 && types[0] === 'boolean') {
      input = el('select', {}, ...['', 'true', 'false'].map((v) => el('option', { value: v, textContent: v || '—' })));
      read = () => (input.value === '' ? undefined : input.value === 'true');
    } else if (types.length === 1 && (types[0] === 'number' || types[0] === 'integer')) {
      input = el('input', { type: 'number', step: 'any' });
      read = () => (input.value === '' ? undefined : Number(input.value));
    } else if (types.length === 1 && types[0] === 'string') {
      input = el('input', { type: 'text' });
      read = () => (input.value === '' ? undefined : input.value);
    } else {
      // Arrays, objects and values of several kinds are written as JSON.
      input = el('textarea', { rows: 3, spellcheck: false, placeholder: 'JSON' });
      read = () => {
        if (input.value.trim() === '') return undefined;
        try { return JSON.parse(input.value); } catch { return input.value; }
      };
    }
    const label = el('label', { title: schema.description || '' }, `${name}${schema.description ? ' ⓘ' : ''}`, input);
    if (input.tagName === 'TEXTAREA') label.classList.add('wide');
    input.dataset.field = name;
    const write = (v) => {
      if (v === undefined) input.value = '';
      else if (input.tagName === 'TEXTAREA') input.value = JSON.stringify(v);
      else if (schema.enum) input.value = JSON.stringify(v);
      else input.value = String(v);
    };
    return { name, label, input, read, write };
  }

  let fields = [];
  function buildConsole(list) {
    commands = list.concat(extraSlots);
    const select = $('console-slot');
    select.replaceChildren(...commands.map((c) => el('option', { value: c.slot, textContent: c.slot })));
    select.addEventListener('change', () => showCommand(select.value));
    showCommand(commands[0].slot);
  }

  function currentCommand() {
    return commands.find((c) => c.slot === $('console-slot').value);
  }

  function showCommand(slot) {
    $('console-slot').value = slot;
    const c = currentCommand();
    $('console-description').textContent = c.description || '';
    const effects = { reads: 'reads the drawing', changes: 'changes the drawing (one undo step)', deletes: 'deletes from the drawing (one undo step)' };
    $('console-effect').textContent = (c.effect && effects[c.effect]) || '';
    const properties = (c.requestSchema && c.requestSchema.properties) || {};
    fields = Object.entries(properties).map(([name, schema]) => fieldFor(name, schema));
    $('console-fields').replaceChildren(...fields.map((f) => f.label));
    for (const f of fields) f.input.addEventListener('input', fieldsToRequest);
    $('console-example').disabled = !c.exampleRequest;
    $('console-request').value = c.raw ? '' : '{}';
    $('console-request').placeholder = c.raw ? `${c.parameter}: the text to send` : '';
    $('console-answer').textContent = '';
  }

  function fieldsToRequest() {
    const request = {};
    for (const f of fields) {
      const v = f.read();
      if (v !== undefined) request[f.name] = v;
    }
    $('console-request').value = JSON.stringify(request, null, 2);
  }

  $('console-example').addEventListener('click', () => {
    const example = currentCommand().exampleRequest;
    for (const f of fields) f.write(example[f.name]);
    $('console-request').value = JSON.stringify(example, null, 2);
  });

  $('console-form').addEventListener('submit', async (e) => {
    e.preventDefault();
    const c = currentCommand();
    const text = $('console-request').value.trim() || (c.raw ? '' : '{}');
    const answer = await call(api, c.slot, text);
    const out = $('console-answer');
    const raw = typeof answer === 'string' ? answer : JSON.stringify(answer);
    out.dataset.raw = raw;
    let failed = answer === false;
    try {
      const parsed = JSON.parse(raw);
      failed = failed || parsed.success === false;
      out.textContent = JSON.stringify(parsed, null, 2);
    } catch {
      out.textContent = raw;
    }
    out.classList.toggle('failed', failed);
  });

  // ---- layers and changes ------------------------------------------------------------------------------
  async function refreshLayers() {
    const answer = JSON.parse(await call(api, 'GetCurrentLayersInfo', '{}'));
    const rows = (answer.layers || []).map((l) => {
      const [r, g, b] = l.color || [0, 0, 0];
      const mark = (on) => (on ? '✓' : '');
      return el('tr', {},
        el('td', { textContent: l.name }), el('td', { textContent: mark(l.on) }), el('td', { textContent: mark(l.frozen) }),
        el('td', { textContent: mark(l.locked) }),
        el('td', {}, el('span', { className: 'swatch', style: `background: rgb(${r}, ${g}, ${b})` }), `${r},${g},${b}`),
        el('td', { textContent: l.linetype }), el('td', { textContent: l.lineweight }));
    });
    $('layers-body').replaceChildren(...rows);
  }

  function changeLines(report) {
    const lines = [];
    for (const kind of ['created', 'erased']) {
      for (const [category, classes] of Object.entries(report[kind] || {}))
        for (const [className, handles] of Object.entries(classes))
          lines.push(`${kind} ${category} ${className}: ${handles.join(', ')}`);
    }
    for (const m of report.modified || []) lines.push(`modified ${JSON.stringify(m)}`);
    return lines;
  }

  async function refreshChanges() {
    const text = await call(api, 'GetChangesInfo', '{}');
    window.vela.changeAnswers.push(text);
    const report = JSON.parse(text).changes;
    if (!report || !report.summary) return;
    const { created, modified, erased } = report.summary;
    if (!created && !modified && !erased) return;
    const entry = el('div', { className: 'change' },
      el('time', { textContent: new Date().toLocaleTimeString() }),
      ` — ${created} created, ${modified} modified, ${erased} erased`,
      el('pre', { textContent: changeLines(report).join('\n') }));
    $('changes-log').prepend(entry);
  }

  // ---- LISP --------------------------------------------------------------------------------------------
  const lispHistory = [];
  let lispAt = 0;
  $('lisp-form').addEventListener('submit', async (e) => {
    e.preventDefault();
    const expression = $('lisp-input').value.trim();
    if (!expression) return;
    lispHistory.push(expression);
    lispAt = lispHistory.length;
    $('lisp-input').value = '';
    const answer = JSON.parse(await call(api, 'EvaluateLisp', JSON.stringify({ lispQuery: expression })));
    const log = $('lisp-log');
    // An error of the program comes back as its result, as a CAD command line prints it.
    const failed = !answer.success || String(answer.result).startsWith('; error:');
    log.append(el('div', { className: 'in', textContent: '> ' + expression }),
      el('div', { className: failed ? 'err' : '', textContent: answer.success ? answer.result : answer.error }));
    log.scrollTop = log.scrollHeight;
  });
  $('lisp-input').addEventListener('keydown', (e) => {
    if (e.key !== 'ArrowUp' && e.key !== 'ArrowDown') return;
    lispAt = Math.max(0, Math.min(lispHistory.length, lispAt + (e.key === 'ArrowUp' ? -1 : 1)));
    $('lisp-input').value = lispHistory[lispAt] || '';
    e.preventDefault();
  });

  // ---- chat --------------------------------------------------------------------------------------------
  const toolCalls = new Map();
  function chatEvent(ev) {
    const log = $('chat-log');
    const add = (node) => { log.append(node); log.scrollTop = log.scrollHeight; };
    switch (ev.kind) {
      case 'user': case 'assistant': case 'info': case 'error':
        add(el('div', { className: 'msg ' + ev.kind, textContent: ev.text }));
        break;
      case 'busy':
        $('chat-send').disabled = ev.busy;
        $('chat-send').textContent = ev.busy ? 'Answering…' : 'Send';
        break;
      case 'call': {
        let args = ev.arguments;
        try { args = JSON.stringify(JSON.parse(ev.arguments), null, 2); } catch { /* shown as it came */ }
        const details = el('details', { className: 'msg tool' }, el('summary', { textContent: `⚙ ${ev.name}` }),
          el('pre', { className: 'arguments', textContent: args }));
        details.dataset.tool = ev.name;
        toolCalls.set(ev.id, details);
        add(details);
        break;
      }
      case 'result': {
        const details = toolCalls.get(ev.id) || el('details', { className: 'msg tool' }, el('summary', { textContent: `⚙ ${ev.name}` }));
        let text = ev.text;
        try { text = JSON.stringify(JSON.parse(ev.text), null, 2); } catch { /* not JSON */ }
        details.append(el('pre', { className: 'result', textContent: text }));
        details.classList.toggle('failed', ev.isError);
        details.querySelector('summary').textContent = `${ev.isError ? '✗' : '✓'} ${ev.name}`;
        if (ev.since !== undefined && !docked) {
          const q = new URLSearchParams({ since: ev.since, size: '480x360' });
          if (dark) q.set('dark', '1');
          details.append(el('img', { src: 'picture.png?' + q, alt: `What ${ev.name} changed` }));
          details.open = true;
        }
        if (!details.isConnected) add(details);
        break;
      }
    }
  }

  $('chat-form').addEventListener('submit', (e) => {
    e.preventDefault();
    const text = $('chat-input').value.trim();
    if (!text) return;
    $('chat-input').value = '';
    host.chat(text);
  });
  $('chat-input').addEventListener('keydown', (e) => {
    if (e.key === 'Enter' && !e.shiftKey) { e.preventDefault(); $('chat-form').requestSubmit(); }
  });
  $('chat-new').addEventListener('click', () => {
    host.newChat();
    api.newThreadStarted();
    toolCalls.clear();
    $('chat-log').replaceChildren();
  });

  connect();
})();
