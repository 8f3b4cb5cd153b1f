// @ts-check
// The program's clock, estimated from the times in what it sends. A message can be late but never early, so the
// earliest ones count; the two clocks may drift apart by a millisecond per second. Pure.

const driftPerMs = 0.001;

export class Clock {
  #offset = Number.NaN;
  #at = 0;

  reset() {
    this.#offset = Number.NaN;
  }

  // A message that was made at `ms` of the program's clock arrived at `now` of this computer's.
  heard(ms, now) {
    const aged = this.#offset - (now - this.#at) * driftPerMs;
    this.#offset = Number.isNaN(this.#offset) ? ms - now : Math.max(aged, ms - now);
    this.#at = now;
  }

  // NaN before the first message.
  at(now) {
    return now + this.#offset;
  }
}
