import { itemForm } from './itemform.js';

// The broadcaster's console: the channel's items with their live results, the controls that push
// live events to every viewer, the schedule, an editor, and what viewers do as it happens. Every
// figure comes from the dev server's /admin API once, then from its private realtime feed.

// Off loopback the server wants the token it printed; the page is opened with ?token=… once.
const token = new URLSearchParams(location.search).get('token') ?? sessionStorage.getItem('token');
if (token) sessionStorage.setItem('token', token);
const auth = token ? { Authorization: `Bearer ${token}` } : {};

const $ = (id) => document.getElementById(id);
const state = {
  channel: null, items: null, totals: { polls: {}, ratings: {} }, trivia: {}, viewers: [],
  editing: null, injecting: null, settling: null,
};

async function api(path, body) {
  const init = body === undefined ? { headers: auth }
    : { method: 'POST', headers: { ...auth, 'Content-Type': 'application/json' }, body: JSON.stringify(body) };
  const reply = await fetch(`/admin${path}`, init);
  const data = await reply.json().catch(() => ({}));
  return { ok: reply.ok, status: reply.status, data };
}

function element(tag, attributes = {}, ...children) {
  const node = document.createElement(tag);
  for (const [key, value] of Object.entries(attributes)) {
    if (key.startsWith('on')) node.addEventListener(key.slice(2), value);
    else if (value !== undefined && value !== null) node.setAttribute(key, value);
  }
  node.append(...children.filter((child) => child !== null && child !== undefined));
  return node;
}

function note(list, text, kind = '', details = null) {
  const time = new Date().toLocaleTimeString([], { hour12: false });
  const line = details ? element('details', {}, element('summary', {}, text),
    element('pre', {}, JSON.stringify(details, null, 2))) : text;
  $(list).prepend(element('li', { class: kind }, element('time', {}, time), ' ', line));
  while ($(list).children.length > 200) $(list).lastElementChild.remove();
}

// What an action sent and to how many connections, or why it failed.
function sent(what, reply) {
  if (reply.ok) {
    const count = reply.data.delivered ?? 0;
    note('sent', `${what}: ${reply.data.event ?? 'done'} to ${count} connection${count === 1 ? '' : 's'}`, 'ok',
      reply.data.data);
  } else {
    note('sent', `${what} failed (${reply.status}): ${reply.data.error ?? 'no reason given'}`, 'error');
  }
  return reply;
}

// ---- results

function pollShares(poll) {
  const votes = state.totals.polls[poll.id] ?? {};
  const total = Object.values(votes).reduce((sum, n) => sum + n, 0);
  return poll.answers.map((answer) => {
    const count = votes[answer.answer] ?? 0;
    return { label: answer.answer, image: answer.image, count, share: total ? count / total : 0 };
  });
}

// A picture of the data folder's media, as the cards show it; nothing when there is none.
function picture(file, className) {
  return file ? element('img', { class: className, src: `/media/${file.replace(/^\//, '')}`, alt: '' }) : null;
}

function shareRows(rows, unit) {
  return element('ul', { class: 'shares' }, ...rows.map((row) => element('li', {},
    element('span', { class: 'label' }, picture(row.image, 'icon'), row.label),
    element('span', { class: 'bar' }, element('span', { style: `width:${(row.share * 100).toFixed(1)}%` })),
    element('span', { class: 'figure', 'data-testid': `share-${row.label}` },
      `${Math.round(row.share * 100)}% · ${row.count} ${row.count === 1 ? unit : `${unit}s`}`))));
}

function ratingSummary(rating) {
  const stats = state.totals.ratings[rating.id] ?? { totalPeople: 0, totalPoints: 0 };
  const average = stats.totalPeople ? stats.totalPoints / stats.totalPeople : 0;
  return element('p', { class: 'summary', 'data-testid': `rating-${rating.id}` },
    `Average ${average.toFixed(1)} of ${Math.min(Number(rating.optionsNumber) || 1, 6)} · ${stats.totalPeople} rated`);
}

