// @ts-check
// The hands as heat maps: a canvas for each glove, a scale of colours for both, and the value of the element under
// the pointer or reached by the arrow keys. Where the layout has no positions, the elements are in rows.

import { colourIndex, colourTable, themeOf } from './colours.js';
import { make, setHidden, setText } from './dom.js';
import { cellSizes, elementAt, extentOf, gridOf, hullOf, neighbourOf } from './geometry.js';
import { followRange, shownRange } from './range.js';
import { count, visible } from './text.js';

/** @typedef {{label: string, module: string, count: number, hasPositions: boolean, hasRegions: boolean,
 *   positions: [number, number][], regions: {name: string, elements: number[]}[]}} Glove */
/** @typedef {{gloves: Glove[], colours: string[]}} Layout */
/** @typedef {{ms: number, gloves: {elements: number[]}[]}} Picture */
/** @typedef {{glove: string, element: number, region: string, value: number|null}} Reading */

// In counts. Gloves at rest have noise of some tens.
const narrowestRange = 200;
const legendIntervalMs = 250;
const labelIntervalMs = 5000;
const nameFontSize = 11;
const nameHeight = 16;
const highestHand = 420; // pixels
const outlineWidth = 1.9;

/** @type {Record<string, [number, number]>} */
const directions = { ArrowUp: [0, 1], ArrowDown: [0, -1], ArrowLeft: [-1, 0], ArrowRight: [1, 0] };

/** @typedef {{left: number, top: number, width: number, height: number}} Box */

/** @param {Box} a @param {Box} b */
function overlap(a, b) {
  return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height && b.top < a.top + a.height;
}

/** One glove: where its elements are on its canvas. */
class Hand {
  figure = make('figure', { class: 'hand' });
  canvas = make('canvas', {
    class: 'hand-canvas',
    role: 'img',
    tabindex: 0,
    'aria-description': 'Arrow keys read single elements, Escape ends.',
  });
  sizes;
  extent;
  positions;
  /** @type {number[]} the latest values; empty before the first */
  values = [];
  // The element under the pointer.
  /** @type {number|null} */
  selected = null;
  labelMs = -Infinity;

  #background = document.createElement('canvas');
  /** @type {Path2D[]} */
  #cells = [];
  #scale = 1; // pixels of the page per mm
  #left = 0; // x of 0 mm
  #top = 0; // y of 0 mm
  #regionOf;

  /** @param {Glove} glove */
  constructor(glove) {
    this.glove = glove;
    this.figure.dataset.glove = glove.label;
    Object.assign(this.canvas.style, { display: 'block', width: '100%', touchAction: 'manipulation' });
    this.figure.append(make('figcaption', { class: 'hand-name' }, visible(glove.label)), this.canvas);
    this.positions = glove.hasPositions ? glove.positions : gridOf(glove.count);
    this.sizes = cellSizes(this.positions, glove.hasPositions ? glove.regions : [this.#everything()]);
    this.extent = extentOf(this.positions, this.sizes);
    /** @type {{name: string, number: number}[]} */
    this.#regionOf = new Array(glove.count);
    for (const { name, elements } of glove.regions) {
      elements.forEach((element, number) => {
        this.#regionOf[element] = { name: visible(name), number };
      });
    }
    this.describe(-Infinity);
  }

  #everything() {
    return { name: '', elements: Array.from({ length: this.glove.count }, (_, element) => element) };
  }

  /** @param {number} element */
  regionOf(element) {
    return this.#regionOf[element]?.name ?? '';
  }

  /** As columns of recordings are named. @param {number} element */
  nameOf(element) {
    if (!this.glove.hasRegions) return `${this.glove.label} element ${element}`;
    const { name, number } = this.#regionOf[element];
    return `${this.glove.label} ${name} ${String(number).padStart(2, '0')} (element ${element})`;
  }

  /** Keeps the region with the highest value in the label, but does not change it all the time. @param {number} ms */
  describe(ms) {
    if (ms - this.labelMs < labelIntervalMs && ms >= this.labelMs) return;
    this.labelMs = ms;
    const region = this.values.length > 0 ? this.regionOf(this.values.indexOf(Math.max(...this.values))) : '';
    const highest = this.glove.hasRegions && region !== '' ? `, highest at the ${region}` : '';
    this.canvas.setAttribute('aria-label', `${this.glove.label} glove: ${this.glove.count} elements${highest}`);
  }

  /** Pixels of the page per mm that this space allows. @param {number} width @param {number} height */
  scaleFor(width, height) {
    const names = this.glove.hasPositions ? 2 * nameHeight : 0;
    return Math.min(
      width / (this.extent.right - this.extent.left),
      (height - names) / (this.extent.high - this.extent.low),
    );
  }

  /**
   * Fits the canvas, and paints what does not change.
   * @param {number} scale
   * @param {number} width
   * @param {ReturnType<typeof themeOf>} theme
   */
  place(scale, width, theme) {
    const { left, right, low, high } = this.extent;
    const height = scale * (high - low) + (this.glove.hasPositions ? 2 * nameHeight : 0);
    const ratio = window.devicePixelRatio || 1;
    for (const canvas of [this.canvas, this.#background]) {
      canvas.width = Math.max(1, Math.round(width * ratio));
      canvas.height = Math.max(1, Math.round(height * ratio));
    }
    this.canvas.style.height = `${height}px`;
    this.#scale = scale;
    this.#left = width / 2 - (scale * (left + right)) / 2;
    this.#top = height / 2 + (scale * (low + high)) / 2;
    this.#cells = this.positions.map((_, element) => {
      const size = scale * this.sizes[element];
      const { x, y } = this.pointOf(element);
      const cell = new Path2D();
      cell.roundRect(x - size / 2, y - size / 2, size, size, 0.35 * size);
      return cell;
    });
    this.#paintBackground(width, height, theme);
  }

