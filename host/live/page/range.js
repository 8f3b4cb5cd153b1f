// @ts-check
// The range of a scale that follows what it shows: it widens at once and narrows slowly, so that it does not
// flicker with each touch.

/**
 * The two bounds, when something was last near each of them, and the time of the range.
 * @typedef {{low: number, high: number, lowMs: number, highMs: number, ms: number}} Range
 */

// What is as near to a bound as this share of the range keeps the bound where it is.
const nearShare = 0.1;

/**
 * @param {Range|null} range the previous one
 * @param {number} low of what is shown now
 * @param {number} high of what is shown now
 * @param {number} ms
 * @param {{holdMs?: number, narrowMs?: number}} [pace] how long a bound stays, and then takes to narrow by two thirds
 * @returns {Range}
 */
export function followRange(range, low, high, ms, { holdMs = 5000, narrowMs = 2000 } = {}) {
  if (range === null || ms < range.ms) return { low, high, lowMs: ms, highMs: ms, ms };
  const near = nearShare * (range.high - range.low);
  const share = 1 - Math.exp(-(ms - range.ms) / narrowMs);
  const next = { ...range, ms };
  if (low <= range.low + near) {
    next.low = Math.min(low, range.low);
    next.lowMs = ms;
  } else if (ms - range.lowMs > holdMs) {
    next.low += share * (low - range.low);
  }
  if (high >= range.high - near) {
    next.high = Math.max(high, range.high);
    next.highMs = ms;
  } else if (ms - range.highMs > holdMs) {
    next.high += share * (high - range.high);
  }
  return next;
}

/**
 * At least so wide that the noise of a glove at rest does not fill it.
 * @param {{low: number, high: number}|null} range
 * @param {number} narrowest
 */
export function shownRange(range, narrowest) {
  if (range === null) return { low: 0, high: narrowest };
  return { low: range.low, high: Math.max(range.high, range.low + narrowest) };
}
