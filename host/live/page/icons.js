// @ts-check
// The page's own icons, drawn in the colour of the text next to them, which says the same.

// What `d` of each path is, in a square of 16.
const shapes = {
  warning: ['M8 1.2 15.4 14.4H.6zM7.1 5.8v4.4h1.8V5.8zm0 5.6v1.7h1.8v-1.7z'],
  cross: ['M3.6 2.4 8 6.8l4.4-4.4 1.2 1.2L9.2 8l4.4 4.4-1.2 1.2L8 9.2l-4.4 4.4-1.2-1.2L6.8 8 2.4 3.6z'],
  turning: ['M8 2a6 6 0 1 1-6 6h2a4 4 0 1 0 4-4z'],
  none: [],
  check: ['M6.4 10.2 13 3.6l1.3 1.3-7.9 7.9L2 8.4l1.3-1.3z'],
  search: ['M7 2a5 5 0 1 1-3 9l-2.6 2.6-1-1L3 10a5 5 0 0 1 4-8zm0 1.6a3.4 3.4 0 1 0 0 6.8 3.4 3.4 0 0 0 0-6.8z'],
  disc: ['M8 2a6 6 0 1 1 0 12A6 6 0 0 1 8 2z'],
  square: ['M3 3h10v10H3z'],
  waves: [
    'M8 6.5a1.5 1.5 0 1 1 0 3 1.5 1.5 0 0 1 0-3z',
    'M4.5 3.5l1.2 1.2a4.7 4.7 0 0 0 0 6.6l-1.2 1.2a6.4 6.4 0 0 1 0-9z',
    'M11.5 3.5a6.4 6.4 0 0 1 0 9l-1.2-1.2a4.7 4.7 0 0 0 0-6.6z',
  ],
  barred: [
    'M8 1.5a6.5 6.5 0 1 1 0 13 6.5 6.5 0 0 1 0-13zm0 1.8a4.7 4.7 0 0 0-3.7 7.6l6.6-6.6A4.7 4.7 0 0 0 8 3.3z' +
      'm3.7 1.8-6.6 6.6a4.7 4.7 0 0 0 6.6-6.6z',
  ],
};

const namespace = 'http://www.w3.org/2000/svg';

/** @param {keyof typeof shapes} name */
export function icon(name) {
  const svg = document.createElementNS(namespace, 'svg');
  svg.setAttribute('viewBox', '0 0 16 16');
  svg.setAttribute('aria-hidden', 'true');
  svg.setAttribute('class', 'icon');
  for (const d of shapes[name]) {
    const path = document.createElementNS(namespace, 'path');
    path.setAttribute('d', d);
    svg.append(path);
  }
  return svg;
}
