// @ts-check
// Hands, curves and the table of values: what is drawn when and how, and not while it is frozen.

import { byId, elementById, setAttribute, setHidden, setText } from './dom.js';
import { Clock } from './clock.js';
import { Curves } from './curves.js';
import { stateWord } from './gloves.js';
import { Hands } from './hands.js';
import { Pace } from './pace.js';
import { isCount, maxCount, rangeOf, scaleError } from './scale.js';
import { choice, choose } from './settings.js';
import { Values } from './values.js';

const intervalMs = 33;
const calmIntervalMs = 250;
const heldIntervalMs = 1000;
// In pixels, about as wide as they usually are.
const curvesWidth = 500;
const historyMs = 5000;

// Whether a picture has the gloves of this layout, with all elements and regions.
function fits(picture, layout) {
  return (
    picture.gloves.length === layout.gloves.length &&
    picture.gloves.every(
      (values, at) =>
        values.elements.length === layout.gloves[at].count &&
        values.regions.length === layout.gloves[at].regions.length,
    )
  );
}

// Null if it can't be had: the curves then begin now.
async function fetchHistory() {
  try {
    const response = await fetch('/api/history', { cache: 'no-store', signal: AbortSignal.timeout(historyMs) });
    return response.ok ? await response.json() : null;
  } catch {
    return null;
  }
}

export class Pictures {
  #hands;
  #curves;
  #values = new Values();
  #clock = new Clock();
  #layout = { gloves: [] };
  #picture = null;
  #shown = null;
  #pictureAt = 0;
  #frozenAt = Number.NaN;
  // Nothing more comes: the curves stand still at this time.
  #heldAt = Number.NaN;
  #handsPace = new Pace();
  #curvesPace = new Pace();
  #seconds = 30;
  #calm = window.matchMedia('(prefers-reduced-motion: reduce)');
  #low = elementById('scale-low', HTMLInputElement);
  #high = elementById('scale-high', HTMLInputElement);
  #fixed = elementById('scale-fixed', HTMLInputElement);

