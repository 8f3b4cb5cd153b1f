// @ts-check
// The line at the top: what goes on, in words that are read from across the room.

import { byId, icon, setAttribute, setHidden, setText } from './dom.js';
import { clockTime, duration, fileName, visible } from './text.js';

const words = {
  connecting: 'Connecting to tessel',
  opening: 'Looking for the gloves',
  recording: 'Recording to',
  streaming: 'Streaming, not recorded',
  unrecorded: 'Not recorded',
  away: 'Gloves lost, opening again',
  lost: 'No connection to tessel',
};

const icons = {
  connecting: ['M8 2a6 6 0 1 1-6 6h2a4 4 0 1 0 4-4z'],
  opening: ['M7 2a5 5 0 1 1-3 9l-2.6 2.6-1-1L3 10a5 5 0 0 1 4-8zm0 1.6a3.4 3.4 0 1 0 0 6.8 3.4 3.4 0 0 0 0-6.8z'],
  recording: ['M8 2a6 6 0 1 1 0 12A6 6 0 0 1 8 2z'],
  streaming: ['M8 6.5a1.5 1.5 0 1 1 0 3 1.5 1.5 0 0 1 0-3zM4.5 3.5l1.2 1.2a4.7 4.7 0 0 0 0 6.6l-1.2 1.2a6.4 6.4 0 0 1 0-9zm7 0a6.4 '
    + '6.4 0 0 1 0 9l-1.2-1.2a4.7 4.7 0 0 0 0-6.6z'],
  unrecorded: ['M8 1.5a6.5 6.5 0 1 1 0 13 6.5 6.5 0 0 1 0-13zm0 1.8a4.7 4.7 0 0 0-3.7 7.6l6.6-6.6A4.7 4.7 0 0 0 8 3.3zm3.7 '
    + '1.8-6.6 6.6a4.7 4.7 0 0 0 6.6-6.6z'],
  away: ['M8 1.2 15.4 14.4H.6zM7.1 5.8v4.4h1.8V5.8zm0 5.6v1.7h1.8v-1.7z'],
  ended: ['M3 3h10v10H3z'],
  failed: ['M8 1.2 15.4 14.4H.6zM7.1 5.8v4.4h1.8V5.8zm0 5.6v1.7h1.8v-1.7z'],
  lost: ['M3.6 2.4 8 6.8l4.4-4.4 1.2 1.2L9.2 8l4.4 4.4-1.2 1.2L8 9.2l-4.4 4.4-1.2-1.2L6.8 8 2.4 3.6z'],
};

const sentences = (first, second) => (first === '' ? second : `${first}${/[.!?]$/.test(first) ? '' : '.'} ${second}`);

const whereTo = (layout) => (layout.file ? `Records go to ${visible(layout.file)}.` : 'Nothing is written.');
const whereFrom = (layout) => (layout.file ? `Recorded to ${visible(layout.file)}.` : 'Nothing was written.');

function ofEnd(layout, state, closed) {
  const kind = state.ending.exitCode === 0 ? 'ended' : 'failed';
  const detail = closed ? `${whereFrom(layout)} tessel is closed; this page shows the last of it.` : whereFrom(layout);
  return { kind, text: `Ended: ${visible(state.ending.text)}`, name: '', detail };
}

function ofAway(layout, state) {
  const left = state.reconnections?.secondsLeft;
  const text = typeof left === 'number' ? `${words.away}, ${Math.ceil(Math.max(0, left))} s left` : words.away;
  const goesOn = layout.file ? `Recording to ${fileName(layout.file)} goes on when they are back.` : 'Nothing is written.';
  return { kind: 'away', text, name: '', detail: sentences(visible(state.text), goesOn) };
}

function ofReading(layout, state) {
  if (layout.file) return { kind: 'recording', text: words.recording, name: fileName(layout.file), detail: '' };
  if (layout.command === 'stream') {
    return { kind: 'streaming', text: words.streaming, name: '', detail: 'The records go to the network only.' };
  }
  return { kind: 'unrecorded', text: words.unrecorded, name: '',
    detail: 'Nothing is written: records and markers are shown only.' };
}

// What the line says. `connection`: {status: 'connecting' | 'open' | 'lost', reason, since: Date or null}; layout and state are null
// until they are known. Pure.
export function headlineOf(connection, layout, state) {
  if (state?.ending && layout) return ofEnd(layout, state, connection.status === 'lost');
  if (connection.status === 'lost') {
    const since = connection.since ? ` since ${clockTime(connection.since)}` : '';
    const old = state ? 'Whether tessel still records, its terminal shows.' : 'Is it running?';
    return { kind: 'lost', text: words.lost + since, name: '', detail: `${connection.reason || old} Trying again every second.` };
  }
  if (!layout || !state) return { kind: 'connecting', text: words.connecting, name: '', detail: '' };
  if (state.phase === 'opening') {
    return { kind: 'opening', text: words.opening, name: '', detail: sentences(visible(state.text), whereTo(layout)) };
  }
  return state.phase === 'away' ? ofAway(layout, state) : ofReading(layout, state);
}

export class Headline {
  #line = byId('headline');
  #icon = byId('headline-icon');
  #text = byId('headline-text');
  #name = byId('headline-name');
  #detail = byId('headline-detail');
  #time = byId('headline-time');
  #seconds = byId('headline-seconds');

  show(said, state) {
    if (this.#line.dataset.kind !== said.kind || !this.#icon.firstChild) {
      this.#line.dataset.kind = said.kind;
      this.#icon.replaceChildren(icon(icons[said.kind]));
    }
    setText(this.#text, said.text);
    setText(this.#name, said.name);
    setText(this.#detail, said.detail);
    setAttribute(this.#text.parentElement, 'title', said.name || null);
    const timed = typeof state?.seconds === 'number' && state.phase !== 'opening';
    setHidden(this.#time, !timed);
    if (timed) setText(this.#seconds, duration(state.seconds));
  }
}
