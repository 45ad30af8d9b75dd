// The broadcaster's console in a real browser (Debian's chromium, driven by playwright-core)
// against vantora-devserver, with the sample TV app as the viewer: a producer authors a poll,
// injects it, watches the viewer's vote arrive, settles a prediction and sees the winner on the
// leaderboard; a refused edit shows the decoder's reason; off loopback the page wants its token.
// Screenshots of each state go to the folder given.
//
// usage: node console.test.js <vantora-devserver> <vantora-tv> <screenshot folder>
'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { requireOrSkip, start, startServer, stopAll } = require('../peers/processes');

const { chromium } = requireOrSkip('playwright-core');
const browserPath = '/usr/bin/chromium';
if (!fs.existsSync(browserPath)) {
  console.log('SKIP: Debian chromium is not installed; ./scripts/setup installs it');
  process.exit(0);
}

const [devserver, tv, shots] = process.argv.slice(2);
const devserverData = path.join(__dirname, '../../tools/devserver/demo');
const scratch = fs.mkdtempSync(path.join(os.tmpdir(), 'vantora-console-'));
fs.mkdirSync(shots, { recursive: true });

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

const database = () => ['--db', path.join(scratch, `${Date.now()}.sqlite`)];

async function main() {
  const server = await startServer(devserver, database());
  const browser = await chromium.launch({ executablePath: browserPath, args: ['--no-sandbox'] });
  try {
    const page = await browser.newPage({ viewport: { width: 1366, height: 768 } });
    page.setDefaultTimeout(5000);
    page.on('pageerror', (error) => console.log(`page error: ${error.message}`));
    // The page is ready once it has read the channel and joined its live feed.
    const open = async (url) => {
      await page.goto(url);
      await page.waitForSelector('body[data-ready]', { timeout: 10000 });
      await page.waitForSelector('.link.connected', { timeout: 10000 });
    };
    await open(`http://127.0.0.1:${server.port}/console/`);

    // Nothing by the clock tonight: the producer clears the channel's clock entries.
    await page.click('#edit-clocks');
    await page.fill('#editor-text', '[]');
    await page.click('#editor-save');
    await page.waitForFunction(() => !document.getElementById('schedule').textContent.includes('quiz t400'));

    // A refused edit: the decoder's reason, and nothing saved.
    await page.click('#new-poll');
    await page.click('#editor-json summary');
    await page.fill('#editor-text', JSON.stringify({ id: 'p901', question: 'Broken?' }));
    await page.click('#editor-save');
    await page.waitForSelector('#editor-error:has-text("poll: name: missing")');
    await page.screenshot({ path: path.join(shots, '1-refused-edit.png') });
    await page.keyboard.press('Escape');

    // Authoring: a new poll from the template, its question and answers changed, with a picture
    // the producer uploads.
    await page.click('#new-poll');
    await page.setInputFiles('#editor-upload', path.join(devserverData, 'media/polls/espresso.png'));
    await page.waitForSelector('#editor-uploaded:has-text("uploads/espresso.png")');
    const form = (label) => page.getByLabel(label, { exact: true });
    await form('Id').fill('p900');
    await form('Question').fill('Goal of the night?');
    await form('Picture (media path)').fill('uploads/espresso.png');
    await form('Experience for answering').fill('40');
    await form('Answer 1').fill('The header');
    await form('Answer 2').fill('The volley');
    await page.screenshot({ path: path.join(shots, '2-authoring.png') });
    await page.click('#editor-save');
    await page.waitForFunction(() => document.querySelector('#item-p900 img.cover')?.naturalWidth > 0);
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
      { ...server.env, XDG_CONFIG_HOME: path.join(scratch, 'config') });
    await viewer.waitFor(/mark ready/, 30000);
    await page.waitForSelector('#audience:has-text("1 watching")', { timeout: 10000 });

    // Inject the poll; the action says where it went.
    await page.click('#item-p900 >> text=Inject');
    await page.fill('#inject-time', '40');
    await page.click('#inject-go');
    await page.waitForSelector('#sent li:has-text("Inject poll p900: injectPoll to 1 connection")');

    // The viewer's vote reaches the shares within a second of its reply, without a reload.
    await viewer.waitFor(/mark voted-poll/, 60000);
    const voted = Date.now();
    await page.waitForSelector('[data-testid="share-The header"]:has-text("100% · 1 vote")', { timeout: 1000 });
    console.log(`the vote reached the console ${Date.now() - voted} ms after the viewer saw its reply`);
    assert.equal(await page.textContent('[data-testid="share-The volley"]'), '0% · 0 votes');
    await page.screenshot({ path: path.join(shots, '4-vote-arrived.png') });

    // A prediction, voted by the viewer, settled by the producer: the winner tops the leaderboard.
    await page.click('#item-pr200 >> text=Inject');
    await page.click('#inject-go');
    await viewer.waitFor(/mark voted-prediction/, 60000);
    await page.waitForSelector('#feed li:has-text("answered “Reds” to poll pr200")');
    await page.click('#item-pr200 >> text=Settle');
    await page.selectOption('#settle-answer', 'Reds');
    await page.fill('#settle-amount', '50');
    await page.click('#settle-go');
    await page.waitForSelector('#sent li:has-text("1 won, 0 lost")');
    const leader = await page.textContent('#leaderboard li:first-child .points');
    assert.equal(leader, '80 pts'); // 10 + 20 from the levels the votes reached (40 + 20 experience), 50 from the win
    await viewer.waitFor(/mark saw-the-win/, 30000);
    await page.screenshot({ path: path.join(shots, '5-settled.png') });

    // A poll the producer closes while the viewer looks at it: the viewer sees it closed. This
    // one from the keyboard: Enter on the card's button, Enter in the dialog.
    await page.focus('#item-p102 >> text=Inject');
    await page.keyboard.press('Enter');
    await page.waitForSelector('#injector[open]');
    await page.keyboard.press('Enter');
    await viewer.waitFor(/mark saw-the-penalty/, 60000);
    await page.click('#item-p102 >> text=Close');
    await page.waitForSelector('#sent li:has-text("Close p102: stop_poll to 1 connection")');
    await viewer.waitFor(/mark saw-it-closed/, 30000);
    await page.setViewportSize({ width: 1920, height: 1080 });
    await page.screenshot({ path: path.join(shots, '6-studio-screen.png') });

    // Off loopback, the console wants the token the server printed.
    const offLoopback = await startServer(devserver, [...database(), '--host', '0.0.0.0']);
    assert.equal((await page.goto(`http://127.0.0.1:${offLoopback.port}/console/`)).status(), 401);
    await open(`http://127.0.0.1:${offLoopback.port}/console/?token=${offLoopback.token}`);
  } finally {
    await browser.close();
  }
}

main().then(() => {
  console.log('ok - the producer ran the show from the console');
}, (error) => {
  console.log(`not ok - ${error.stack}`);
  process.exitCode = 1;
}).finally(() => {
  stopAll(process.exitCode);
  fs.rmSync(scratch, { recursive: true, force: true });
});
