// @ts-check
// The limits of a fixed scale of colours. Pure functions; texts are as typed.

export const maxCount = 65535;

export const isCount = (text) => /^\d{1,5}$/.test(text) && Number(text) <= maxCount;

// Why these limits of the scale can't be used; empty if they can.
export function scaleError(low, high) {
  if (!isCount(low) || !isCount(high)) return `Both are whole numbers from 0 to ${maxCount}.`;
  return Number(low) < Number(high) ? '' : 'The second number must be the higher one.';
}

// The lowest and highest count of a picture; those of any sensor without one.
export function rangeOf(picture) {
  let low = maxCount;
  let high = 0;
  for (const { elements } of picture?.gloves ?? []) {
    for (const value of elements) {
      low = Math.min(low, value);
      high = Math.max(high, value);
    }
  }
  return low < high ? { low, high } : { low: 0, high: maxCount };
}
