// The broadcaster's console in a real browser (Debian's chromium, driven by playwright-core)
// against vantora-devserver, with the sample TV app as the viewer: a producer authors a poll,
// injects it, watches the viewer's vote arrive, settles a prediction and sees the winner on the
// leaderboard; a refused edit shows the decoder's reason; off loopback the page wants its token.
// Screenshots of each state go to the folder given.
//
// usage: node console.test.js <vantora-devserver> <vantora-tv> <screenshot folder>
'use strict';

const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

let chromium;
try {
  ({ chromium } = require('../peers/node_modules/playwright-core'));
} catch (error) {
  console.log(`SKIP: playwright-core is not installed (${error.message}); ./scripts/setup installs it`);
  process.exit(0);
}
const browserPath = '/usr/bin/chromium';
if (!fs.existsSync(browserPath)) {
  console.log('SKIP: Debian chromium is not installed; ./scripts/setup installs it');
  process.exit(0);
}

const [devserver, tv, shots] = process.argv.slice(2);
const devserverData = path.join(__dirname, '../../tools/devserver/demo');
const scratch = fs.mkdtempSync(path.join(os.tmpdir(), 'vantora-console-'));
fs.mkdirSync(shots, { recursive: true });
const children = [];

// Starts a process; `seen` resolves with the match once its output matches `ready`, and
// child.waitFor(pattern, ms) waits for more of it.
function start(program, args, env, ready) {
  const child = spawn(program, args, { env: { ...process.env, ...env }, stdio: ['ignore', 'pipe', 'pipe'] });
  children.push(child);
  child.output = '';
  const waiters = [];
  const read = (chunk) => {
    child.output += chunk;
    for (const waiter of waiters.splice(0)) waiter();
  };
  child.stdout.on('data', read);
  child.stderr.on('data', read);
  const ended = new Promise((_, reject) => child.on('exit', (code) =>
    reject(new Error(`${path.basename(program)} exited with ${code}`))));
  ended.catch(() => {});
  child.waitFor = (pattern, ms) => Promise.race([new Promise((resolve) => {
    const check = () => {
      const match = pattern.exec(child.output);
      if (match) resolve(match); else waiters.push(check);
    };
    check();
  }), ended, deadline(ms, `${pattern} from ${path.basename(program)}`)]);
  return { child, seen: child.waitFor(ready, 60000) };
}

function deadline(ms, what) {
  return new Promise((_, reject) => setTimeout(() => reject(new Error(`timed out after ${ms} ms: ${what}`)), ms).unref());
}

async function startServer(args = []) {
  const { child, seen } = start(devserver, ['--port', '0', '--db', path.join(scratch, `${children.length}.sqlite`), ...args],
    {}, /VANTORA_REALTIME_URL=ws:\/\/[^:]+:(\d+)/);
  const match = await Promise.race([seen, deadline(10000, 'server start')]);
  const env = {};
  for (const line of child.output.split('\n')) {
    const exported = /^export (VANTORA_\w+)=(.*)$/.exec(line);
    if (exported) env[exported[1]] = exported[2].replace('0.0.0.0', '127.0.0.1');
  }
  const token = /Bearer ([0-9a-f]+)/.exec(child.output)?.[1];
  return { child, port: Number(match[1]), env, token };
}

// The viewer: the sample app, offscreen, answering each live card with its first answer.
const viewerScript = `
2     mark ready
+0    wait-for 60 Goal of the night
+0.6  key Return
+0    wait-for 10 @pointsLabel 10
+0    mark voted-poll
+0    wait-gone 40 Goal of the night
+0    wait-for 60 Who wins the final
+0.6  key Return
+0    wait-gone 20 Who wins the final
+0    mark voted-prediction
+0    wait-for 60 CONGRATULATIONS
+0    mark saw-the-win
+0.6  key Escape
+0    wait-for 60 Was that a penalty
+0    mark saw-the-penalty
+0    wait-for 20 POLL CLOSED
+0    mark saw-it-closed
+1    quit
`;

