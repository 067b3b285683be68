// Starting `vela-assist serve` and Debian's Chromium for the page's tests, the security checks and the bench.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtempSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

/// Starts the server on a free port with a settings file of the test's own; resolves with the page address
/// it printed, the child process and what it wrote to standard error so far (an array that keeps growing).
export async function startServer(binary, { args = [], settings = '', env = {} } = {}) {
  const dir = mkdtempSync(join(tmpdir(), 'vela-serve-'));
  const settingsFile = join(dir, 'assistant.ini');
  writeFileSync(settingsFile, settings);
  const child = spawn(binary, ['serve', ...args, '--port', '0', '--settings', settingsFile], {
    stdio: ['ignore', 'pipe', 'pipe'],
    env: { ...process.env, QT_QPA_PLATFORM: 'offscreen', ...env },
  });
  const log = [];
  child.stderr.setEncoding('utf8');
  child.stderr.on('data', (chunk) => log.push(chunk));
  child.stdout.setEncoding('utf8');
  let out = '';
  const address = await new Promise((resolve, reject) => {
    child.stdout.on('data', (chunk) => {
      out += chunk;
      const line = out.split('\n')[0];
      if (out.includes('\n')) resolve(line.trim());
    });
    child.on('exit', (code) => reject(new Error(`the server ended (${code}) before it printed its address:\n${log.join('')}`)));
  });
  const url = new URL(address);
  const base = new URL('.', url).href; // http://127.0.0.1:PORT/session/TOKEN/
  return {
    child, address, base, port: Number(url.port), token: url.pathname.split('/')[2], log, settingsFile, dir,
    async stop() {
      if (child.exitCode !== null) return child.exitCode;
      child.kill('SIGTERM');
      const [code] = await once(child, 'exit');
      return code;
    },
  };
}

/// Debian's Chromium, headless, with nothing that reaches out to the network.
export async function launchChromium() {
  const { chromium } = await import('playwright-core');
  return chromium.launch({
    executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
    headless: true,
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
      '--disable-component-update', '--disable-sync'],
  });
}
