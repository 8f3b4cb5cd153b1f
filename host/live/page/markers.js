// @ts-check
// Setting markers. The time of a marker is that of its request, so each goes out at once, even while another is under way.
// Its time in the recording comes back with the events.

import { byId, setAttribute, setText } from './dom.js';
import { errorOf } from './connection.js';
import { moment, visible } from './text.js';

const feedbackMs = 12000;
const timeoutMs = 5000;

export class Markers {
  #form = byId('marker');
  #field = byId('marker-text');
  #button = byId('marker-set');
  #feedback = byId('marker-feedback');
  #token = '';
  #reason = 'There is no connection to tessel yet.';
  #lastEvent = 0;
  // Set, but not yet seen among the events: text and the number of the latest event before.
  #awaited = [];
  #timer = 0;

  constructor() {
    this.#form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.set();
    });
    this.#field.addEventListener('keydown', (event) => {
      if (event.key === 'Escape') this.#field.blur();
    });
  }

  // `reason`: why no marker can be set now; empty if it can.
  allow(token, reason) {
    this.#token = token;
    this.#reason = reason;
    if (this.#button.disabled !== (reason !== '')) this.#button.disabled = reason !== '';
    setAttribute(this.#button, 'title', reason || 'Marks this moment of the recording');
    setAttribute(this.#field, 'placeholder', reason || 'Text of the marker (optional)');
  }

  async set() {
    if (this.#reason !== '') {
      this.#say('error', this.#reason);
      return;
    }
    const text = this.#field.value.trim();
    const before = this.#lastEvent;
    try {
      const set = await this.#post(text);
      if (this.#field.value.trim() === text) this.#field.value = '';
      const waiting = { text: set, before };
      this.#awaited = [...this.#awaited.slice(-9), waiting];
      this.#say('set', `${quoted(set)} set`);
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
    for (const event of events) {
      if (event.event !== 'marker' || event.number <= this.#lastEvent || typeof event.seconds !== 'number') continue;
      const text = visible(event.detail);
      const at = this.#awaited.findIndex((marker) => marker.text === text && event.number > marker.before);
      if (at < 0) continue;
      this.#awaited.splice(at, 1);
      this.#say('set', `${quoted(text)} set at ${moment(event.seconds)}`);
    }
    this.#lastEvent = events.length > 0 ? events[events.length - 1].number : 0;
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
