// @ts-check
// How often a picture is drawn: at an interval, but so seldom that drawing leaves the browser two thirds of its time.
// Pure; times are of one clock, in ms.

// A frame of the browser that comes a little early isn't left out.
const earlyMs = 4;

export class Pace {
  #next = 0;

  due(now) {
    return now >= this.#next;
  }

  drawn(begin, end, intervalMs) {
    this.#next = begin + Math.max(intervalMs - earlyMs, 3 * (end - begin));
  }

  hurry() {
    this.#next = 0;
  }
}
