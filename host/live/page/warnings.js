// @ts-check
// Warnings of the program and of the page itself: alarms at the top, which can't be missed, notices below. What ends
// says so for some seconds. An alarm is read out when it begins; its text may change twice a second without being read
// again.

import { byId, make, setHidden, setText } from './dom.js';
import { icon } from './icons.js';
import { roughly, visible } from './text.js';

const overMs = 6000;
const maxShown = 8;

// Which warnings are there and which ended lately. Pure; times are of one clock, in ms.
export class WarningList {
  #items = new Map();

  // `warnings`: all that are active now; one of the page itself may have in `over` what is said when it has ended.
  // `known`: whether those that aren't there have ended; otherwise nothing is known of them any more.
  update(warnings, now, known = true) {
    const ids = new Set(warnings.map((warning) => warning.id));
    for (const [id, item] of this.#items) {
      if (!ids.has(id) && item.overAt === null) item.overAt = now;
      if (!ids.has(id) && !known) this.#items.delete(id);
      if (item.overAt !== null && now - item.overAt >= overMs) this.#items.delete(id);
    }
    for (const warning of warnings) {
      const item = this.#items.get(warning.id);
      if (item && item.overAt === null && item.level === warning.level) item.text = warning.text;
      else this.#items.set(warning.id, { ...warning, since: now, overAt: null });
    }
  }

  // The first `maxShown` of a level, with how many more there are.
  of(level) {
    const all = [...this.#items.values()].filter((item) => item.level === level);
    all.sort((a, b) => Number(a.overAt !== null) - Number(b.overAt !== null));
    return { items: all.slice(0, maxShown), more: Math.max(0, all.length - maxShown) };
  }
}

function wordsOf(item) {
  if (item.overAt === null) return visible(item.text);
  const seconds = (item.overAt - item.since) / 1000;
  return item.over ?? `Over${seconds < 1 ? '' : ` after ${roughly(seconds)}`}: ${visible(item.text)}`;
}

class WarningBox {
  #box;
  #rows = new Map();
  #more = make('p', { class: 'warning-more' });

  constructor(box) {
    this.#box = box;
    box.append(this.#more);
  }

  show({ items, more }) {
    const ids = new Set(items.map((item) => item.id));
    for (const [id, row] of this.#rows) {
      if (ids.has(id)) continue;
      row.element.remove();
      this.#rows.delete(id);
    }
    for (const item of items) this.#showItem(item);
    setText(this.#more, more > 0 ? `and ${more} more` : '');
    setHidden(this.#box, items.length === 0);
  }

  #showItem(item) {
    let row = this.#rows.get(item.id);
    if (!row) {
      row = {
        element: make('div', { class: 'warning', 'data-warning': item.id }),
        text: make('p', { dir: 'auto' }),
        sign: make('span'),
      };
      row.element.append(row.sign, row.text);
      this.#box.insertBefore(row.element, this.#more);
      this.#rows.set(item.id, row);
    }
    const state = item.overAt === null ? 'active' : 'over';
    if (row.element.dataset.state !== state) {
      row.element.dataset.state = state;
      row.sign.replaceChildren(icon(state === 'active' ? 'warning' : 'check'));
    }
    setText(row.text, wordsOf(item));
  }
}

export class Warnings {
  #list = new WarningList();
  #alarms = new WarningBox(byId('alarms'));
  #notices = new WarningBox(byId('notices'));
  #announcement = byId('alarm-announcement');
  #announced = new Set();

  // See WarningList.
  show(warnings, now, known) {
    this.#list.update(warnings, now, known);
    const alarms = this.#list.of('alarm');
    this.#alarms.show(alarms);
    this.#notices.show(this.#list.of('notice'));
    this.#announce(alarms.items.filter((item) => item.overAt === null));
  }

  #announce(active) {
    const begun = active.filter((item) => !this.#announced.has(item.id));
    this.#announced = new Set(active.map((item) => item.id));
    if (begun.length > 0) setText(this.#announcement, begun.map((item) => visible(item.text)).join(' '));
    else if (active.length === 0) setText(this.#announcement, '');
  }
}
