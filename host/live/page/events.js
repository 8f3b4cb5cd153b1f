// @ts-check
// The list of the latest events, newest first.

import { byId, make, setHidden } from './dom.js';
import { moment, visible } from './text.js';

function item(event) {
  const glove = event.glove ? ` ${visible(event.glove)}` : '';
  return make(
    'li',
    { 'data-number': event.number, 'data-event': event.event },
    make('span', { class: 'event-time number' }, moment(event.seconds)),
    make('bdi', { class: 'event-name' }, visible(event.event) + glove),
    make('span', { class: 'event-detail', dir: 'auto' }, visible(event.detail)),
  );
}

export class Events {
  #list = byId('events');
  #none = byId('events-none');
  #shown = '';

  // `events`: of a state, oldest first.
  show(events) {
    const key = JSON.stringify(events);
    if (key === this.#shown) return;
    this.#shown = key;
    this.#list.replaceChildren(...events.map(item).reverse());
    setHidden(this.#list, events.length === 0);
    setHidden(this.#none, events.length > 0);
  }
}
