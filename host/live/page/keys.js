// @ts-check
// Single keys, which work everywhere but where something is typed, and the list that shows them. They can be switched off
// for those whose speech input would press them.

import { byId, elementById } from './dom.js';
import { choice, choose } from './settings.js';

const typedInto = (target) =>
  target instanceof HTMLElement &&
  (target.matches('textarea, select, input:not([type=radio], [type=checkbox])') || target.isContentEditable);

// `actions`: by key in lower case.
export function useKeys(actions) {
  const dialog = elementById('keys', HTMLDialogElement);
  const on = elementById('keys-on', HTMLInputElement);
  on.checked = choice('keys', 'on', (kept) => kept === 'on' || kept === 'off') === 'on';
  on.addEventListener('change', () => choose('keys', on.checked ? 'on' : 'off'));
  const toggle = () => (dialog.open ? dialog.close() : dialog.showModal());
  byId('keys-open').addEventListener('click', toggle);
  document.addEventListener('keydown', (event) => {
    if (!on.checked || event.repeat || event.ctrlKey || event.altKey || event.metaKey || typedInto(event.target))
      return;
    const action = event.key === '?' ? toggle : dialog.open ? undefined : actions[event.key.toLowerCase()];
    if (!action) return;
    event.preventDefault();
    action();
  });
}
