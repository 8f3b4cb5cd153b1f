// @ts-check
// Numbers and foreign text as words for people. Pure functions. What is unknown, null or undefined, is a dash;
// see `setValue` in dom.js for how it is read out.

export const dash = '–';

const known = (value) => typeof value === 'number' && Number.isFinite(value);
const twoDigits = (value) => String(value).padStart(2, '0');

// Control characters would be invisible, and those of text direction would turn around what stands next to
// them: both are shown as replacement characters instead.
export function visible(text) {
  return String(text ?? '').replace(/[\u0000-\u001F\u007F-\u009F\u2028-\u202E\u2066-\u2069]/g, '\uFFFD');
}

// The last part of a path of either system.
export function fileName(path) {
  const parts = visible(path)
    .split(/[/\\]/)
    .filter((part) => part !== '');
  return parts.length > 0 ? parts[parts.length - 1] : visible(path);
}

// 723 s as "12:03", 7323 s as "2:02:03".
export function duration(seconds) {
  if (!known(seconds)) return dash;
  const whole = Math.floor(Math.max(0, seconds));
  const minutes = Math.floor(whole / 60) % 60;
  const hours = Math.floor(whole / 3600);
  const rest = twoDigits(whole % 60);
  return hours > 0 ? `${hours}:${twoDigits(minutes)}:${rest}` : `${minutes}:${rest}`;
}

// A moment of the recording: 12.34 s as "0:12.3".
export function moment(seconds) {
  if (!known(seconds)) return dash;
  const tenths = Math.floor(Math.max(0, seconds) * 10 + 1e-6);
  return `${duration(tenths / 10 + 1e-3)}.${tenths % 10}`;
}

// Seconds roughly, in two units at most: "45 s", "12 min", "3 h 20 min", "23 days".
export function roughly(seconds) {
  if (!known(seconds)) return dash;
  const minutes = Math.floor(seconds / 60);
  const hours = Math.floor(minutes / 60);
  const days = Math.floor(hours / 24);
  if (days > 999) return 'over 999 days';
  if (days >= 2) return `${days} days`;
  if (hours >= 1) return minutes % 60 === 0 ? `${hours} h` : `${hours} h ${minutes % 60} min`;
  if (minutes >= 2) return `${minutes} min`;
  return `${Math.max(0, Math.floor(seconds))} s`;
}

// Three digits and a decimal unit: "999 B", "1.23 kB", "80.0 GB".
export function bytes(count) {
  if (!known(count)) return dash;
  const units = ['B', 'kB', 'MB', 'GB', 'TB', 'PB'];
  let value = Math.max(0, count);
  let unit = 0;
  while (value >= 999.5 && unit + 1 < units.length) {
    value /= 1000;
    ++unit;
  }
  if (unit === 0) return `${Math.round(value)} B`;
  const decimals = value < 9.995 ? 2 : value < 99.95 ? 1 : 0;
  return `${value.toFixed(decimals)} ${units[unit]}`;
}

// A share as percent. What is not nothing never looks like nothing.
export function percent(share) {
  if (!known(share)) return dash;
  const value = share * 100;
  if (value === 0) return '0 %';
  if (value < 0.01) return '< 0.01 %';
  if (value < 0.995) return `${value.toFixed(2)} %`;
  return value < 9.95 ? `${value.toFixed(1)} %` : `${value.toFixed(0)} %`;
}

// With thousands kept apart by narrow spaces that don't break.
export function count(value) {
  return known(value) ? String(Math.round(value)).replace(/\B(?=(\d{3})+$)/g, '\u202F') : dash;
}

export function decimal(value, decimals, unit = '') {
  if (!known(value)) return dash;
  return unit === '' ? value.toFixed(decimals) : `${value.toFixed(decimals)} ${unit}`;
}

export function clockTime(date) {
  return `${twoDigits(date.getHours())}:${twoDigits(date.getMinutes())}:${twoDigits(date.getSeconds())}`;
}

export const capitalised = (text) => text.charAt(0).toUpperCase() + text.slice(1);

// Where the records go, in short: a file's name or standard output; '' if they are not written.
export const placeOf = (layout) =>
  layout.file ? fileName(layout.file) : layout.command === 'record' ? 'standard output' : '';

// The same in full.
export const fullPlaceOf = (layout) => (layout.file ? visible(layout.file) : placeOf(layout));