function triviaSummary(item) {
  const counts = state.trivia[item.question.id] ?? { right: 0, wrong: 0 };
  return element('p', { class: 'summary', 'data-testid': `trivia-${item.question.id}` },
    `${counts.right} right · ${counts.wrong} wrong · answer: ${item.correctAnswer}`);
}

// ---- items

// The sponsor of an item's TV promotion, as the cards choose it: the first smartTV one.
function sponsorOf(prizes) {
  const promotion = (prizes ?? []).find((p) => p.clientType === 'smartTV');
  return promotion ? element('p', { class: 'sponsor' }, picture(promotion.smart_tv_img, 'icon'),
    `${promotion.viewType} promotion · ${promotion.sponsor?.name ?? promotion.name ?? 'sponsor'}`) : null;
}

function card(kind, id, title, body, actions, { image, prizes } = {}) {
  return element('article', { class: `card ${kind}`, id: `item-${id}` },
    element('header', {}, element('span', { class: 'kind' }, kind), element('span', { class: 'id' }, id)),
    element('div', { class: 'title' }, picture(image, 'cover'), element('h3', {}, title)), body,
    sponsorOf(prizes),
    element('div', { class: 'actions' }, ...actions));
}

function renderItems() {
  const items = state.items;
  const cards = [];
  for (const [list, kind] of [['polls', 'poll'], ['predictions', 'prediction']]) {
    for (const poll of items[list]) {
      cards.push(card(kind, poll.id, poll.question, shareRows(pollShares(poll), 'vote'), [
        element('button', { onclick: () => openInjector('poll', poll.id, poll.question) }, 'Inject'),
        element('button', { onclick: () => closePoll(poll) }, 'Close'),
        kind === 'prediction' ? element('button', { onclick: () => openSettler(poll) }, 'Settle') : null,
        element('button', { onclick: () => openEditor('poll', poll) }, 'Edit'),
        element('button', { onclick: () => openPreview('poll', poll.id) }, 'Preview'),
      ], poll));
    }
  }
  for (const rating of items.ratings) {
    cards.push(card('rating', rating.id, rating.name, ratingSummary(rating), [
      element('button', { onclick: () => openInjector('rating', rating.id, rating.name) }, 'Inject'),
      element('button', { onclick: () => openEditor('rating', rating) }, 'Edit'),
      element('button', { onclick: () => openPreview('rating', rating.id) }, 'Preview'),
    ], { image: rating.icon, prizes: rating.prizes }));
  }
  for (const item of items.trivia) {
    const question = item.question;
    cards.push(card('trivia', question.id, question.question, triviaSummary(item), [
      element('button', { onclick: () => openInjector('trivia', question.id, question.question) }, 'Inject'),
      element('button', { onclick: () => openEditor('trivia', item) }, 'Edit'),
      element('button', { onclick: () => openPreview('trivia', question.id) }, 'Preview'),
    ], { prizes: question.prizes }));
  }
  $('items').replaceChildren(...cards);
}

