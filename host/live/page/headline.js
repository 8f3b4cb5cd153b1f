// @ts-check
// The line at the top: what goes on, in words that are read from a distance.

import { byId, setAttribute, setHidden, setText } from './dom.js';
import { icon } from './icons.js';
import { clockTime, duration, fullPlaceOf, placeOf, visible } from './text.js';

const words = {
  connecting: 'Connecting to tessel',
  opening: 'Looking for the gloves',
  recording: 'Recording to',
  streaming: 'Streaming, not recorded',
  unrecorded: 'Not recorded',
  away: 'Gloves lost, opening again',
  lost: 'No connection to tessel',
};

/** @type {Record<string, Parameters<typeof icon>[0]>} */
const icons = {
  connecting: 'turning',
  opening: 'search',
  recording: 'disc',
  streaming: 'waves',
  unrecorded: 'barred',
  away: 'warning',
  ended: 'square',
  failed: 'warning',
  lost: 'cross',
};

const sentences = (first, second) => (first === '' ? second : `${first}${/[.!?]$/.test(first) ? '' : '.'} ${second}`);

const whereTo = (layout) => (placeOf(layout) ? `Records go to ${fullPlaceOf(layout)}.` : 'Nothing is written.');
const whereFrom = (layout) => (placeOf(layout) ? `Recorded to ${fullPlaceOf(layout)}.` : 'Nothing was written.');

function ofEnd(layout, state, closed) {
  const kind = state.ending.exitCode === 0 ? 'ended' : 'failed';
  const detail = closed ? `${whereFrom(layout)} tessel is closed; this page shows the last of it.` : whereFrom(layout);
  return { kind, text: `Ended: ${visible(state.ending.text)}`, name: '', detail };
}

function ofAway(layout, state) {
  const left = state.reconnections?.secondsLeft;
  const text = typeof left === 'number' ? `${words.away}, ${Math.ceil(Math.max(0, left))} s left` : words.away;
  const goesOn = placeOf(layout)
    ? `Recording to ${placeOf(layout)} goes on when they are back.`
    : 'Nothing is written.';
  return { kind: 'away', text, name: '', detail: sentences(visible(state.text), goesOn) };
}

function ofReading(layout, state) {
  if (placeOf(layout)) return { kind: 'recording', text: words.recording, name: placeOf(layout), detail: '' };
  if (layout.command === 'stream') {
    return { kind: 'streaming', text: words.streaming, name: '', detail: 'The records go to the network only.' };
  }
  return {
    kind: 'unrecorded',
    text: words.unrecorded,
    name: '',
    detail: 'Nothing is written: records and markers are shown only.',
  };
}

function ofStandstill(layout, said) {
  const why = layout.gloves.length > 1 ? ' A record needs a frame of each glove.' : '';
  return { ...said, detail: `No records arrive.${why}` };
}

// What the line says. `connection`: {status: 'connecting' | 'open' | 'lost', reason, since: Date or null}; layout and
// state are null until they are known; `idle`: no records arrive. Pure.
export function headlineOf(connection, layout, state, idle = false) {
  if (state?.ending && layout) return ofEnd(layout, state, connection.status === 'lost');
  if (connection.status === 'lost') {
    const since = connection.since ? ` since ${clockTime(connection.since)}` : '';
    const old = state ? 'Whether tessel still records, its terminal shows.' : 'Is it running?';
    return {
      kind: 'lost',
      text: words.lost + since,
      name: '',
      detail: `${connection.reason || old} Trying again every second.`,
    };
  }
  if (!layout || !state) return { kind: 'connecting', text: words.connecting, name: '', detail: '' };
  if (state.phase === 'opening') {
    return { kind: 'opening', text: words.opening, name: '', detail: sentences(visible(state.text), whereTo(layout)) };
  }
  if (state.phase === 'away') return ofAway(layout, state);
  return idle ? ofStandstill(layout, ofReading(layout, state)) : ofReading(layout, state);
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
