// The official Pusher peers against vantora-devserver: pusher-js (the JavaScript client) subscribes,
// the pusher Node server SDK publishes through the signed trigger API. Neither was written here,
// so they check our reading of the protocol and of the signature.
//
// usage: node peers.js <vantora-devserver> <data folder>
'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { requireOrSkip, until, startServer, stopAll } = require('./processes');

const PusherClient = requireOrSkip('pusher-js');
const PusherServer = requireOrSkip('pusher');

const [devserver, dataFolder] = process.argv.slice(2);
const scratch = fs.mkdtempSync(path.join(os.tmpdir(), 'vantora-peers-'));
const app = { appId: '4242', key: 'peerkey0123456789abc', secret: 'peer-secret-7' };
const clientOptions = (port) => ({ cluster: 'mt1', wsHost: '127.0.0.1', wsPort: port, forceTLS: false,
  enabledTransports: ['ws'], enableStats: false });

// Collects the events of one channel as pusher-js hands them to the application.
function subscriber(port) {
  const client = new PusherClient(app.key, clientOptions(port));
  const received = [];
  let subscribed = false;
  client.subscribe('CH_1001').bind_global((event, data) => {
    if (event === 'pusher:subscription_succeeded') subscribed = true;
    else if (!event.startsWith('pusher:')) received.push({ event, data });
  });
  const next = (event) => until(() => received.find((r) => r.event === event), 5000, `event ${event}`)
    .then((found) => found.data);
  return { client, received, subscribed: until(() => subscribed, 10000, 'subscription'), next };
}

const cases = [];
const test = (name, run) => cases.push({ name, run });

// The SDK signs the body whole, so a fault in the string to sign made the same way on both sides
// shows here; it also refuses a socket_id not shaped like Pusher's.
test('a trigger signed by the SDK reaches the subscriber intact, except the socket it leaves out', async (ctx) => {
  const payload = { smartTV: true, timeToStay: '45',
    poll: { question: 'Café or tea? ✓ "quoted" \\ /', answers: [{ answer: 'Latte' }] } };
  assert.equal((await ctx.publisher.trigger('CH_1001', 'injectPoll', payload)).status, 200);
  assert.deepEqual(await ctx.sub.next('injectPoll'), payload);
  await ctx.publisher.trigger('CH_1001', 'echo', { n: 1 }, { socket_id: ctx.sub.client.connection.socket_id });
  // Events arrive in trigger order, so once this one is in, the echo never will be.
  await ctx.publisher.trigger('CH_1001', 'marker', {});
  await ctx.sub.next('marker');
  assert.deepEqual(ctx.sub.received.filter((r) => r.event === 'echo'), []);
});

test('the console joins its private feed through the auth endpoint and hears the audience and the answers', async (ctx) => {
  const producer = new PusherClient(app.key, { ...clientOptions(ctx.port), channelAuthorization: {
    endpoint: `http://127.0.0.1:${ctx.port}/admin/realtime/auth`, transport: 'ajax' } });
  const intruder = new PusherClient(app.key, { ...clientOptions(ctx.port), channelAuthorization: {
    customHandler: (params, done) => done(null, { auth: `${app.key}:${'0'.repeat(64)}` }) } });
  const outcome = (channel) => {
    let result;
    channel.bind('pusher:subscription_succeeded', () => { result = 'subscribed'; });
    channel.bind('pusher:subscription_error', (error) => { result = error.status; });
    return until(() => result, 5000, `subscription to ${channel.name}`);
  };
  try {
    const feed = producer.subscribe('private-vantora-console');
    assert.equal(await outcome(feed), 'subscribed');
    assert.equal(await outcome(intruder.subscribe('private-vantora-console')), 401);
    // A second viewer tunes in and leaves: the feed says how many are on the channel each time.
    const audience = [];
    feed.bind('audience', (data) => audience.push(data));
    const viewer = subscriber(ctx.port);
    await viewer.subscribed;
    assert.deepEqual(await until(() => audience[0], 5000, 'one joins'), { channel: '1001', viewers: 2 });
    viewer.client.disconnect();
    assert.deepEqual(await until(() => audience[1], 5000, 'one leaves'), { channel: '1001', viewers: 1 });
    // A viewer's vote sent twice is told once, with its item's fresh totals; then its report batch.
    // The requests are multipart bodies as Node's own FormData writes them.
    const told = [];
    for (const event of ['answer', 'analytics']) feed.bind(event, (data) => told.push({ event, data }));
    const call = async (operation, data) => {
      const form = new FormData();
      form.append('request', JSON.stringify({ data: { broadcasterName: 'vantora-demo', channelId: '1001', ...data } }));
      return (await fetch(`http://127.0.0.1:${ctx.port}/userApi${operation}`, { method: 'POST', body: form })).json();
    };
    const { token } = await call('/user/register', { userToken: '' });
    for (let i = 0; i < 2; i += 1) await call('/poll/answer_new/p103', { userToken: token, answer: 'On the sofa' });
    await call('/analytics/add', { userToken: token, events: [{ country: 'US', language: 'en', deviceType: 'tv', device: 'd',
      browser: 'b', timestamp: 5, module: 'Polls', streamer: 'vantora-demo', isEngaged: true, eventType: 'engage' }] });
    await until(() => told.find((t) => t.event === 'analytics'), 5000, 'the report batch');
    assert.deepEqual(told.map((t) => t.event), ['answer', 'analytics']);
    const { item, totals, viewer: voter } = told[0].data;
    assert.deepEqual([item, totals, voter.token], ['p103', { 'On the sofa': 1 }, token]);
    assert.equal(told[1].data.events[0].eventType, 'engage');
  } finally {
    producer.disconnect();
    intruder.disconnect();
  }
});

async function main() {
  const { port } = await startServer(devserver, ['--data', dataFolder, '--db', path.join(scratch, 'peers.sqlite'),
    '--app-id', app.appId, '--app-key', app.key, '--app-secret', app.secret]);
  const publisher = new PusherServer({ ...app, host: '127.0.0.1', port: String(port) });
  const ctx = { port, sub: subscriber(port), publisher };
  await ctx.sub.subscribed;
  for (const { name, run } of cases) {
    await run(ctx);
    console.log(`ok - ${name}`);
  }
  ctx.sub.client.disconnect();
}

main().catch((error) => {
  console.log(`not ok - ${error.stack}`);
  process.exitCode = 1;
}).finally(() => {
  stopAll(process.exitCode);
  fs.rmSync(scratch, { recursive: true, force: true });
  process.exit();
});
