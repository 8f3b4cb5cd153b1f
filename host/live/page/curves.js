// @ts-check
// The regions over the last seconds: a plot for each glove, with the same colours and the same range in both, what
// happened as vertical lines, and the values under the cursor.

import { regionStyles, themeOf } from './colours.js';
import { make, setHidden, setText } from './dom.js';
import { followRange } from './range.js';
import { Ring } from './ring.js';
import { count, visible } from './text.js';

/** @typedef {import('./hands.js').Layout} Layout */
/** @typedef {import('./hands.js').Glove} Glove */
/** @typedef {{number: number, ms: number|null, event: string, glove: string, detail: string}} Event */

const longestSeconds = 120;
const picturesPerSecond = 30;
// The pictures of two minutes, and those that come a little faster.
const capacity = longestSeconds * picturesPerSecond * 1.1;
const pathMs = 5000;
const maxEvents = 200;
const narrowestRange = 50; // counts
const legendIntervalMs = 200;
const labelWidth = 110;
const fontSize = 11;
const eventsHeight = 18;

/** @type {Record<string, string>} */
const eventNames = { disconnected: 'lost', reconnected: 'back', stall: 'pause' };

/** As many seconds between the ticks as leave some space. @param {number} seconds @param {number} width */
function tickDistance(seconds, width) {
  return [1, 2, 5, 10, 20, 30, 60].find((distance) => (width * distance) / seconds >= 48) ?? 60;
}

/** @param {string} text @param {CanvasRenderingContext2D} context @param {number} width */
function shortened(text, context, width) {
  if (context.measureText(text).width <= width) return text;
  const letters = [...text].slice(0, 40);
  while (letters.length > 1 && context.measureText(`${letters.join('')}…`).width > width) letters.pop();
  return `${letters.join('')}…`;
}

/** One glove: its plot and the legend with the values. */
class Curve {
  figure;
  plot;
  #frame;
  #time = make('span', { class: 'curve-time' });
  /** @type {HTMLElement[]} */
  #values = [];
  #cursor = make('div', { class: 'curve-cursor', hidden: true });
  #owner;

