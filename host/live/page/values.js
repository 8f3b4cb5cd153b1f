// @ts-check
// The values of each region as a table, for those who can't see the pictures. It is written once a second while it is
// open.

import { byId, elementById, make, setValue } from './dom.js';
import { count, capitalised, visible } from './text.js';

const intervalMs = 1000;

export class Values {
  #details = elementById('values', HTMLDetailsElement);
  #frame = byId('values-table');
  #gloves = [];
  #cells = [];
  #shownMs = Number.NEGATIVE_INFINITY;

  setLayout(layout) {
    this.#gloves = layout.gloves;
    this.#shownMs = Number.NEGATIVE_INFINITY;
    const names = [...new Set(layout.gloves.flatMap((glove) => glove.regions.map((region) => region.name)))];
    const head = make(
      'tr',
      {},
      make('th', { scope: 'col' }, 'Region'),
      ...layout.gloves.map((glove) => make('th', { scope: 'col' }, make('bdi', {}, capitalised(visible(glove.label))))),
    );
    this.#cells = layout.gloves.map((glove) =>
      glove.regions.map((region) =>
        make('td', { 'data-glove': glove.label, 'data-region': region.name, class: 'number' }),
      ),
    );
    const rows = names.map((name) =>
      make(
        'tr',
        {},
        make('th', { scope: 'row' }, make('bdi', {}, visible(name))),
        ...layout.gloves.map((glove, at) => {
          const place = glove.regions.findIndex((region) => region.name === name);
          return place < 0 ? make('td') : this.#cells[at][place];
        }),
      ),
    );
    this.#frame.replaceChildren(
      make(
        'table',
        {},
        make('caption', {}, 'Mean counts of each region'),
        make('thead', {}, head),
        make('tbody', {}, ...rows),
      ),
    );
  }

  show(picture, now) {
    if (!this.#details.open || now - this.#shownMs < intervalMs) return;
    this.#shownMs = now;
    picture.gloves.forEach((values, glove) => {
      this.#cells[glove].forEach((cell, region) =>
        setValue(cell, count(means(values, this.#gloves[glove].regions[region]))),
      );
    });
  }
}

// Of this picture, not the peaks that the curves show.
function means(values, region) {
  if (region.elements.length === 0) return null;
  return region.elements.reduce((sum, element) => sum + values.elements[element], 0) / region.elements.length;
}