async function main() {
  const server = await startServer();
  const origin = `http://127.0.0.1:${server.port}`;
  const browser = await chromium.launch({ executablePath: browserPath, args: ['--no-sandbox'] });
  try {
    const page = await browser.newPage({ viewport: { width: 1366, height: 768 } });
    page.on('pageerror', (error) => console.log(`page error: ${error.message}`));
    await page.goto(`${origin}/console/`);
    await page.waitForSelector('body[data-ready]', { timeout: 10000 });
    await page.waitForSelector('.link.connected', { timeout: 10000 });

    // Nothing by the clock tonight: the producer clears the channel's clock entries.
    await page.click('#edit-clocks');
    await page.fill('#editor-text', '[]');
    await page.click('#editor-save');
    await page.waitForFunction(() => !document.getElementById('schedule').textContent.includes('quiz t400'),
      null, { timeout: 5000 });

    // A refused edit: the decoder's reason, and nothing saved.
    await page.click('#new-poll');
    await page.click('#editor-json summary');
    await page.fill('#editor-text', JSON.stringify({ id: 'p901', question: 'Broken?' }));
    await page.click('#editor-save');
    await page.waitForSelector('#editor-error:has-text("poll: name: missing")', { timeout: 5000 });
    await page.screenshot({ path: path.join(shots, '1-refused-edit.png') });
    await page.keyboard.press('Escape');

    // Authoring: a new poll from the template, its question and answers changed, with a picture
    // the producer uploads.
    await page.click('#new-poll');
    await page.setInputFiles('#editor-upload', path.join(devserverData, 'media/polls/espresso.png'));
    await page.waitForSelector('#editor-uploaded:has-text("uploads/espresso.png")', { timeout: 5000 });
    const form = (label) => page.getByLabel(label, { exact: true });
    await form('Id').fill('p900');
    await form('Question').fill('Goal of the night?');
    await form('Picture (media path)').fill('uploads/espresso.png');
    await form('Experience for answering').fill('40');
    await form('Answer 1').fill('The header');
    await form('Answer 2').fill('The volley');
    await page.screenshot({ path: path.join(shots, '2-authoring.png') });
    await page.click('#editor-save');
    await page.waitForSelector('#item-p900', { timeout: 5000 });
    await page.waitForFunction(() => document.querySelector('#item-p900 img.cover')?.naturalWidth > 0,
      null, { timeout: 5000 });
    await page.screenshot({ path: path.join(shots, '2-authored.png') });

    // Before it airs: the card the TV will show, drawn by the SDK's views.
    await page.click('#item-p900 >> text=Preview');
    await page.waitForFunction(() => document.getElementById('preview-image').naturalWidth === 1920,
      null, { timeout: 10000 });
    await page.screenshot({ path: path.join(shots, '3-preview.png') });
    await page.keyboard.press('Escape');

    // The viewer tunes in; the console sees the audience grow.
    fs.writeFileSync(path.join(scratch, 'viewer.script'), viewerScript);
    const viewer = start(tv, ['--offscreen', '--new-viewer', '--script', path.join(scratch, 'viewer.script')],
      { ...server.env, XDG_CONFIG_HOME: path.join(scratch, 'config') }, /mark ready/);
    await Promise.race([viewer.seen, deadline(30000, 'the TV app')]);
    await page.waitForSelector('#audience:has-text("1 watching")', { timeout: 10000 });

    // Inject the poll; the action says where it went.
    await page.click('#item-p900 >> text=Inject');
    await page.fill('#inject-time', '40');
    await page.click('#inject-go');
    await page.waitForSelector('#sent li:has-text("Inject poll p900: injectPoll to 1 connection")', { timeout: 5000 });

    // The viewer's vote reaches the shares within a second of its reply, without a reload.
    await viewer.child.waitFor(/mark voted-poll/, 60000);
    const voted = Date.now();
    await page.waitForSelector('[data-testid="share-The header"]:has-text("100% · 1 vote")', { timeout: 1000 });
    console.log(`the vote reached the console ${Date.now() - voted} ms after the viewer saw its reply`);
    assert.equal(await page.textContent('[data-testid="share-The volley"]'), '0% · 0 votes');
    await page.screenshot({ path: path.join(shots, '4-vote-arrived.png') });

    // A prediction, voted by the viewer, settled by the producer: the winner tops the leaderboard.
    await page.click('#item-pr200 >> text=Inject');
    await page.click('#inject-go');
    await viewer.child.waitFor(/mark voted-prediction/, 60000);
    await page.waitForSelector('#feed li:has-text("answered “Reds” to poll pr200")', { timeout: 5000 });
    await page.click('#item-pr200 >> text=Settle');
    await page.selectOption('#settle-answer', 'Reds');
    await page.fill('#settle-amount', '50');
    await page.click('#settle-go');
    await page.waitForSelector('#sent li:has-text("1 won, 0 lost")', { timeout: 5000 });
    const leader = await page.textContent('#leaderboard li:first-child .points');
    assert.equal(leader, '80 pts'); // 10 + 20 from the levels the votes reached (40 + 20 experience), 50 from the win
    await viewer.child.waitFor(/mark saw-the-win/, 30000);
    await page.screenshot({ path: path.join(shots, '5-settled.png') });

    // A poll the producer closes while the viewer looks at it: the viewer sees it closed. This
    // one from the keyboard: Enter on the card's button, Enter in the dialog.
    await page.focus('#item-p102 >> text=Inject');
    await page.keyboard.press('Enter');
    await page.waitForSelector('#injector[open]');
    await page.keyboard.press('Enter');
    await viewer.child.waitFor(/mark saw-the-penalty/, 60000);
    await page.click('#item-p102 >> text=Close');
    await page.waitForSelector('#sent li:has-text("Close p102: stop_poll to 1 connection")', { timeout: 5000 });
    await viewer.child.waitFor(/mark saw-it-closed/, 30000);
    await page.setViewportSize({ width: 1920, height: 1080 });
    await page.screenshot({ path: path.join(shots, '6-studio-screen.png') });

    // Off loopback, the console wants the token the server printed.
    const open = await startServer(['--host', '0.0.0.0']);
    const refused = await page.goto(`http://127.0.0.1:${open.port}/console/`);
    assert.equal(refused.status(), 401);
    await page.goto(`http://127.0.0.1:${open.port}/console/?token=${open.token}`);
    await page.waitForSelector('body[data-ready]', { timeout: 10000 });
    await page.waitForSelector('.link.connected', { timeout: 10000 });
  } finally {
    await browser.close();
  }
}

main().then(() => {
  console.log('ok - the producer ran the show from the console');
}, (error) => {
  console.log(`not ok - ${error.stack}`);
  for (const child of children) console.log(`--- ${child.spawnargs[0]}\n${child.output.slice(-3000)}`);
  process.exitCode = 1;
}).finally(() => {
  for (const child of children) child.kill('SIGKILL');
  fs.rmSync(scratch, { recursive: true, force: true });
});
