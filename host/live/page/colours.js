// @ts-check
// Colours of counts, of regions, and of the page's theme.

const steps = 256;

// After Okabe and Ito, in the order of `tessel plot`; null is the text's own colour: black on white.
const regionColours = ['#0072b2', '#e69f00', '#009e73', '#cc79a7', '#56b4e9', '#d55e00', null, '#b8a800'];
/** @type {readonly (readonly number[])[]} */
const regionDashes = [[], [6, 3], [2, 2], [8, 2, 2, 2]];

/**
 * 256 colours between those of the layout, which are evenly spaced.
 * @param {readonly string[]} stops as "#440154"
 * @returns {string[]}
 */
export function colourTable(stops) {
  const channels = stops.map((stop) => [1, 3, 5].map((at) => Number.parseInt(stop.slice(at, at + 2), 16)));
  if (channels.length === 0) channels.push([0, 0, 0], [255, 255, 255]);
  return Array.from({ length: steps }, (_, step) => {
    const place = (step * (channels.length - 1)) / (steps - 1);
    const below = Math.max(0, Math.min(Math.floor(place), channels.length - 2));
    const above = Math.min(below + 1, channels.length - 1);
    const mixed = channels[below].map((from, channel) =>
      Math.round(from + (place - below) * (channels[above][channel] - from)),
    );
    return `rgb(${mixed.join(', ')})`;
  });
}

/**
 * The place in the table of a value between low and high.
 * @param {number} value @param {number} low @param {number} high
 */
export function colourIndex(value, low, high) {
  const place = Math.floor(((value - low) / Math.max(high - low, 1)) * steps);
  return Math.max(0, Math.min(place, steps - 1));
}

/**
 * How the curve of each region looks. A name has the same in each glove; where there are more regions than
 * colours, the colours are used again with dashes.
 * @param {readonly {regions: readonly {name: string}[]}[]} gloves
 * @returns {Map<string, {colour: string|null, dash: readonly number[]}>}
 */
export function regionStyles(gloves) {
  const styles = new Map();
  for (const glove of gloves) {
    for (const { name } of glove.regions) {
      if (styles.has(name)) continue;
      const dash = regionDashes[Math.floor(styles.size / regionColours.length) % regionDashes.length];
      styles.set(name, { colour: regionColours[styles.size % regionColours.length], dash });
    }
  }
  return styles;
}

/**
 * The colours that the page's style sheet has at this moment, for what is drawn on a canvas.
 * @param {Element} element
 */
export function themeOf(element) {
  const style = getComputedStyle(element);
  const read = (/** @type {string} */ name, /** @type {string} */ otherwise) =>
    style.getPropertyValue(name).trim() || otherwise;
  return {
    text: read('--ink', '#1d2430'),
    muted: read('--muted', '#5a6470'),
    line: read('--line', '#d5dae0'),
    surface: read('--panel', '#ffffff'),
    marker: read('--marker', '#1d2430'),
    alarm: read('--alarm', '#b3261e'),
    font: style.fontFamily || 'sans-serif',
  };
}