function clockTime(seconds) {
  return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, '0')}`;
}

function renderSchedule() {
  const clocks = [...state.items.clocks].sort((a, b) => a.time - b.time);
  const rows = clocks.map((entry) => element('li', {},
    element('time', {}, clockTime(entry.time)),
    ` ${entry.module} ${entry.id} · ${entry.timeToStay ?? 30} s${entry.isPause ? ' · pauses the video' : ''}`));
  for (const injection of state.items.injections) {
    const at = new Date(Number(injection.injection_timestamp) * 1000);
    rows.push(element('li', {}, element('time', {}, at.toLocaleString()),
      ` ${injection.module} ${injection.id}${injection.active ? '' : ' · inactive'}`));
  }
  $('schedule').replaceChildren(rows.length ? element('ol', { class: 'timeline' }, ...rows)
    : element('p', { class: 'empty' }, 'Nothing scheduled.'));
}

function renderLeaderboard() {
  const viewers = [...state.viewers].sort((a, b) => b.credits - a.credits || b.level - a.level);
  $('leaderboard').replaceChildren(...viewers.slice(0, 20).map((viewer) =>
    element('li', { 'data-testid': `viewer-${viewer.id}` },
      element('span', { class: 'name' }, viewer.name || `Viewer ${viewer.id}`),
      element('span', { class: 'level' }, `level ${viewer.level}`),
      element('span', { class: 'points' }, `${viewer.credits} pts`))));
}

// ---- actions

function openInjector(kind, id, title) {
  state.injecting = { kind, id };
  $('injector-title').textContent = `Inject ${kind} ${id}: ${title}`;
  $('injector').showModal();
}

async function inject() {
  const { kind, id } = state.injecting;
  $('injector').close();
  sent(`Inject ${kind} ${id}`, await api('/inject', {
    channel: state.channel, kind, id, timeToStay: Number($('inject-time').value) || 30,
    once_per_user: $('inject-once').checked, close_post_interaction: $('inject-close').checked,
  }));
}

async function closePoll(poll) {
  sent(`Close ${poll.id}`, await api('/stop-poll', { channel: state.channel, poll: poll.id }));
}

function openSettler(poll) {
  state.settling = poll;
  $('settler-title').textContent = `Settle ${poll.id}: ${poll.question}`;
  $('settle-answer').replaceChildren(...poll.answers.map((a) => element('option', {}, a.answer)));
  $('settler').showModal();
}

async function settle() {
  const poll = state.settling;
  $('settler').close();
  const reply = sent(`Settle ${poll.id}`, await api('/settle', {
    channel: state.channel, poll: poll.id, answer: $('settle-answer').value,
    winAmount: Number($('settle-amount').value) || 0,
  }));
  if (reply.ok) {
    // The leaderboard first, so the note marks the moment everything on the page agrees.
    state.viewers = (await api('/viewers')).data;
    renderLeaderboard();
    note('sent', `${reply.data.winners.length} won, ${reply.data.losers} lost`, 'ok');
  }
}

// The card as the TV will show it, drawn by the SDK's own views on the server.
function openPreview(kind, id) {
  const query = new URLSearchParams({ channel: state.channel, kind, id, ...(token ? { token } : {}) });
  $('preview-title').textContent = `Preview of ${kind} ${id}, as a viewer will see it`;
  $('preview-error').textContent = '';
  $('preview-image').onerror = () => { $('preview-error').textContent = 'The preview could not be drawn.'; };
  $('preview-image').src = `/admin/preview?${query}`;
  $('preview').showModal();
}

// ---- editing

const templates = {
  poll: (questionType) => ({
    name: 'new', id: `${questionType === 'poll' ? 'p' : 'pr'}${Date.now() % 100000}`, question: 'Your question?',
    questionType, type: 'text', hideButtons: 0, image: '', time_limit: 30, viewType: 'percentage',
    status: 'active', answers: ['Yes', 'No'].map((answer) => ({ answer, reward: '0', isRewardSent: false })),
    prizes: [], expoints: '10',
  }),
  rating: () => ({ name: 'How was it?', id: `r${Date.now() % 100000}`, optionsNumber: '5', prizes: [] }),
  trivia: () => ({
    question: { id: `t${Date.now() % 100000}`, question: 'Your question?', answers: [{ answer: 'A' }, { answer: 'B' }],
      category: 'General' },
    correctAnswer: 'A', points: 10, expoints: 5,
  }),
};

function openEditor(kind, document, isNew = false) {
  state.editing = { kind, id: kind === 'trivia' ? document.question.id : (document.id ?? '') };
  $('editor-title').textContent = `${isNew ? 'New' : 'Edit'} ${kind}`;
  // The form and the JSON edit one copy; lists (the schedule) are edited as JSON alone.
  const copy = structuredClone(document);
  const form = Array.isArray(copy) ? null
    : itemForm(kind, copy, () => { $('editor-text').value = JSON.stringify(copy, null, 2); });
  state.editing.form = form;
  state.editing.copy = copy;
  $('editor-form').replaceChildren(...(form ? [form] : []));
  $('editor-json').open = !form;
  $('editor-text').value = JSON.stringify(copy, null, 2);
  $('editor-error').textContent = '';
  $('editor-uploaded').textContent = '';
  $('editor-upload').value = '';
  $('editor-delete').hidden = isNew || Array.isArray(document);
  $('editor').showModal();
}

// A picture for the item: stored by the server beside its database, named by the path it gives.
async function uploadPicture() {
  const file = $('editor-upload').files[0];
  if (!file) return;
  const form = new FormData();
  form.append('file', file);
  const reply = await fetch('/admin/media', { method: 'POST', headers: auth, body: form });
  const data = await reply.json().catch(() => ({}));
  $('editor-uploaded').textContent = reply.ok ? `Uploaded: use "${data.path}" as the image's path`
    : `Not uploaded: ${data.error ?? reply.status}`;
}

