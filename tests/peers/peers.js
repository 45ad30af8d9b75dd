// The official Pusher peers against vantora-devserver: pusher-js (the JavaScript client) subscribes,
// the pusher Node server SDK publishes through the signed trigger API. Neither was written here,
// so they check our reading of the protocol and of the signature.
//
// usage: node peers.js <vantora-devserver> <data folder>
'use strict';

const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

let PusherClient;
let PusherServer;
try {
  PusherClient = require('pusher-js');
  PusherServer = require('pusher');
} catch (error) {
  // setup says so when it cannot reach the npm registry; the rest of the tests still run.
  console.log(`SKIP: the peers are not installed (${error.message}); ./scripts/setup runs npm ci in tests/peers`);
  process.exit(0);
}

const [devserver, dataFolder] = process.argv.slice(2);
const scratch = fs.mkdtempSync(path.join(os.tmpdir(), 'vantora-peers-'));
const app = { appId: '4242', key: 'peerkey0123456789abc', secret: 'peer-secret-7' };

function withDeadline(promise, ms, what) {
  let timer;
  const deadline = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`timed out after ${ms} ms: ${what}`)), ms);
  });
  return Promise.race([promise, deadline]).finally(() => clearTimeout(timer));
}

function startServer(fixedPort = 0) {
  const server = spawn(devserver, ['--port', String(fixedPort), '--data', dataFolder,
    '--db', path.join(scratch, 'peers.sqlite'), '--app-id', app.appId, '--app-key', app.key,
    '--app-secret', app.secret], { stdio: ['ignore', 'pipe', 'inherit'] });
  const port = new Promise((resolve, reject) => {
    let out = '';
    server.stdout.on('data', (chunk) => {
      out += chunk;
      const match = /VANTORA_REALTIME_URL=ws:\/\/127\.0\.0\.1:(\d+)/.exec(out);
      if (match) resolve(Number(match[1]));
    });
    server.on('exit', (code) => reject(new Error(`vantora-devserver exited with ${code}`)));
    server.on('error', reject);
  });
  return { server, port: withDeadline(port, 10000, 'server start') };
}

// Collects the events of one channel as pusher-js hands them to the application.
function subscriber(port) {
  const client = new PusherClient(app.key, {
    cluster: 'mt1', wsHost: '127.0.0.1', wsPort: port, forceTLS: false,
    enabledTransports: ['ws'], enableStats: false,
  });
  const channel = client.subscribe('CH_1001');
  const received = [];
  const waiters = [];
  channel.bind_global((event, data) => {
    if (event.startsWith('pusher:')) return;
    received.push({ event, data });
    for (const waiter of waiters.splice(0)) waiter();
  });
  let subscriptions = 0;
  const subscribed = new Promise((resolve, reject) => {
    channel.bind('pusher:subscription_succeeded', () => {
      subscriptions += 1;
      resolve();
      for (const waiter of waiters.splice(0)) waiter();
    });
    channel.bind('pusher:subscription_error', reject);
  });
  const resubscribed = (count) => withDeadline(new Promise((resolve) => {
    const check = () => { if (subscriptions >= count) resolve(); else waiters.push(check); };
    check();
  }), 15000, `subscription number ${count}`);
  const next = (event) => withDeadline(new Promise((resolve) => {
    const check = () => {
      const found = received.find((r) => r.event === event);
      if (found) resolve(found.data); else waiters.push(check);
    };
    check();
  }), 5000, `event ${event}`);
  return {
    client, received, subscribed: withDeadline(subscribed, 10000, 'subscription'), next, resubscribed,
  };
}

const cases = [];
const test = (name, run) => cases.push({ name, run });

test('a trigger signed by the SDK reaches the subscriber with its data intact', async (ctx) => {
  const payload = {
    smartTV: true, timeToStay: '45', starting_time: 1700000000,
    poll: { id: 'p100', question: 'Café or tea? ✓ "quoted" \\ /', answers: [{ answer: 'Latte' }] },
  };
  const response = await ctx.publisher.trigger('CH_1001', 'injectPoll', payload);
  assert.equal(response.status, 200);
  assert.deepEqual(await ctx.sub.next('injectPoll'), payload);

  const text = 'not JSON: ünïcode ✓';
  await ctx.publisher.trigger(['CH_1001', 'CH_other'], 'plainText', text);
  assert.equal(await ctx.sub.next('plainText'), text);
});

test('a bad signature gets 401 and reaches nobody', async (ctx) => {
  const forger = new PusherServer({ ...app, secret: 'not-the-secret', host: '127.0.0.1',
    port: String(ctx.port), useTLS: false });
  await assert.rejects(forger.trigger('CH_1001', 'forged', { smartTV: true }),
    (error) => error.status === 401);
  const wrongKey = new PusherServer({ ...app, key: 'someone-elses-key', host: '127.0.0.1',
    port: String(ctx.port), useTLS: false });
  await assert.rejects(wrongKey.trigger('CH_1001', 'forged', {}), (error) => error.status === 401);
  // Events arrive in trigger order, so once this one is in, the forged ones never will be.
  await ctx.publisher.trigger('CH_1001', 'marker', { after: 'forged' });
  await ctx.sub.next('marker');
  assert.equal(ctx.sub.received.filter((r) => r.event === 'forged').length, 0);
});

