// @ts-check
// A card for each glove: whether it is there, how its radio is, and what became of each of its frames.

import { make, setAttribute, setHidden, setText, setValue } from './dom.js';
import { icon } from './icons.js';
import { capitalised, count, dash, decimal, percent, roughly, visible } from './text.js';

/** @type {Record<string, {word: string, icon: Parameters<typeof icon>[0]}>} */
const states = {
  opening: { word: 'opening', icon: 'turning' },
  connected: { word: 'connected', icon: 'check' },
  silent: { word: 'silent', icon: 'warning' },
  lost: { word: 'lost', icon: 'cross' },
  away: { word: 'opening again', icon: 'turning' },
};

// A state that this page doesn't know is shown as it is.
const stateOf = (state) => states[state] ?? { word: visible(state), icon: 'none' };

export const stateWord = (state) => stateOf(state).word;

// What became of a lost frame, in the order in which the causes apply; docs/books.md has them in full.
const causes = [
  [
    'unheard',
    'not heard',
    'Sent by the glove, as later frames show, but nothing of it was heard. Move the dongle closer.',
  ],
  ['radio', 'incomplete', 'A part of the frame was lost on the radio.'],
  ['refused', 'out of order', 'Heard whole, but not accepted, since a packet came twice or out of order.'],
  ['faulty', 'too short', 'Shorter than a record needs, or to be paired with such a frame.'],
  [
    'pairing',
    'not paired',
    'Left out because the frames of one glove piled up while those of the other one did not come.',
  ],
  ['queued', 'left waiting', 'Still waited for the other glove when the gloves were lost or the recording ended.'],
  ['discarded', 'not written', 'Arrived, but could not be written, because the disk was full for example.'],
];

const fields = [
  ['battery', 'Battery', 'Charge of the glove'],
  ['framesPerSecond', 'Sends', 'Frames that the glove sent, over the last two seconds'],
  ['lostShareNow', 'Lost now', 'Share of the frames of the last ten seconds that are in no record'],
  ['latencyMs', 'Latency', 'From sampling to arrival, apart from a constant delay; mean over the last second'],
  ['gaps', 'Gaps', 'Places in the recording where frames of this glove are missing, and the longest of them'],
  ['sensorFaults', 'Sensor faults', 'Sensors whose fault the glove reported when it was opened'],
];

// From which on tessel warns.
const lowBattery = 0.25;
const muchLost = 0.05;

const positive = (value) => typeof value === 'number' && value > 0;

// From 0 (empty) to 4 (full), for the picture of the battery.
const bars = (battery) =>
  typeof battery === 'number' ? String(Math.max(0, Math.min(4, Math.ceil(battery * 4)))) : null;

class GloveCard {
  element;
  #state = make('p', { class: 'glove-state' });
  #sign = make('span');
  #word = make('span', { 'data-field': 'state' });
  #module = make('bdi', { 'data-field': 'module', class: 'glove-module' });
  #text = make('p', { 'data-field': 'text', class: 'glove-text', dir: 'auto' });
  #values = new Map();
  #signal = make('p', { class: 'glove-text' }, 'heard, signal ');
  #rssi = make('span', { 'data-field': 'rssi' });
  #longest = make('span', { 'data-field': 'longestGapMs' });
  #lost = new Map();
  #total = make('span', { 'data-field': 'lostTotal', class: 'number' });
  #share = make('span', { 'data-field': 'lostShare', class: 'number' });
  #sent = make('span', { 'data-field': 'sent', class: 'number' });
  #recorded = make('span', { 'data-field': 'recorded', class: 'number' });
  #causes = make('p', { class: 'glove-causes' });

