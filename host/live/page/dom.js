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

/**
 * @template {HTMLElement} Kind
 * @param {string} id
 * @param {new () => Kind} kind
 * @returns {Kind}
 */
export function elementById(id, kind) {
  const element = document.getElementById(id);
  if (!(element instanceof kind)) throw new Error(`The page has no ${kind.name} #${id}.`);
  return element;
}

/** @param {string} id */
export const byId = (id) => elementById(id, HTMLElement);

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