test('socket_id leaves the sender out', async (ctx) => {
  const socketId = ctx.sub.client.connection.socket_id;
  assert.match(socketId, /^\d+\.\d+$/);
  await ctx.publisher.trigger('CH_1001', 'echo', { n: 1 }, { socket_id: socketId });
  await ctx.publisher.trigger('CH_1001', 'marker2', {});
  await ctx.sub.next('marker2');
  assert.equal(ctx.sub.received.filter((r) => r.event === 'echo').length, 0);
});

test('an admin injection reaches pusher-js as the client reads it', async (ctx) => {
  const reply = await fetch(`http://127.0.0.1:${ctx.port}/admin/inject`, {
    method: 'POST',
    body: JSON.stringify({ channel: '1001', kind: 'trivia', id: 't402', timeToStay: 20, starting_time: 5 }),
  });
  assert.equal(reply.status, 200);
  assert.deepEqual(await ctx.sub.next('injectQuiz'), {
    smartTV: true, once_per_user: false, close_post_interaction: true, timeToStay: 20,
    starting_time: 5, id: 't402',
  });
});

test('the console joins its private feed through the auth endpoint; a forged auth is refused', async (ctx) => {
  const options = { cluster: 'mt1', wsHost: '127.0.0.1', wsPort: ctx.port, forceTLS: false,
    enabledTransports: ['ws'], enableStats: false };
  const producer = new PusherClient(app.key, { ...options, channelAuthorization: {
    endpoint: `http://127.0.0.1:${ctx.port}/admin/realtime/auth`, transport: 'ajax' } });
  const intruder = new PusherClient(app.key, { ...options, channelAuthorization: {
    customHandler: (params, done) => done(null, { auth: `${app.key}:${'0'.repeat(64)}` }) } });
  const outcome = (channel) => withDeadline(new Promise((resolve) => {
    channel.bind('pusher:subscription_succeeded', () => resolve('subscribed'));
    channel.bind('pusher:subscription_error', (error) => resolve(error.status));
  }), 5000, `subscription to ${channel.name}`);
  try {
    const feed = producer.subscribe('private-vantora-console');
    assert.equal(await outcome(feed), 'subscribed');
    assert.equal(await outcome(intruder.subscribe('private-vantora-console')), 401);
    // A second viewer tunes in: the feed says how many are on the channel now.
    const audience = [];
    const heard = (count) => withDeadline(new Promise((resolve) => {
      const check = () => (audience.length >= count ? resolve(audience[count - 1]) : setTimeout(check, 10));
      check();
    }), 5000, `audience change ${count}`);
    feed.bind('audience', (data) => audience.push(data));
    const viewer = subscriber(ctx.port);
    await viewer.subscribed;
    assert.deepEqual(await heard(1), { channel: '1001', viewers: 2 });
    viewer.client.disconnect(); // and one leaves
    assert.deepEqual(await heard(2), { channel: '1001', viewers: 1 });
  } finally {
    producer.disconnect();
    intruder.disconnect();
  }
});

test('pusher-js comes back by itself after the server is killed and restarted', async (ctx) => {
  ctx.server.kill('SIGKILL');
  await new Promise((resolve) => ctx.server.once('exit', resolve));
  const restarted = startServer(ctx.port);
  ctx.server = restarted.server;
  assert.equal(await restarted.port, ctx.port);
  await ctx.sub.resubscribed(2);
  await ctx.publisher.trigger('CH_1001', 'afterRestart', { back: true });
  assert.deepEqual(await ctx.sub.next('afterRestart'), { back: true });
});

async function main() {
  const started = startServer();
  const ctx = { server: started.server };
  let failed = 0;
  try {
    const port = await started.port;
    const sub = subscriber(port);
    await sub.subscribed;
    const publisher = new PusherServer({ ...app, host: '127.0.0.1', port: String(port), useTLS: false });
    Object.assign(ctx, { port, sub, publisher });
    for (const { name, run } of cases) {
      try {
        await run(ctx);
        console.log(`ok - ${name}`);
      } catch (error) {
        failed += 1;
        console.log(`not ok - ${name}\n  ${error && error.stack ? error.stack : error}`);
      }
    }
    sub.client.disconnect();
  } catch (error) {
    failed += 1;
    console.log(`not ok - setting up\n  ${error.stack || error}`);
  } finally {
    ctx.server.kill('SIGKILL');
    fs.rmSync(scratch, { recursive: true, force: true });
  }
  console.log(failed ? `${failed} of ${cases.length} failed` : `all ${cases.length} passed`);
  process.exit(failed ? 1 : 0);
}

main();
