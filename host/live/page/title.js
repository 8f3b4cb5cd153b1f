// @ts-check
// The title of the page and its icon: what a person sees of it among other tabs.

import { byId, setAttribute } from './dom.js';
import { visible } from './text.js';

const shapes = {
  alarm: '<path fill="#c00" d="M16 1 31 30H1z"/><path fill="#fff" d="M14 11h4v9h-4zm0 11h4v4h-4z"/>',
  recording: '<circle cx="16" cy="16" r="15" fill="#fff"/><circle cx="16" cy="16" r="12" fill="#d11"/>',
  quiet: '<circle cx="16" cy="16" r="12" fill="#fff" stroke="#777" stroke-width="5"/>',
};

const addresses = Object.fromEntries(
  Object.entries(shapes).map(([name, shape]) => [
    name,
    `data:image/svg+xml,${encodeURIComponent(`<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 32 32">${shape}</svg>`)}`,
  ]),
);

// `alarm`: the text of an alarm, or empty. `said`: of the headline.
export function showTitle(alarm, said) {
  const words = [said.text, said.name].filter((part) => part !== '').join(' ');
  const title = alarm ? `⚠ ${visible(alarm)}` : `${said.kind === 'recording' ? '● ' : ''}${words}`;
  const short = title.length > 120 ? `${title.slice(0, 119)}…` : title;
  const all = `${short} – tessel`;
  if (document.title !== all) document.title = all;
  setAttribute(byId('icon'), 'href', addresses[alarm ? 'alarm' : said.kind === 'recording' ? 'recording' : 'quiet']);
}