  /** On the canvas. @param {number} element */
  pointOf(element) {
    const [x, y] = this.positions[element];
    return { x: this.#left + this.#scale * x, y: this.#top - this.#scale * y };
  }

  /** @param {number} x @param {number} y on the canvas */
  elementAt(x, y) {
    const place = /** @type {[number, number]} */ ([(x - this.#left) / this.#scale, (this.#top - y) / this.#scale]);
    return elementAt(this.positions, this.sizes, place);
  }

  /**
   * @param {string[]} table
   * @param {{low: number, high: number}} range
   * @param {ReturnType<typeof themeOf>} theme
   */
  paint(table, range, theme) {
    const context = this.#contextOf(this.canvas);
    if (context === null) return;
    context.save();
    context.setTransform(1, 0, 0, 1, 0, 0);
    context.clearRect(0, 0, this.canvas.width, this.canvas.height);
    context.drawImage(this.#background, 0, 0);
    context.restore();
    for (let element = 0; element < this.values.length; ++element) {
      context.fillStyle = table[colourIndex(this.values[element], range.low, range.high)];
      context.fill(this.#cells[element]);
    }
    if (this.selected === null) return;
    context.lineWidth = 2;
    context.strokeStyle = theme.surface;
    context.stroke(this.#cells[this.selected]);
    context.lineWidth = 1.2;
    context.strokeStyle = theme.text;
    context.stroke(this.#cells[this.selected]);
  }

  /** @param {HTMLCanvasElement} canvas */
  #contextOf(canvas) {
    const context = canvas.getContext('2d');
    const ratio = window.devicePixelRatio || 1;
    context?.setTransform(ratio, 0, 0, ratio, 0, 0);
    return context;
  }

  /** @param {number} width @param {number} height @param {ReturnType<typeof themeOf>} theme */
  #paintBackground(width, height, theme) {
    const context = this.#contextOf(this.#background);
    if (context === null) return;
    if (this.glove.hasPositions) this.#paintOutlines(context, theme);
    context.fillStyle = theme.surface;
    context.strokeStyle = theme.muted;
    context.lineWidth = 0.5;
    for (const cell of this.#cells) {
      context.fill(cell);
      context.stroke(cell);
    }
    if (this.glove.hasPositions && this.glove.hasRegions) this.#paintNames(context, width, height, theme);
  }

  /** @param {CanvasRenderingContext2D} context @param {ReturnType<typeof themeOf>} theme */
  #paintOutlines(context, theme) {
    context.fillStyle = theme.line;
    context.strokeStyle = theme.line;
    context.lineJoin = 'round';
    context.lineCap = 'round';
    for (const { elements } of this.glove.regions) {
      if (elements.length === 0) continue;
      const outline = new Path2D();
      for (const [x, y] of hullOf(elements.map((element) => this.positions[element]))) {
        outline.lineTo(this.#left + this.#scale * x, this.#top - this.#scale * y);
      }
      // That of a single element would have no length, and not be drawn.
      const { x, y } = this.pointOf(elements[0]);
      if (elements.length === 1) outline.lineTo(x + 0.1, y);
      outline.closePath();
      // A wide line is the space around the cells.
      context.lineWidth = outlineWidth * this.#scale * this.sizes[elements[0]];
      context.fill(outline);
      context.stroke(outline);
    }
  }

  /**
   * At the first place of each region that is free.
   * @param {CanvasRenderingContext2D} context
   * @param {number} width @param {number} height
   * @param {ReturnType<typeof themeOf>} theme
   */
  #paintNames(context, width, height, theme) {
    context.font = `${nameFontSize}px ${theme.font}`;
    context.textAlign = 'center';
    context.textBaseline = 'middle';
    context.fillStyle = theme.muted;
    const taken = this.positions.map((_, element) => {
      const size = 1.3 * this.#scale * this.sizes[element];
      const { x, y } = this.pointOf(element);
      return { left: x - size / 2, top: y - size / 2, width: size, height: size };
    });
    for (const { name, elements } of this.glove.regions) {
      if (elements.length === 0) continue;
      const text = visible(name);
      const free = this.#placesFor(elements, context.measureText(text).width + 4).find(
        (place) =>
          place.left >= 0 &&
          place.left + place.width <= width &&
          place.top >= 0 &&
          place.top + place.height <= height &&
          !taken.some((other) => overlap(place, other)),
      );
      if (free === undefined) continue;
      context.fillText(text, free.left + free.width / 2, free.top + free.height / 2);
      taken.push(free);
    }
  }

  /**
   * Above the tip, below the base, to the left, to the right. What is at the bottom of the hand, as the palm, has
   * its name below, where no finger is.
   * @param {number[]} elements @param {number} width of the name
   */
  #placesFor(elements, width) {
    const points = elements.map((element) => this.pointOf(element));
    const cell = this.#scale * this.sizes[elements[0]];
    const space = 0.95 * cell;
    const height = nameFontSize + 2;
    const xs = points.map(({ x }) => x);
    const ys = points.map(({ y }) => y);
    const [top, bottom] = [Math.min(...ys), Math.max(...ys)];
    // Next to the middle of all elements that are about as far up or down.
    const beginning = (/** @type {number} */ y) => {
      const level = points.filter((point) => Math.abs(point.y - y) <= cell / 2);
      return level.reduce((sum, point) => sum + point.x, 0) / level.length - width / 2;
    };
    const middle = (top + bottom - height) / 2;
    const places = [
      { left: beginning(top), top: top - space - height, width, height },
      { left: beginning(bottom), top: bottom + space, width, height },
      { left: Math.min(...xs) - space - width, top: middle, width, height },
      { left: Math.max(...xs) + space, top: middle, width, height },
    ];
    const lowest = this.#top - this.#scale * Math.min(...this.positions.map(([, y]) => y));
    if (bottom >= lowest - cell / 2) places.unshift(...places.splice(1, 1));
    return places;
  }
}

export class Hands {
  #container;
  #onPointer;
  #row = make('div', { class: 'hands-row' });
  #note = make('p', { class: 'hands-note', hidden: true });
  #value = make('div', { class: 'hand-value', 'aria-hidden': 'true', hidden: true });
  #announcement = make('div', { class: 'visually-hidden', 'aria-live': 'polite' });
  #legend = make('div', { class: 'hands-scale' });
  #low = make('span', { class: 'hands-low' });
  #bar = make('canvas', { class: 'hands-bar', 'aria-hidden': 'true' });
  #high = make('span', { class: 'hands-high' });

  /** @type {Hand[]} */
  #hands = [];
  /** @type {string[]} */
  #table = colourTable([]);
  #layoutText = '';
  #width = 0;
  #theme;
  /** @type {import('./range.js').Range|null} */
  #seen = null;
  /** @type {{mode: 'automatic'|'fixed', low: number, high: number}} */
  #scale = { mode: 'automatic', low: 0, high: 65535 };
  #legendMs = -Infinity;
  /** @type {Hand|null} */
  #pointedAt = null;

  /**
   * @param {HTMLElement} container
   * @param {{onPointer?: (reading: Reading|null) => void}} [options]
   */
  constructor(container, { onPointer = () => {} } = {}) {
    this.#container = container;
    this.#onPointer = onPointer;
    this.#theme = themeOf(container);
    if (getComputedStyle(container).position === 'static') container.style.position = 'relative';
    Object.assign(this.#row.style, { display: 'flex', gap: '1rem', justifyContent: 'center' });
    Object.assign(this.#legend.style, { display: 'flex', gap: '0.5rem', alignItems: 'center', justifyContent: 'center' });
    Object.assign(this.#bar.style, { width: '40%', maxWidth: '16rem', height: '0.7rem', borderRadius: '0.35rem' });
    this.#legend.append(this.#low, this.#bar, this.#high);
    this.#legend.style.display = 'none';
    Object.assign(this.#value.style, {
      position: 'absolute',
      zIndex: '2',
      padding: '0.15rem 0.4rem',
      borderRadius: '0.3rem',
      fontSize: '0.85rem',
      whiteSpace: 'nowrap',
      pointerEvents: 'none',
    });
    container.append(this.#row, this.#note, this.#legend, this.#value, this.#announcement);
    new ResizeObserver(() => {
      if (this.#row.clientWidth !== this.#width) this.redraw();
    }).observe(container);
    document.addEventListener('pointerdown', (event) => {
      const isCanvas = this.#hands.some(({ canvas }) => canvas === event.target);
      if (!isCanvas && this.#pointedAt !== null) this.#select(null, null);
    });
  }

  /** @param {Layout} layout */
  setLayout(layout) {
    const text = JSON.stringify([layout.gloves, layout.colours]);
    if (text === this.#layoutText) return;
    this.#layoutText = text;
    this.#select(null, null);
    this.#seen = null;
    this.#table = colourTable(layout.colours);
    this.#hands = layout.gloves.map((glove) => new Hand(glove));
    const lacking = layout.gloves.find(({ hasPositions }) => !hasPositions);
    const lack = lacking?.hasRegions ? 'The layout has no positions' : 'No layout of the hand';
    setHidden(this.#note, lacking === undefined);
    setText(this.#note, lacking ? `${lack}: elements in their order. See docs/layout.md` : '');
    this.#row.replaceChildren(...this.#hands.map(({ figure }) => figure));
    this.#legend.style.display = this.#hands.length > 0 ? 'flex' : 'none';
    for (const hand of this.#hands) {
      // Both have the same width, and become narrower than a canvas wants to be.
      Object.assign(hand.figure.style, { flex: '1 1 0', minWidth: '0', margin: '0' });
      this.#listen(hand);
    }
    this.redraw();
  }

  /** @param {Picture} picture */
  show(picture) {
    if (picture.gloves.length !== this.#hands.length) return;
    let [low, high] = [Infinity, -Infinity];
    this.#hands.forEach((hand, index) => {
      const { elements } = picture.gloves[index];
      if (elements.length !== hand.glove.count) return;
      hand.values = elements;
      for (const value of elements) {
        low = Math.min(low, value);
        high = Math.max(high, value);
      }
      hand.describe(picture.ms);
    });
    if (low <= high) this.#seen = followRange(this.#seen, low, high, picture.ms);
    this.#paint();
    this.#showLegend(picture.ms);
    this.#showValue();
  }

  /** @param {{mode: 'automatic'|'fixed', low: number, high: number}} scale */
  setScale(scale) {
    this.#scale = scale;
    this.#legendMs = -Infinity;
    this.#paint();
    this.#showLegend(0);
  }

  /** Reads the colours of the page and fits the hands to its width again. */
  redraw() {
    this.#theme = themeOf(this.#container);
    this.#width = this.#row.clientWidth;
    Object.assign(this.#value.style, {
      background: this.#theme.text,
      color: this.#theme.surface,
    });
    this.#paintBar();
    this.#legendMs = -Infinity;
    this.#showLegend(0);
    if (this.#hands.length === 0 || this.#width === 0) return;
    const widths = this.#hands.map(({ canvas }) => canvas.clientWidth);
    const height = Math.min(highestHand, Math.max(220, 0.34 * window.innerHeight));
    const scale = Math.min(...this.#hands.map((hand, index) => hand.scaleFor(widths[index], height)));
    this.#hands.forEach((hand, index) => hand.place(scale, widths[index], this.#theme));
    this.#paint();
    this.#showValue();
  }

  #range() {
    return this.#scale.mode === 'fixed' ? this.#scale : shownRange(this.#seen, narrowestRange);
  }

  #paint() {
    const range = this.#range();
    for (const hand of this.#hands) hand.paint(this.#table, range, this.#theme);
  }

  #paintBar() {
    this.#bar.width = this.#table.length;
    this.#bar.height = 1;
    const context = this.#bar.getContext('2d');
    if (context === null) return;
    this.#table.forEach((colour, index) => {
      context.fillStyle = colour;
      context.fillRect(index, 0, 1, 1);
    });
  }

  /** Not so often that the numbers can't be read. @param {number} ms */
  #showLegend(ms) {
    if (ms - this.#legendMs < legendIntervalMs && ms >= this.#legendMs) return;
    this.#legendMs = ms;
    const { low, high } = this.#range();
    setText(this.#low, count(low));
    setText(this.#high, count(high));
  }

  /** @param {Hand} hand */
  #listen(hand) {
    const { canvas } = hand;
    const follow = (/** @type {PointerEvent} */ event) => {
      const box = canvas.getBoundingClientRect();
      this.#select(hand, hand.elementAt(event.clientX - box.left, event.clientY - box.top));
    };
    canvas.addEventListener('pointermove', follow);
    canvas.addEventListener('pointerdown', follow);
    canvas.addEventListener('pointerleave', (event) => {
      // A finger that is lifted leaves the value to be read.
      if (event.pointerType !== 'touch') this.#select(null, null);
    });
    canvas.addEventListener('blur', () => this.#select(null, null));
    canvas.addEventListener('keydown', (event) => this.#press(hand, event));
  }

  /** @param {Hand} hand @param {KeyboardEvent} event */
  #press(hand, event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    if (event.key === 'Escape' && hand.selected !== null) {
      this.#select(null, null);
    } else if (Object.hasOwn(directions, event.key) && hand.glove.count > 0) {
      const from = hand.selected;
      // The first key begins where something happens.
      const start = Math.max(0, hand.values.indexOf(Math.max(...hand.values)));
      this.#select(hand, from === null ? start : neighbourOf(hand.positions, from, directions[event.key]));
      this.#announcement.textContent = this.#value.textContent;
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  }

  /** @param {Hand|null} hand @param {number|null} element */
  #select(hand, element) {
    const before = this.#pointedAt;
    const pointedAt = element === null ? null : hand;
    if (before === pointedAt && (pointedAt === null || pointedAt.selected === element)) return;
    if (before !== null) before.selected = null;
    if (pointedAt !== null) pointedAt.selected = element;
    this.#pointedAt = pointedAt;
    this.#paint();
    this.#showValue();
    if (pointedAt !== null) return;
    this.#announcement.textContent = '';
    this.#onPointer(null);
  }

  #showValue() {
    const hand = this.#pointedAt;
    this.#value.hidden = hand === null;
    if (hand === null || hand.selected === null) return;
    const element = hand.selected;
    const value = hand.values[element] ?? null;
    this.#value.textContent = `${hand.nameOf(element)}: ${value === null ? 'no value yet' : count(value)}`;
    this.#placeValue(hand, element);
    this.#onPointer({ glove: hand.glove.label, element, region: hand.regionOf(element), value });
  }

  /** Above the element, within the container. @param {Hand} hand @param {number} element */
  #placeValue(hand, element) {
    const outer = this.#container.getBoundingClientRect();
    const inner = hand.canvas.getBoundingClientRect();
    const { x, y } = hand.pointOf(element);
    const left = inner.left - outer.left + x - this.#value.offsetWidth / 2;
    const above = inner.top - outer.top + y - this.#value.offsetHeight - 14;
    this.#value.style.left = `${Math.max(0, Math.min(left, outer.width - this.#value.offsetWidth))}px`;
    this.#value.style.top = `${Math.max(0, above)}px`;
  }
}
