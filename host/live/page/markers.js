// @ts-check
// Setting markers. The time of a marker is that of its request, so each goes out at once, even while another is under
// way. Its time in the recording comes back with the events.

import { byId, elementById, setAttribute, setText } from './dom.js';
import { errorOf } from './connection.js';
import { moment, visible } from './text.js';

const feedbackMs = 12000;
const timeoutMs = 5000;

export class Markers {
  #form = byId('marker');
  #field = elementById('marker-text', HTMLInputElement);
  #button = elementById('marker-set', HTMLButtonElement);
  #feedback = byId('marker-feedback');
  #token = '';
  #reason = 'There is no connection to tessel yet.';
  #events = [];
  // Set, but not yet seen among the events: text and the number of the latest event before.
  #awaited = [];
  #lastMatched = 0;
  /** @type {ReturnType<typeof setTimeout>|undefined} */
  #timer;

  constructor() {
    this.#form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.set();
    });
    this.#field.addEventListener('keydown', (event) => {
      if (event.key === 'Escape') this.#field.blur();
    });
  }

  // `reason`: why no marker can be set now; empty if it can. `kept`: whether they are written.
  allow(token, reason, kept) {
    this.#token = token;
    this.#reason = reason;
    if (this.#button.disabled !== (reason !== '')) this.#button.disabled = reason !== '';
    setAttribute(
      this.#button,
      'title',
      reason ||
        (kept ? 'Marks this moment of the recording' : 'Marks this moment. Markers are not kept: nothing is recorded.'),
    );
    setAttribute(
      this.#field,
      'placeholder',
      reason || (kept ? 'Text of the marker (optional)' : 'Text of the marker (shown only, not kept)'),
    );
  }

  async set() {
    if (this.#reason !== '') {
      this.#say('error', this.#reason);
      return;
    }
    const text = this.#field.value.trim();
    const after = this.#events.at(-1)?.number ?? 0;
    try {
      const set = await this.#post(text);
      if (this.#field.value.trim() === text) this.#field.value = '';
      this.#awaited = [...this.#awaited.slice(-9), { text: set, after }];
      this.#say('set', `${quoted(set)} set`);
      this.#match();
    } catch (error) {
      this.#say('error', error instanceof Error ? error.message : String(error));
    }
  }

  async #post(text) {
    let response;
    try {
      response = await fetch('/api/marker', {
        method: 'POST',
        headers: { 'Content-Type': 'application/json', 'X-Tessel-Token': this.#token },
        body: JSON.stringify(text === '' ? {} : { text }),
        signal: AbortSignal.timeout(timeoutMs),
      });
    } catch {
      throw new Error('The marker is not set: tessel does not answer.');
    }
    if (!response.ok) throw new Error(`The marker is not set. ${await errorOf(response)}`);
    const set = await response.json().catch(() => ({}));
    return visible(set.text ?? text);
  }

  // `events`: of a state, oldest first.
  events(events) {
    this.#events = events;
    this.#match();
  }

  // The events of another run of the program come.
  restart() {
    this.#events = [];
    this.#awaited = [];
    this.#lastMatched = 0;
  }

  // A marker's event may arrive before the answer to its request.
  #match() {
    this.#awaited = this.#awaited.filter((marker) => {
      const found = this.#events.find(
        (event) =>
          event.event === 'marker' &&
          event.number > Math.max(marker.after, this.#lastMatched) &&
          typeof event.seconds === 'number' &&
          visible(event.detail) === marker.text,
      );
      if (!found) return true;
      this.#lastMatched = found.number;
      this.#say('set', `${quoted(marker.text)} set at ${moment(found.seconds)}`);
      return false;
    });
  }

  #say(kind, text) {
    this.#feedback.dataset.kind = kind;
    setText(this.#feedback, text);
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => setText(this.#feedback, ''), feedbackMs);
  }
}

// Markers without a text are named by the program: "marker 3".
const quoted = (text) => (/^marker \d+$/.test(text) ? text : `“${text}”`);
