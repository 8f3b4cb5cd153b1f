// @ts-check
// Light or dark: as the system has it, or as the viewer chooses.

import { elementById } from './dom.js';
import { choice, choose } from './settings.js';

// `changed` is called whenever the colours of the page have changed.
export function chooseTheme(changed) {
  const select = elementById('theme', HTMLSelectElement);
  const dark = window.matchMedia('(prefers-color-scheme: dark)');
  const apply = () => {
    const theme = select.value === 'automatic' ? (dark.matches ? 'dark' : 'light') : select.value;
    if (document.documentElement.dataset.theme === theme) return;
    document.documentElement.dataset.theme = theme;
    changed();
  };
  select.value = choice('theme', 'automatic', (kept) => ['automatic', 'light', 'dark'].includes(kept));
  select.addEventListener('change', () => {
    choose('theme', select.value);
    apply();
  });
  dark.addEventListener('change', apply);
  apply();
}