async function saveEdit() {
  let document;
  try {
    document = JSON.parse($('editor-text').value);
  } catch (error) {
    $('editor-error').textContent = `Not JSON: ${error.message}`;
    return;
  }
  await sendEdit('/items', { document }, 'Saved');
}

async function deleteEdited() {
  await sendEdit('/items/delete', { id: state.editing.id }, 'Deleted');
}

// A save or a removal: a refusal stays in the editor with the server's reason.
async function sendEdit(path, body, done) {
  const reply = await api(path, { channel: state.channel, kind: state.editing.kind, ...body });
  if (!reply.ok) {
    $('editor-error').textContent = reply.data.error ?? `refused (${reply.status})`;
    return;
  }
  $('editor').close();
  note('sent', `${done} ${reply.data.kind} ${reply.data.id}`, 'ok');
  await loadChannel();
}

// ---- loading and the live feed

async function loadChannel() {
  const [items, totals, answers, viewers] = await Promise.all([
    api(`/items?channel=${encodeURIComponent(state.channel)}`),
    api(`/totals?channel=${encodeURIComponent(state.channel)}`),
    api(`/answers?channel=${encodeURIComponent(state.channel)}`),
    api('/viewers'),
  ]);
  state.items = items.data;
  state.totals = totals.data;
  state.viewers = viewers.data;
  state.trivia = {};
  for (const answer of answers.data) countTrivia(answer);
  renderItems();
  renderSchedule();
  renderLeaderboard();
}

function countTrivia(answer) {
  if (answer.kind !== 'trivia') return;
  const counts = state.trivia[answer.item] ?? (state.trivia[answer.item] = { right: 0, wrong: 0 });
  counts[answer.correct ? 'right' : 'wrong'] += 1;
}

function onAnswer(answer) {
  const viewer = answer.viewer;
  state.viewers = [...state.viewers.filter((v) => v.id !== viewer.id), viewer];
  renderLeaderboard();
  note('feed', `${viewer.name || `Viewer ${viewer.id}`} answered “${answer.answer}” to ${answer.kind} ${answer.item}`
    + (answer.kind === 'trivia' ? (answer.correct ? ' (right)' : ' (wrong)') : ''));
  if (answer.channel !== state.channel) return;
  if (answer.kind === 'poll') state.totals.polls[answer.item] = answer.totals;
  if (answer.kind === 'rating') state.totals.ratings[answer.item] = answer.totals;
  countTrivia(answer);
  renderItems();
}

function onAnalytics(report) {
  for (const event of report.events) {
    note('feed', `Viewer ${report.viewerId} · ${event.eventType ?? 'event'} · ${event.module}`
      + (event.source_id ? ` ${event.source_id}` : ''), 'quiet');
  }
}

function onAudience(audience) {
  if (audience.channel === state.channel) $('audience').textContent = `${audience.viewers} watching`;
}

