// @ts-check
// The card of the recording: where it goes, how large it is, how long the disk lasts, and whether all frames are
// accounted for.

import { make, setAttribute, setHidden, setText, setValue } from './dom.js';
import { bytes, count, dash, decimal, duration, fullPlaceOf, placeOf, roughly, visible } from './text.js';

const fields = [
  ['file', 'File', 'Where the records are written'],
  ['seconds', 'Duration', 'Of the recording'],
  ['records', 'Records', 'Moments recorded, each with all elements of all gloves'],
  ['recordsPerSecondNow', 'Rate', 'Records per second, over the last two seconds'],
  ['markers', 'Markers', 'Set so far, from this page and others'],
  ['bytes', 'Size', 'Of the file, and how fast it grows'],
  ['freeBytes', 'Disk free', 'Space left where the file is, and for how long it lasts'],
  ['reconnections', 'Lost gloves', 'How often the gloves were lost and came back, and the time without them'],
  ['stalls', 'Pauses', 'How often the computer kept tessel from reading, and for how long'],
  ['books', 'Frames explained', 'Whether tessel can explain what became of each frame that the gloves sent'],
];

// How much of the limits is reached, 0 to 1; null without limits.
export function limitReached(layout, state) {
  const shares = [];
  if (layout?.limitSeconds > 0) shares.push((state?.seconds ?? 0) / layout.limitSeconds);
  if (layout?.limitRecords > 0) shares.push((state?.records ?? 0) / layout.limitRecords);
  return shares.length > 0 ? Math.max(0, Math.min(1, Math.max(...shares))) : null;
}

// Until the end it can only be said that nothing contradicts so far. Without a capture nothing is known.
function booksText(state) {
  const balanced = state.books?.balanced;
  if (balanced === true) return 'all';
  if (balanced === false) return 'not all';
  const isKnown = state.gloves?.some((glove) => typeof glove.sent === 'number' && glove.sent > 0);
  return isKnown && !state.books?.text ? 'all so far' : dash;
}

function outOf(value, limit, show) {
  return limit > 0 ? `${show(value)} of ${show(limit)}` : show(value);
}

export class Recording {
  #element;
  #values = new Map();
  #nothing = make(
    'p',
    { class: 'none' },
    'Nothing is recorded. A recording is started on the command line: tessel record --view',
  );
  #books = make('p', { class: 'recording-note', dir: 'auto' });
  #limit = make('progress', { id: 'limit', max: 1, value: 0, 'aria-label': 'Reached of the limit' });

  constructor(element) {
    this.#element = element;
    const list = make('dl', { class: 'values' });
    for (const [field, name, meaning] of fields) {
      const value = make('span', { 'data-field': field });
      this.#values.set(field, value);
      list.append(make('div', { title: meaning, 'data-row': field }, make('dt', {}, name), make('dd', {}, value)));
    }
    element.append(this.#nothing, this.#limit, list, this.#books);
  }

  show(layout, state) {
    const place = placeOf(layout);
    setAttribute(this.#element, 'data-kind', place ? 'recorded' : 'nothing');
    setHidden(this.#nothing, Boolean(place));
    setHidden(this.#row('file'), !place);
    for (const field of ['bytes', 'freeBytes']) setHidden(this.#row(field), !layout.file);
    this.#value('file', place || dash);
    setAttribute(this.#row('file'), 'title', place ? fullPlaceOf(layout) : null);
    this.#value('seconds', outOf(state.seconds, layout.limitSeconds, duration));
    this.#value('records', outOf(state.records, layout.limitRecords, count));
    this.#value('recordsPerSecondNow', decimal(state.recordsPerSecondNow, 1, '/s'));
    setAttribute(
      this.#row('recordsPerSecondNow'),
      'title',
      `Records per second, over the last two seconds; ${decimal(state.recordsPerSecond, 1)} while the gloves were there`,
    );
    this.#showFile(state.recording);
    this.#value('markers', count(state.markers));
    this.#showInterruptions(state);
    this.#value('books', booksText(state), state.books?.balanced === false);
    setText(this.#books, visible(state.books?.text));
    setHidden(this.#books, !state.books?.text);
    const reached = limitReached(layout, state);
    setHidden(this.#limit, reached === null);
    if (reached !== null) this.#limit.value = reached;
  }

  #showFile(recording) {
    const growing = recording?.bytesPerSecond > 0 ? `, ${bytes(recording.bytesPerSecond)}/s` : '';
    this.#value('bytes', bytes(recording?.bytes) + growing);
    const lasts = typeof recording?.secondsLeft === 'number' ? `, lasts ${roughly(recording.secondsLeft)}` : '';
    this.#value('freeBytes', bytes(recording?.freeBytes) + lasts, recording?.secondsLeft < 600);
  }

  #showInterruptions(state) {
    const lost = state.reconnections?.count ?? 0;
    this.#value(
      'reconnections',
      lost > 0 ? `${count(lost)}, ${roughly(state.reconnections.awaySeconds)}` : count(lost),
      lost > 0,
    );
    const stalls = state.stalls?.count ?? 0;
    this.#value(
      'stalls',
      stalls > 0 ? `${count(stalls)}, max ${decimal(state.stalls.longestSeconds, 1, 's')}` : count(stalls),
      stalls > 0,
    );
  }

  #row(field) {
    return this.#values.get(field).parentElement.parentElement;
  }

  #value(field, text, poor = false) {
    setValue(this.#values.get(field), text);
    setAttribute(this.#values.get(field).parentElement, 'data-poor', poor ? 'true' : null);
  }
}