  // `onReading`: {glove, element, region, value} under the pointer, or null.
  constructor(onReading) {
    this.#hands = new Hands(byId('hands'), { onPointer: onReading });
    this.#curves = new Curves(byId('curves'));
    this.#chooseScale();
    this.#chooseSeconds();
    requestAnimationFrame(() => this.#draw());
  }

  // Everything from the start: the stream begins, or other gloves came. `picture`: the newest, or null.
  async begin(layout, picture) {
    this.#layout = layout;
    this.#picture = null;
    this.#clock.reset();
    this.#hands.setLayout(layout);
    this.#curves.setLayout(layout);
    this.#values.setLayout(layout);
    this.#pictureAt = performance.now();
    if (picture) this.add(picture);
    const history = await fetchHistory();
    if (!history || this.#layout !== layout) return;
    this.#curves.setHistory(history);
    this.#curvesPace.hurry();
  }

  // How long no picture has come.
  get silentMs() {
    return performance.now() - this.#pictureAt;
  }

  add(picture) {
    this.#pictureAt = performance.now();
    if (!fits(picture, this.#layout) || (this.#picture && picture.ms <= this.#picture.ms)) return;
    this.#picture = picture;
    this.#curves.add(picture);
  }

  // A state arrived: its time moves the curves on even when no records come.
  heard(state) {
    this.#clock.heard(state.ms, performance.now());
    this.#curves.setEvents(state.events);
  }

  // What a glove shows while nothing comes from it is old: it is marked at its pictures.
  showStates(gloves) {
    for (const figure of /** @type {NodeListOf<HTMLElement>} */ (document.querySelectorAll('.picture figure'))) {
      const state = gloves.find((glove) => glove.label === figure.dataset.glove)?.state ?? null;
      setAttribute(figure, 'data-state', state);
      setAttribute(figure.firstElementChild, 'data-word', state && state !== 'connected' ? stateWord(state) : null);
    }
  }

  get frozen() {
    return !Number.isNaN(this.#frozenAt);
  }

  freeze(frozen) {
    const now = Number.isNaN(this.#heldAt) ? this.#clock.at(performance.now()) : this.#heldAt;
    this.#frozenAt = frozen ? now : Number.NaN;
    this.#curves.freeze(frozen);
    this.#curvesPace.hurry();
  }

  // Whether nothing more comes, because the recording has ended or the connection is lost.
  hold(held) {
    if (held === !Number.isNaN(this.#heldAt)) return;
    this.#heldAt = held ? (this.#picture?.ms ?? this.#clock.at(performance.now())) : Number.NaN;
    this.#curvesPace.hurry();
  }

  // The colours of the page have changed.
  redraw() {
    this.#hands.redraw();
    this.#curves.redraw();
  }

  #draw() {
    requestAnimationFrame(() => this.#draw());
    if (this.frozen) return;
    const begin = performance.now();
    if (this.#picture && this.#picture !== this.#shown && this.#handsPace.due(begin)) this.#drawHands(begin);
    if (this.#curvesPace.due(begin)) this.#drawCurves();
  }

  #drawHands(begin) {
    this.#shown = this.#picture;
    this.#hands.show(this.#picture);
    this.#values.show(this.#picture, begin);
    this.#handsPace.drawn(begin, performance.now(), intervalMs);
  }

  // Not more often than they move by a pixel.
  #drawCurves() {
    const begin = performance.now();
    const held = !Number.isNaN(this.#heldAt);
    const now = held ? this.#heldAt : this.#clock.at(begin);
    if (Number.isNaN(now)) return;
    this.#curves.draw(now);
    const stepMs = Math.max(intervalMs, (1000 * this.#seconds) / curvesWidth);
    const interval = held ? heldIntervalMs : this.#calm.matches ? calmIntervalMs : stepMs;
    this.#curvesPace.drawn(begin, performance.now(), interval);
  }

  #chooseSeconds() {
    const select = elementById('curve-seconds', HTMLSelectElement);
    select.value = choice('seconds', select.value, (kept) =>
      [...select.options].some((option) => option.value === kept),
    );
    const apply = () => {
      this.#seconds = Number(select.value);
      this.#curves.setSeconds(this.#seconds);
      if (this.frozen) this.#curves.draw(this.#frozenAt);
    };
    select.addEventListener('change', () => {
      choose('seconds', select.value);
      apply();
    });
    apply();
  }

  #chooseScale() {
    const automatic = elementById('scale-automatic', HTMLInputElement);
    const fixed = this.#fixed;
    this.#low.value = choice('scale.low', '', isCount);
    this.#high.value = choice('scale.high', '', isCount);
    const kept = choice('scale', 'automatic', (mode) => mode === 'automatic' || mode === 'fixed');
    fixed.checked = kept === 'fixed';
    automatic.checked = !fixed.checked;
    for (const input of [automatic, fixed]) {
      input.addEventListener('change', () => {
        choose('scale', fixed.checked ? 'fixed' : 'automatic');
        this.#applyScale(fixed.checked);
      });
    }
    for (const input of [this.#low, this.#high]) {
      input.addEventListener('input', () => this.#checkScale());
      input.addEventListener('change', () => this.#applyScale(true));
    }
    this.#applyScale(fixed.checked);
  }

  #applyScale(fixed) {
    setHidden(byId('scale-limits'), !fixed);
    if (fixed && this.#low.value === '' && this.#high.value === '') {
      const range = rangeOf(this.#picture);
      this.#low.value = String(range.low);
      this.#high.value = String(range.high);
    }
    const usable = this.#checkScale();
    if (!fixed) this.#hands.setScale({ mode: 'automatic', low: 0, high: maxCount });
    if (!fixed || !usable) return;
    choose('scale.low', this.#low.value);
    choose('scale.high', this.#high.value);
    this.#hands.setScale({ mode: 'fixed', low: Number(this.#low.value), high: Number(this.#high.value) });
  }

  // Says what is wrong with the limits, while they are typed.
  #checkScale() {
    const error = this.#fixed.checked ? scaleError(this.#low.value, this.#high.value) : '';
    setText(byId('scale-error'), error);
    for (const input of [this.#low, this.#high]) setAttribute(input, 'aria-invalid', error ? 'true' : null);
    return error === '';
  }
}