  /**
   * @param {Curves} owner
   * @param {Glove} glove
   * @param {number} first column of the ring
   */
  constructor(owner, glove, first) {
    this.#owner = owner;
    this.glove = glove;
    this.first = first;
    this.#frame = make('div', { class: 'curve-frame', role: 'img', tabindex: 0 });
    this.#frame.setAttribute('aria-description', 'Left and right arrow keys read values, Escape ends.');
    this.figure = make('figure', { class: 'curve', 'data-glove': glove.label });
    this.figure.append(
      make('figcaption', { class: 'curve-name' }, `${visible(glove.label)} `, this.#time),
      this.#frame,
      this.#legend(),
    );
    Object.assign(this.#time.style, { fontVariantNumeric: 'tabular-nums', textTransform: 'none' });
    Object.assign(this.figure.style, { margin: '0', minWidth: '0' });
    this.#frame.style.minWidth = '0';
    Object.assign(this.#cursor.style, { position: 'absolute', top: '0', height: '100%', pointerEvents: 'none' });
    this.#frame.addEventListener('keydown', (event) => owner.press(this, event));
    this.#frame.addEventListener('blur', () => owner.pointAt(null));
    this.describe();
  }

  describe() {
    const { length } = this.glove.regions;
    const what = this.glove.hasRegions ? `${length} regions` : 'the mean of all elements';
    this.#frame.setAttribute(
      'aria-label',
      `${this.glove.label} glove: ${what} over the last ${this.#owner.seconds} seconds`,
    );
  }

  /** Only when the container is on the page: the plot has its width. */
  open() {
    const owner = this.#owner;
    const axis = (/** @type {object} */ more) => ({
      stroke: () => owner.theme.muted,
      font: `${fontSize}px ${owner.theme.font}`,
      grid: { stroke: () => owner.theme.line, width: 1 },
      ticks: { stroke: () => owner.theme.line, width: 1, size: 4 },
      ...more,
    });
    const { width, height } = this.#size();
    this.plot = new window.uPlot(
      {
        width,
        height,
        padding: [eventsHeight, 14, 0, 0],
        legend: { show: false },
        cursor: { show: false },
        scales: { x: { time: false, auto: false }, y: { auto: false } },
        axes: [
          axis({ size: 26, splits: () => owner.ticks(this.plot), values: () => owner.tickTexts(this.plot) }),
          axis({ size: 52, values: (/** @type {any} */ _plot, /** @type {number[]} */ ticks) => ticks.map(count) }),
        ],
        series: [{}, ...this.glove.regions.map(({ name }) => this.#series(name))],
        hooks: { draw: [(/** @type {any} */ plot) => this.#drawEvents(plot)] },
      },
      this.#columns(),
      this.#frame,
    );
    this.plot.over.append(this.#cursor);
    this.plot.over.style.touchAction = 'pan-y';
    const follow = (/** @type {PointerEvent} */ event) => {
      const box = this.plot.over.getBoundingClientRect();
      const share = Math.max(0, Math.min((event.clientX - box.left) / box.width, 1));
      owner.pointAt(owner.seconds * (1 - share));
    };
    this.plot.over.addEventListener('pointermove', follow);
    this.plot.over.addEventListener('pointerdown', follow);
    this.plot.over.addEventListener('pointerleave', (/** @type {PointerEvent} */ event) => {
      // A finger that is lifted leaves the values to be read.
      if (event.pointerType !== 'touch') owner.pointAt(null);
    });
  }

  /** @param {number|null} secondsAgo */
  showCursor(secondsAgo) {
    setHidden(this.#cursor, secondsAgo === null);
    if (secondsAgo === null) return;
    const { seconds, theme } = this.#owner;
    this.#cursor.style.left = `${100 * (1 - secondsAgo / seconds)}%`;
    this.#cursor.style.borderLeft = `1px dashed ${theme.muted}`;
  }

  /** @param {EventTarget|null} target */
  contains(target) {
    return target instanceof Node && this.figure.contains(target);
  }

  close() {
    this.plot?.destroy();
  }

  fit() {
    const { width, height } = this.#size();
    if (width !== this.plot.width || height !== this.plot.height) this.plot.setSize({ width, height });
  }

  /** @param {{min: number, max: number}} x @param {{min: number, max: number}} y */
  draw(x, y) {
    this.plot.batch(() => {
      this.plot.setData(this.#columns(), false);
      this.plot.setScale('x', x);
      this.plot.setScale('y', y);
    });
  }

  /** The record whose values are shown; null: none. @param {number|null} index @param {string} time */
  showValues(index, time) {
    setText(this.#time, time);
    this.#values.forEach((value, region) => {
      setText(value, index === null ? '–' : count(this.valueOf(region, index)));
    });
  }

  /** @param {number} region @param {number} index */
  valueOf(region, index) {
    return this.#owner.ring.column(this.first + region)[index];
  }

  /** The values that are shown, for those who listen. */
  get spoken() {
    const values = this.glove.regions.map(({ name }, region) => `${visible(name)} ${this.#values[region].textContent}`);
    return `${this.glove.label}, ${this.#time.textContent}: ${values.join(', ')}`;
  }

  #size() {
    const width = Math.max(120, this.#frame.clientWidth);
    return { width, height: Math.round(Math.max(150, Math.min(0.4 * width, 240))) };
  }

  #columns() {
    const { ring } = this.#owner;
    return [ring.times(), ...this.glove.regions.map((_, region) => ring.column(this.first + region))];
  }

  /** @param {string} name */
  #series(name) {
    const owner = this.#owner;
    const { colour, dash } = owner.styleOf(name);
    return {
      label: name,
      width: 1.5,
      dash,
      stroke: () => colour ?? owner.theme.text,
      points: { show: false },
      gaps: (/** @type {any} */ plot) =>
        owner.ring.gaps.map((gap) => gap.map((ms) => Math.round(plot.valToPos(ms, 'x', true)))),
    };
  }

  #legend() {
    const items = this.glove.regions.map(({ name }) => {
      const swatch = make('span', { class: 'curve-swatch', 'aria-hidden': 'true' });
      const { colour, dash } = this.#owner.styleOf(name);
      Object.assign(swatch.style, {
        flex: 'none',
        width: '1.1rem',
        marginRight: '0.3rem',
        borderTop: `3px ${dash.length > 0 ? 'dashed' : 'solid'} ${colour ?? 'currentColor'}`,
      });
      const value = make('span', { class: 'curve-value' });
      Object.assign(value.style, {
        flex: 'none',
        minWidth: '3.6em',
        textAlign: 'right',
        fontVariantNumeric: 'tabular-nums',
      });
      this.#values.push(value);
      const text = make('span', { title: visible(name) }, `${visible(name)} `);
      Object.assign(text.style, { overflow: 'hidden', textOverflow: 'ellipsis' });
      const item = make('li', {}, swatch, text, value);
      Object.assign(item.style, { display: 'flex', alignItems: 'center', minWidth: '0', whiteSpace: 'nowrap' });
      return item;
    });
    const list = make('ul', { class: 'curve-legend' }, ...items);
    Object.assign(list.style, {
      display: 'grid',
      gridTemplateColumns: 'repeat(auto-fill, minmax(8.5rem, 1fr))',
      gap: '0 0.9rem',
      margin: '0',
      padding: '0',
      listStyle: 'none',
      fontSize: '0.85rem',
    });
    return list;
  }

  /** Vertical lines, with as many texts above the curves as there is space for, the newest first. @param {any} plot */
  #drawEvents(plot) {
    const { theme, events } = this.#owner;
    const context = /** @type {CanvasRenderingContext2D} */ (plot.ctx);
    const ratio = window.devicePixelRatio || 1;
    const { left, top, width, height } = plot.bbox;
    context.save();
    context.font = `${fontSize * ratio}px ${theme.font}`;
    context.textAlign = 'left';
    context.textBaseline = 'bottom';
    context.lineWidth = ratio;
    let free = left + width; // what is left of this has no text yet
    for (let index = events.length - 1; index >= 0; --index) {
      const event = events[index];
      const x = plot.valToPos(event.ms, 'x', true);
      if (x < left) break;
      if (x > left + width || (event.glove !== '' && event.glove !== this.glove.label)) continue;
      const isMarker = event.event === 'marker';
      context.strokeStyle = isMarker ? theme.marker : theme.alarm;
      context.setLineDash(isMarker ? [] : [4 * ratio, 3 * ratio]);
      context.beginPath();
      context.moveTo(x, top - 3 * ratio);
      context.lineTo(x, top + height);
      context.stroke();
      const text = isMarker ? event.detail : (eventNames[event.event] ?? event.event);
      const label = shortened(visible(text), context, labelWidth * ratio);
      const labelWidthNow = context.measureText(label).width;
      const labelLeft = Math.min(x, left + width - labelWidthNow);
      if (labelLeft + labelWidthNow > free) continue;
      context.fillStyle = theme.text;
      context.fillText(label, labelLeft, top - 4 * ratio);
      free = labelLeft - 6 * ratio;
    }
    context.restore();
  }
}

export class Curves {
  seconds = 30;
  theme;
  ring = new Ring(0, 1); // what is drawn
  /** @type {Event[]} those with a time, oldest first */
  events = [];

  #container;
  #plots = make('div', { class: 'curves-plots' });
  #announcement = make('div', { class: 'visually-hidden', 'aria-live': 'polite' });
  /** @type {Curve[]} */
  #curves = [];
  #styles = regionStyles([]);
  #layoutText = '';
  #arriving = this.ring; // the same, but while the picture is frozen
  #nowMs = 0;
  /** @type {import('./range.js').Range|null} */
  #range = null;
  // Where values are read, in seconds before now.
  /** @type {number|null} */
  #pointer = null;
  #legendMs = -Infinity;

  /**
   * @param {HTMLElement} container
   */
  constructor(container) {
    this.#container = container;
    this.theme = themeOf(container);
    Object.assign(this.#plots.style, { display: 'grid', gap: '0.75rem', minWidth: '0' });
    container.append(this.#plots, this.#announcement);
    if (this.#isMissing()) {
      this.#plots.append(make('p', {}, 'The curves can\'t be drawn: /uPlot.iife.min.js did not load. Reload the page.'));
      return;
    }
    new ResizeObserver(() => this.#curves.forEach((curve) => curve.fit())).observe(this.#plots);
    document.addEventListener('pointerdown', (event) => {
      if (!this.#curves.some((curve) => curve.contains(event.target))) this.pointAt(null);
    });
  }

  #isMissing() {
    return typeof window.uPlot !== 'function';
  }

  /** @param {Layout} layout */
  setLayout(layout) {
    const gloves = layout.gloves.map(({ label, regions, hasRegions }) => [label, hasRegions, regions.map(({ name }) => name)]);
    const text = JSON.stringify(gloves);
    if (this.#isMissing() || text === this.#layoutText) return;
    this.#layoutText = text;
    this.#curves.forEach((curve) => curve.close());
    this.#styles = regionStyles(layout.gloves);
    this.#arriving = new Ring(layout.gloves.reduce((sum, { regions }) => sum + regions.length, 0), capacity);
    this.ring = this.#arriving;
    this.#pointer = null;
    this.#range = null;
    let first = 0;
    this.#curves = layout.gloves.map((glove) => {
      const curve = new Curve(this, glove, first);
      first += glove.regions.length;
      return curve;
    });
    this.#plots.replaceChildren(...this.#curves.map(({ figure }) => figure));
    this.#curves.forEach((curve) => curve.open());
  }

  /** @param {{ms: number[], gloves: {regions: number[][]}[]}} history */
  setHistory(history) {
    if (!this.#fits(history.gloves)) return;
    const columns = history.gloves.flatMap(({ regions }) => regions);
    const later = this.#arriving.copy();
    this.#arriving.clear();
    history.ms.forEach((ms, index) => this.#arriving.push(ms, (column) => columns[column][index]));
    // Pictures may have come while the history was on its way, but not those of a program before it.
    const latest = history.ms.at(-1) ?? 0;
    later.times().forEach((ms, index) => {
      if (ms > latest && ms < latest + pathMs) this.#arriving.push(ms, (column) => later.column(column)[index]);
    });
  }

  /** @param {{ms: number, gloves: {regions: number[]}[]}} picture */
  add(picture) {
    if (!this.#fits(picture.gloves)) return;
    const values = picture.gloves.flatMap(({ regions }) => regions);
    this.#arriving.push(picture.ms, (column) => values[column]);
  }

  /** Those of before are kept as long as they are shown. @param {Event[]} events */
  setEvents(events) {
    const known = new Map(this.events.map(({ number, ms }) => [number, ms]));
    // The same number at another time: the program was started again.
    if (events.some(({ number, ms }) => known.has(number) && known.get(number) !== ms)) {
      this.events = [];
      known.clear();
    }
    const more = events.filter(({ ms, number }) => ms !== null && !known.has(number));
    if (more.length === 0) return;
    this.events = [...this.events, ...more].sort((a, b) => a.number - b.number).slice(-maxEvents);
  }

  /** @param {number} seconds */
  setSeconds(seconds) {
    this.seconds = Math.max(10, Math.min(seconds, longestSeconds));
    this.#range = null;
    this.pointAt(null);
    this.#curves.forEach((curve) => curve.describe());
    this.draw(this.#nowMs);
  }

  /**
   * Draws from then on what there is now, however long that is, while new records are kept for later.
   * @param {boolean} isFrozen
   */
  freeze(isFrozen) {
    this.ring = isFrozen ? this.#arriving.copy() : this.#arriving;
  }

  /** @param {number} nowMs by the clock of the records */
  draw(nowMs) {
    this.#nowMs = nowMs;
    if (this.#curves.length === 0) return;
    const from = nowMs - 1000 * this.seconds;
    this.#followValues(from, nowMs);
    const { low, high } = this.#range ?? { low: 0, high: narrowestRange };
    const margin = 0.06 * Math.max(high - low, narrowestRange);
    const y = { min: low - margin, max: Math.max(high, low + narrowestRange) + margin };
    for (const curve of this.#curves) curve.draw({ min: from, max: nowMs }, y);
    if (Math.abs(nowMs - this.#legendMs) >= legendIntervalMs) this.#showValues();
  }

  /** Reads the colours of the page and fits the plots to its width again. */
  redraw() {
    this.theme = themeOf(this.#container);
    for (const curve of this.#curves) {
      curve.fit();
      curve.plot.redraw(false, true);
    }
    this.draw(this.#nowMs);
  }

  /** @param {string} region */
  styleOf(region) {
    return this.#styles.get(region) ?? { colour: null, dash: [] };
  }

  /** In seconds before now, so that they stand still while the curves move. @param {any} plot */
  ticks(plot) {
    const distance = tickDistance(this.seconds, plot.width);
    const ticks = [];
    for (let ago = Math.floor(this.seconds / distance) * distance; ago >= 0; ago -= distance) {
      ticks.push(plot.scales.x.max - 1000 * ago);
    }
    return ticks;
  }

  /** @param {any} plot */
  tickTexts(plot) {
    return this.ticks(plot).map((ms) => {
      const ago = Math.round((plot.scales.x.max - ms) / 1000);
      return ago === 0 ? 'now' : `−${ago} s`;
    });
  }

  /** Reads the values of that moment. @param {number|null} secondsAgo */
  pointAt(secondsAgo) {
    if (secondsAgo === this.#pointer) return;
    this.#pointer = secondsAgo;
    for (const curve of this.#curves) curve.showCursor(secondsAgo);
    this.#showValues();
  }

  /** @param {Curve} curve @param {KeyboardEvent} event */
  press(curve, event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const step = this.seconds / 60;
    const ago = this.#pointer ?? 0;
    if (event.key === 'Escape' && this.#pointer !== null) this.pointAt(null);
    else if (event.key === 'ArrowLeft') this.pointAt(Math.min(ago + step, this.seconds));
    else if (event.key === 'ArrowRight') this.pointAt(Math.max(ago - step, 0));
    else return;
    setText(this.#announcement, this.#pointer === null ? '' : curve.spoken);
    event.preventDefault();
    event.stopPropagation();
  }

  /** @param {readonly {regions: readonly unknown[]}[]} gloves */
  #fits(gloves) {
    return (
      gloves.length === this.#curves.length &&
      gloves.every(({ regions }, index) => regions.length === this.#curves[index].glove.regions.length)
    );
  }

  /** @param {number} from @param {number} nowMs */
  #followValues(from, nowMs) {
    const begin = this.ring.countBefore(from);
    let [low, high] = [Infinity, -Infinity];
    for (let column = 0; column < this.ring.width; ++column) {
      const values = this.ring.column(column);
      for (let index = begin; index < values.length; ++index) {
        if (values[index] < low) low = values[index];
        if (values[index] > high) high = values[index];
      }
    }
    // The seconds that are shown are reason enough to stay as wide.
    if (low <= high) this.#range = followRange(this.#range, low, high, nowMs, { holdMs: 0, narrowMs: 700 });
  }

  #showValues() {
    this.#legendMs = this.#nowMs;
    const ago = this.#pointer;
    const latest = this.ring.length > 0 ? this.ring.length - 1 : null;
    const index = ago === null ? latest : this.ring.nearest(this.#nowMs - 1000 * ago);
    const time = ago === null ? '' : `${ago.toFixed(1)} s ago`;
    for (const curve of this.#curves) curve.showValues(index, time);
  }
}