  constructor(label) {
    this.#state.append(this.#sign, this.#word);
    const title = make('h2', {}, make('bdi', {}, capitalised(visible(label))));
    const values = make('dl', { class: 'values' });
    for (const [field, name, meaning] of fields) {
      const value = make('span', { 'data-field': field });
      this.#values.set(field, value);
      const all = make('dd', {}, value);
      if (field === 'gaps') all.append(this.#longest);
      values.append(make('div', { title: meaning }, make('dt', {}, name), all));
    }
    this.#signal.append(this.#rssi);
    this.element = make(
      'section',
      { class: 'panel glove', 'data-glove': label, 'aria-label': `${capitalised(visible(label))} glove` },
      make('div', { class: 'panel-head' }, title, this.#module, this.#state),
      this.#text,
      this.#signal,
      values,
      this.#books(),
    );
  }

  #books() {
    const list = make('dl', { class: 'causes' });
    for (const [cause, name, meaning] of causes) {
      const value = make('span', { 'data-cause': cause });
      this.#lost.set(cause, value);
      list.append(
        make(
          'div',
          {},
          make('dt', {}, name),
          make('dd', { class: 'number' }, value),
          make('dd', { class: 'meaning' }, meaning),
        ),
      );
    }
    return make(
      'details',
      { class: 'books' },
      make('summary', {}, 'Lost in all ', this.#total, ' (', this.#share, ')', this.#causes),
      make(
        'p',
        { class: 'glove-text' },
        'Sent ',
        this.#sent,
        ', recorded ',
        this.#recorded,
        '. Each lost frame under one cause:',
      ),
      list,
    );
  }

  show(glove) {
    const state = stateOf(glove.state);
    if (this.element.dataset.state !== glove.state) {
      setAttribute(this.element, 'data-state', String(glove.state));
      this.#sign.replaceChildren(icon(state.icon));
      setText(this.#word, state.word);
    }
    const module = visible(glove.module);
    setText(this.#module, module);
    setAttribute(this.#module, 'title', module);
    const text = visible(glove.text);
    setText(this.#text, text);
    const isHeard = typeof glove.rssi === 'number';
    setHidden(this.#text, text === '' || isHeard);
    setHidden(this.#signal, !isHeard);
    setValue(this.#rssi, decimal(glove.rssi, 0, 'dBm'));
    this.#showValues(glove);
    this.#showBooks(glove);
  }

  #showValues(glove) {
    this.#value(
      'battery',
      typeof glove.battery === 'number' ? `${Math.round(glove.battery * 100)} %` : dash,
      glove.battery !== null && glove.battery < lowBattery,
    );
    setAttribute(this.#values.get('battery'), 'data-bars', bars(glove.battery));
    this.#value('framesPerSecond', decimal(glove.framesPerSecond, 1, '/s'));
    this.#value('lostShareNow', percent(glove.lostShareNow), glove.lostShareNow > muchLost);
    this.#value('latencyMs', decimal(glove.latencyMs, 1, 'ms'));
    this.#value('gaps', count(glove.gaps));
    setText(this.#longest, positive(glove.gaps) && positive(glove.longestGapMs) ? longest(glove.longestGapMs) : '');
    this.#value('sensorFaults', count(glove.sensorFaults), positive(glove.sensorFaults));
  }

  #value(field, text, poor = false) {
    const element = this.#values.get(field);
    setValue(element, text);
    setAttribute(element.parentElement, 'data-poor', poor ? 'true' : null);
  }

  #showBooks(glove) {
    setValue(this.#total, count(glove.lostTotal));
    setValue(this.#share, percent(glove.lostShare));
    setValue(this.#sent, count(glove.sent));
    setValue(this.#recorded, count(glove.recorded));
    const some = [];
    for (const [cause, name] of causes) {
      const lost = glove.lost?.[cause];
      setValue(this.#lost.get(cause), count(lost));
      if (positive(lost)) some.push(`${name} ${count(lost)}`);
    }
    setText(this.#causes, some.join(', '));
  }
}

const longest = (ms) =>
  `, max ${ms < 1000 ? `${Math.round(ms)} ms` : ms < 10000 ? `${(ms / 1000).toFixed(1)} s` : roughly(ms / 1000)}`;

export class Gloves {
  #container;
  #cards = new Map();
  #none = make('p', { class: 'panel none' }, 'The gloves are not known yet.');

  constructor(container) {
    this.#container = container;
    container.append(this.#none);
  }

  // `gloves`: of a state.
  show(gloves) {
    const labels = gloves.map((glove) => String(glove.label));
    if (labels.join('\n') !== [...this.#cards.keys()].join('\n')) this.#rebuild(labels);
    for (const glove of gloves) this.#cards.get(String(glove.label)).show(glove);
  }

  #rebuild(labels) {
    this.#cards = new Map(labels.map((label) => [label, new GloveCard(label)]));
    const cards = [...this.#cards.values()].map((card) => card.element);
    this.#container.replaceChildren(...(cards.length > 0 ? cards : [this.#none]));
  }
}
