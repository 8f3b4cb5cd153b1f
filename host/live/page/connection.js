// @ts-check
// The stream of the program and its failures. What stays silent for two seconds counts as lost, since the program
// sends its state at least every half second; then it is opened again, once a second, for as long as the page is there.
//
// connecting --/api/state--> opening the stream --first event--> open --error or silence--> lost
//     ^                                '------------error or silence-----------------------------^ |
//     '--------------------------------------a second---------------------------------------------'

const silenceMs = 2000;
const retryMs = 1000;
const watchMs = 250;

export class Connection {
  #handlers;
  #stream = null;
  #attempt = null;
  /** @type {ReturnType<typeof setTimeout>|undefined} */
  #retry;
  #received = null;
  #openedMs = 0;
  #lastMs = 0;
  #running = false;

  // `handlers`: began({token, viewers, layout, state, picture}), layout(layout), state(state), picture(picture), each
  // with what was received, and lost(reason, since): `since` is a Date, or null if it was never there.
  constructor(handlers) {
    this.#handlers = handlers;
    setInterval(() => this.#watch(), watchMs);
  }

  start() {
    if (this.#running) return;
    this.#running = true;
    this.#connect();
  }

  // The page is left, perhaps to come back: its stream is one of a limited number.
  stop() {
    this.#running = false;
    this.#close();
  }

  #close() {
    clearTimeout(this.#retry);
    this.#attempt?.abort();
    this.#attempt = null;
    this.#stream?.close();
    this.#stream = null;
    this.#received = null;
  }

  async #connect() {
    const attempt = new AbortController();
    this.#attempt = attempt;
    const timer = setTimeout(() => attempt.abort(), silenceMs);
    try {
      const now = await fetchJson('/api/state', attempt.signal);
      if (this.#attempt === attempt) this.#open(now);
    } catch (error) {
      if (this.#attempt === attempt) this.#lose(error instanceof Refusal ? error.message : '');
    } finally {
      clearTimeout(timer);
    }
  }

  #open(received) {
    this.#attempt = null;
    this.#openedMs = performance.now();
    this.#received = received;
    const stream = new EventSource('/api/stream');
    this.#stream = stream;
    for (const name of ['layout', 'state', 'picture']) {
      stream.addEventListener(name, (event) => {
        if (this.#stream === stream) this.#take(name, event.data);
      });
    }
    stream.addEventListener('error', () => {
      if (this.#stream === stream) this.#fail();
    });
  }

  #take(name, data) {
    this.#lastMs = performance.now();
    if (this.#received) {
      const received = this.#received;
      this.#received = null;
      this.#handlers.began(received);
    }
    let value;
    try {
      value = JSON.parse(data);
    } catch {
      this.#lose("tessel sent something that this page can't read. Reload the page.");
      return;
    }
    this.#handlers[name](value);
  }

  #watch() {
    if (this.#stream && performance.now() - Math.max(this.#lastMs, this.#openedMs) > silenceMs) this.#fail();
  }

  #fail() {
    this.#lose(
      this.#received ? 'tessel answers, but sends no stream: perhaps too many pages show it. Close one of them.' : '',
    );
  }

  #lose(reason) {
    this.#close();
    if (!this.#running) return;
    const since = this.#lastMs > 0 ? new Date(Date.now() - (performance.now() - this.#lastMs)) : null;
    this.#retry = setTimeout(() => this.#connect(), retryMs);
    this.#handlers.lost(reason, since);
  }
}

// The program answers, but with an error that it explains.
class Refusal extends Error {}

async function fetchJson(path, signal) {
  const response = await fetch(path, { signal, cache: 'no-store' });
  if (response.ok) return response.json();
  throw new Refusal(await errorOf(response));
}

// What the program says is wrong.
export async function errorOf(response) {
  try {
    const body = await response.json();
    if (typeof body.error === 'string' && body.error !== '') return body.error;
  } catch {
    // Not from the program, or cut off.
  }
  return `tessel refused the request (status ${response.status}).`;
}
