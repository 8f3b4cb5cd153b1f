// @ts-check
// The values of the last records with their times, in arrays of a fixed size: memory does not grow, and nothing
// is copied to draw them. Twice the capacity is reserved, so that what is kept is always in one piece.

// An interval this many times as long as usual, and at least so long, is a gap.
const gapFactor = 5;
const shortestGapMs = 250;
// What is no further away was shown at that time.
const nearMs = 250;

export class Ring {
  #times;
  #columns;
  #capacity;
  #begin = 0;
  #end = 0;
  /** @type {number|null} */
  #usualMs = null;
  /** @type {[number, number][]} */
  #gaps = [];

  /**
   * @param {number} width values of each record
   * @param {number} capacity records
   */
  constructor(width, capacity) {
    this.#capacity = capacity;
    this.#times = new Float64Array(2 * capacity);
    this.#columns = Array.from({ length: width }, () => new Float32Array(2 * capacity));
  }

  /** As it is now. */
  copy() {
    const ring = new Ring(this.width, this.#capacity);
    const columns = this.#columns.map((_, index) => this.column(index));
    this.times().forEach((ms, index) => ring.push(ms, (column) => columns[column][index]));
    return ring;
  }

  get width() {
    return this.#columns.length;
  }

  get length() {
    return this.#end - this.#begin;
  }

  /** The time of the latest record; null without one. */
  get latestMs() {
    return this.length > 0 ? this.#times[this.#end - 1] : null;
  }

  /** Times without records, oldest first, as [from, to]. */
  get gaps() {
    return this.#gaps;
  }

  clear() {
    this.#begin = 0;
    this.#end = 0;
    this.#usualMs = null;
    this.#gaps = [];
  }

  /**
   * A record that is not later than the latest one is left out. `valueOf` returns the value of each column.
   * @param {number} ms
   * @param {(column: number) => number} valueOf
   */
  push(ms, valueOf) {
    const latest = this.latestMs;
    if (latest !== null && ms <= latest) return;
    if (this.#end === 2 * this.#capacity) this.#moveToFront();
    this.#times[this.#end] = ms;
    this.#columns.forEach((column, index) => {
      column[this.#end] = valueOf(index);
    });
    this.#end += 1;
    this.#begin = Math.max(this.#begin, this.#end - this.#capacity);
    if (latest !== null) this.#noteInterval(latest, ms);
  }

  times() {
    return this.#times.subarray(this.#begin, this.#end);
  }

  /** @param {number} index */
  column(index) {
    return this.#columns[index].subarray(this.#begin, this.#end);
  }

  /**
   * How many records are earlier.
   * @param {number} ms
   */
  countBefore(ms) {
    let [low, high] = [this.#begin, this.#end];
    while (low < high) {
      const middle = (low + high) >> 1;
      if (this.#times[middle] < ms) low = middle + 1;
      else high = middle;
    }
    return low - this.#begin;
  }

  /**
   * The record nearest to a time; null if none is near.
   * @param {number} ms
   */
  nearest(ms) {
    const after = this.countBefore(ms);
    const times = this.times();
    const distance = (/** @type {number} */ index) => Math.abs((times[index] ?? Infinity) - ms);
    const nearest = distance(after - 1) < distance(after) ? after - 1 : after;
    return distance(nearest) <= nearMs ? nearest : null;
  }

  #moveToFront() {
    for (const array of [this.#times, ...this.#columns]) array.copyWithin(0, this.#begin, this.#end);
    this.#end = this.length;
    this.#begin = 0;
  }

  /** @param {number} from @param {number} to */
  #noteInterval(from, to) {
    const interval = to - from;
    const usual = this.#usualMs ?? interval;
    if (interval > Math.max(shortestGapMs, gapFactor * usual)) this.#gaps.push([from, to]);
    // A single long interval changes little of what is usual.
    this.#usualMs = usual + 0.1 * (Math.min(interval, 2 * usual) - usual);
    while (this.#gaps.length > 0 && this.#gaps[0][1] <= this.#times[this.#begin]) this.#gaps.shift();
  }
}
