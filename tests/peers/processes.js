// What the Node tests share: waits that always end, and programs (vantora-devserver, the sample
// app) in processes of their own whose output the test reads.
'use strict';

const { spawn } = require('node:child_process');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');

const children = [];

// A package from tests/peers/node_modules, which ./scripts/setup installs when it can reach the npm
// registry; without it the test says SKIP and ends, and the other tests still run.
function requireOrSkip(name) {
  try {
    return require(name);
  } catch (error) {
    console.log(`SKIP: ${name} is not installed (${error.message}); ./scripts/setup installs it`);
    return process.exit(0);
  }
}

// Resolves with the first truthy value of `check`, polled every 10 ms; fails with the first Error
// it returns, or after `ms`.
async function until(check, ms, what) {
  for (const started = Date.now(); Date.now() - started <= ms; await sleep(10)) {
    const value = check();
    if (value instanceof Error) throw value;
    if (value) return value;
  }
  throw new Error(`timed out after ${ms} ms: ${what}`);
}

// Starts a program; child.output is what it printed so far, and child.waitFor(pattern, ms)
// resolves with the first match, failing once the program has ended without one.
function start(program, args, env = {}) {
  const child = spawn(program, args, { env: { ...process.env, ...env }, stdio: ['ignore', 'pipe', 'pipe'] });
  children.push(child);
  child.output = '';
  for (const stream of [child.stdout, child.stderr]) stream.on('data', (chunk) => { child.output += chunk; });
  const name = path.basename(program);
  const ended = () => (child.exitCode ?? child.signalCode) !== null && new Error(`${name} exited with ${child.exitCode}`);
  child.waitFor = (pattern, ms) => until(() => pattern.exec(child.output) || ended(), ms, `${pattern} from ${name}`);
  return child;
}

// vantora-devserver on a free port of 127.0.0.1: its port, the variables its export lines set
// (pointing at 127.0.0.1 when it listens on every address) and its admin token, if it printed one.
async function startServer(devserver, args) {
  const child = start(devserver, ['--port', '0', ...args]);
  const port = Number((await child.waitFor(/VANTORA_REALTIME_URL=ws:\/\/[^:]+:(\d+)/, 10000))[1]);
  const env = {};
  for (const [, name, value] of child.output.matchAll(/^export (VANTORA_\w+)=(.*)$/gm)) {
    env[name] = value.replace('0.0.0.0', '127.0.0.1');
  }
  return { child, port, env, token: /Bearer ([0-9a-f]+)/.exec(child.output)?.[1] };
}

// Kills every program started; after a failure, shows the end of what each printed.
const stopAll = (failed) => children.forEach((child) => {
  if (failed) console.log(`--- ${child.spawnargs[0]}\n${child.output.slice(-3000)}`);
  child.kill('SIGKILL');
});

module.exports = { requireOrSkip, until, start, startServer, stopAll };