async function connectFeed() {
  if (typeof Pusher === 'undefined') {
    $('link').textContent = 'no live feed: pusher-js is missing (./scripts/setup, then rebuild)';
    return;
  }
  const app = (await api('/realtime/app')).data;
  const pusher = new Pusher(app.key, {
    cluster: 'mt1', wsHost: location.hostname, wsPort: Number(location.port) || 80, forceTLS: false,
    enabledTransports: ['ws'], enableStats: false,
    channelAuthorization: { endpoint: '/admin/realtime/auth', transport: 'ajax', headers: auth },
  });
  pusher.connection.bind('state_change', ({ current }) => {
    $('link').textContent = current === 'connected' ? 'live' : current;
    $('link').className = `link ${current}`;
  });
  const feed = pusher.subscribe('private-vantora-console');
  feed.bind('answer', onAnswer);
  feed.bind('analytics', onAnalytics);
  feed.bind('audience', onAudience);
}

async function start() {
  const channels = await api('/channels');
  if (!channels.ok) {
    document.body.replaceChildren(element('p', { class: 'error page' },
      channels.status === 401 ? 'This console wants the token vantora-devserver printed at start-up: open it with ?token=…'
        : `The dev server refused: ${channels.data.error ?? channels.status}`));
    return;
  }
  $('channel').replaceChildren(...channels.data.map((c) =>
    element('option', { value: c.id }, `${c.name} (${c.broadcaster_id} · ${c.id})`)));
  const audienceOf = (id) => channels.data.find((c) => c.id === id)?.subscribers ?? 0;
  const choose = async () => {
    state.channel = $('channel').value;
    $('audience').textContent = `${audienceOf(state.channel)} watching`;
    await loadChannel();
  };
  $('channel').addEventListener('change', choose);
  $('push-totals').addEventListener('click', async () =>
    sent('Push totals', await api('/streamer-info', { channel: state.channel })));
  $('refresh').addEventListener('click', async () =>
    sent('Refresh', await api('/refresh', { channel: state.channel })));
  // Enter in a dialog does its action (each dialog's one submit button); Escape or Cancel leaves.
  for (const [dialog, action] of [['injector', inject], ['settler', settle], ['editor', saveEdit]]) {
    $(dialog).querySelector('form').addEventListener('submit', (event) => {
      event.preventDefault();
      action();
    });
  }
  for (const cancel of document.querySelectorAll('dialog .cancel'))
    cancel.addEventListener('click', () => cancel.closest('dialog').close());
  $('editor-delete').addEventListener('click', deleteEdited);
  $('editor-upload').addEventListener('change', uploadPicture);
  // JSON typed by hand shows in the form once it parses.
  $('editor-text').addEventListener('change', () => {
    const { form, copy } = state.editing;
    try {
      const typed = JSON.parse($('editor-text').value);
      if (!form || Array.isArray(typed)) return;
      for (const key of Object.keys(copy)) delete copy[key];
      Object.assign(copy, typed);
      form.refresh();
    } catch (error) {
      $('editor-error').textContent = `Not JSON yet: ${error.message}`;
    }
  });
  $('new-poll').addEventListener('click', () => openEditor('poll', templates.poll('poll'), true));
  $('new-prediction').addEventListener('click', () => openEditor('poll', templates.poll('prediction'), true));
  $('new-rating').addEventListener('click', () => openEditor('rating', templates.rating(), true));
  $('new-trivia').addEventListener('click', () => openEditor('trivia', templates.trivia(), true));
  // The schedule is saved whole: the clock entries (seconds into the video) and the injections
  // (seconds since 1970).
  $('edit-clocks').addEventListener('click', () => openEditor('clocks', state.items.clocks));
  $('edit-injections').addEventListener('click', () => openEditor('injections', state.items.injections));
  await choose();
  await connectFeed();
  document.body.dataset.ready = 'true';
}

start();
