// A page that is watched all day does not grow.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { setTimeout as pause } from 'node:timers/promises';

import { Browser } from '../support/Browser.mjs';
import { Program } from '../support/Program.mjs';

const seconds = Number(process.env.TESSEL_VIEW_SECONDS ?? 60);
const maxGrowth = 1_000_000; // bytes, however long it runs
const settleSeconds = 10;

test(`${seconds} s of two gloves leave the page's memory as it is`, async (t) => {
  const program = await Program.start(t, ['view', '--sim']);
  const browser = await Browser.start(t);
  const view = await browser.open(t, program.address);
  await view.shows('#gloves [data-glove=right][data-state=connected]', 20000);
  await pause(1000 * settleSeconds);
  const used = [await view.heap()];
  for (let step = 0; step < 6; ++step) {
    await view.page.keyboard.press('m');
    await pause((1000 * (seconds - settleSeconds)) / 6);
    used.push(await view.heap());
  }
  const megabytes = used.map((bytes) => (bytes / 1e6).toFixed(2)).join(', ');
  t.diagnostic(`MB in use: ${megabytes}`);
  // What is in use for a moment is not what the page grows by.
  assert.ok(Math.min(...used.slice(-3)) - used[0] <= maxGrowth, `MB in use: ${megabytes}`);
  view.check();
});
