// A form over an item's document for what a producer changes every show: the question, the
// answers and their pictures, how results show, the points. The JSON beside it holds everything
// (sponsor promotions, flags); both edit the same document.

const fields = {
  poll: [
    ['id', 'Id'],
    ['question', 'Question'],
    ['questionType', 'Kind', ['poll', 'prediction']],
    ['viewType', 'Results as', ['percentage', 'votes', 'numbers']],
    ['time_limit', 'Time to answer (s)'],
    ['image', 'Picture (media path)'],
    ['expoints', 'Experience for answering'],
  ],
  rating: [
    ['id', 'Id'],
    ['name', 'Question'],
    ['description', 'Description'],
    ['optionsNumber', 'Steps', ['2', '3', '4', '5', '6']],
    ['icon', 'Icon (media path)'],
    ['expoints', 'Experience for answering'],
  ],
  trivia: [
    ['question.id', 'Id'],
    ['question.question', 'Question'],
    ['question.category', 'Category'],
    ['correctAnswer', 'Right answer', (doc) => doc.question.answers.map((a) => a.answer)],
    ['points', 'Credits for the right answer'],
    ['expoints', 'Experience for answering'],
  ],
};

const answerFields = {
  poll: [['answer', 'Answer'], ['image', 'Picture'], ['reward', 'Reward']],
  trivia: [['answer', 'Answer'], ['image', 'Picture']],
};

function get(doc, path) {
  return path.split('.').reduce((value, key) => value?.[key], doc);
}

// Writes a value as the document had it: a number stays a number, text stays text.
function set(doc, path, text) {
  const keys = path.split('.');
  const owner = keys.slice(0, -1).reduce((value, key) => value[key], doc);
  const key = keys.at(-1);
  const number = Number(text);
  owner[key] = typeof owner[key] === 'number' && text.trim() !== '' && !Number.isNaN(number) ? number : text;
}

function input(label, value, options, onInput) {
  let control;
  if (options) {
    control = document.createElement('select');
    for (const option of options) control.append(new Option(option, option, false, option === String(value)));
  } else {
    control = Object.assign(document.createElement('input'), { value: value ?? '' });
  }
  control.addEventListener(options ? 'change' : 'input', () => onInput(control.value));
  const wrapper = document.createElement('label');
  wrapper.append(label, control);
  return wrapper;
}

/// The form of `doc` (a poll, rating or trivia document); `changed` runs after each edit.
export function itemForm(kind, doc, changed) {
  const form = document.createElement('div');
  form.className = 'item-form';
  const render = () => {
    form.replaceChildren();
    for (const [path, label, options] of fields[kind] ?? []) {
      const choices = typeof options === 'function' ? options(doc) : options;
      form.append(input(label, get(doc, path), choices, (value) => { set(doc, path, value); changed(); }));
    }
    const answers = kind === 'trivia' ? doc.question?.answers : doc.answers;
    if (!answerFields[kind] || !Array.isArray(answers)) return;
    const list = document.createElement('fieldset');
    list.append(Object.assign(document.createElement('legend'), { textContent: 'Answers' }));
    answers.forEach((answer, index) => {
      const row = document.createElement('div');
      row.className = 'answer-row';
      for (const [key, label] of answerFields[kind]) {
        row.append(input(`${label} ${index + 1}`, answer[key], null, (value) => {
          set(answer, key, value);
          changed();
        }));
      }
      const remove = Object.assign(document.createElement('button'), { type: 'button', textContent: 'Remove' });
      remove.addEventListener('click', () => { answers.splice(index, 1); changed(); render(); });
      row.append(remove);
      list.append(row);
    });
    const add = Object.assign(document.createElement('button'), { type: 'button', textContent: 'Add an answer' });
    add.addEventListener('click', () => {
      answers.push(kind === 'trivia' ? { answer: '' } : { answer: '', reward: '0', isRewardSent: false });
      changed();
      render();
    });
    list.append(add);
    form.append(list);
  };
  render();
  form.refresh = render;
  return form;
}
