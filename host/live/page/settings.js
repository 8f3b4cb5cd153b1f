// @ts-check
// What a viewer has chosen, kept in this browser. Where nothing can be kept, in a private window for example, it
// lasts as long as the page.

const prefix = 'tessel.';
const memory = new Map();

// The kept text of `name` if `valid` accepts it, otherwise `usual`.
export function choice(name, usual, valid) {
  let kept = memory.get(name) ?? null;
  try {
    kept = window.localStorage.getItem(prefix + name) ?? kept;
  } catch {
    // Storage is forbidden: what is in memory counts.
  }
  return kept !== null && valid(kept) ? kept : usual;
}

export function choose(name, value) {
  memory.set(name, value);
  try {
    window.localStorage.setItem(prefix + name, value);
  } catch {
    // Storage is forbidden or full: it stays in memory.
  }
}
