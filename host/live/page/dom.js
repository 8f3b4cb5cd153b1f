// @ts-check
// Elements made and changed without ever reading text as HTML. A change that changes nothing isn't written, so
// that what comes twice a second costs no layout and isn't read out again.

import { dash } from './text.js';

// `attributes`: names as in HTML; those that are undefined or false are left out.
export function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === undefined || value === false) continue;
    element.setAttribute(name, value === true ? '' : String(value));
  }
  element.append(...children);
  return element;
}

export function byId(id) {
  const element = document.getElementById(id);
  if (!element) throw new Error(`The page has no #${id}.`);
  return element;
}

export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

export function setAttribute(element, name, value) {
  if (value === null) {
    if (element.hasAttribute(name)) element.removeAttribute(name);
  } else if (element.getAttribute(name) !== value) {
    element.setAttribute(name, value);
  }
}

export function setHidden(element, hidden) {
  if (element.hidden !== hidden) element.hidden = hidden;
}

// A value of a card. A dash says nothing to those who listen: it is read as "unknown".
export function setValue(element, text) {
  setText(element, text);
  const unknown = text === dash;
  setAttribute(element, 'role', unknown ? 'img' : null);
  setAttribute(element, 'aria-label', unknown ? 'unknown' : null);
}

// An icon of this page's own set, drawn in the colour of the text. `paths`: what `d` of each path is.
export function icon(paths) {
  const svg = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  svg.setAttribute('viewBox', '0 0 16 16');
  svg.setAttribute('aria-hidden', 'true');
  svg.setAttribute('class', 'icon');
  for (const d of paths) {
    const path = document.createElementNS('http://www.w3.org/2000/svg', 'path');
    path.setAttribute('d', d);
    svg.append(path);
  }
  return svg;
}
