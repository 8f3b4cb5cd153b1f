// The page of a recording: its last numbers are those of the summary, and its markers are in the file.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { Browser } from '../support/Browser.mjs';
import { Program, temporaryFolder } from '../support/Program.mjs';

const hostile = '<img src=x onerror="window.hacked=1">, "quoted"';

test('what a page shows of a recording is what was recorded', async (t) => {
  const folder = temporaryFolder(t);
  const output = path.join(folder, 'run.csv');
  const scenario = path.join(folder, 'losses.txt');
  writeFileSync(scenario, '2 loss left 3\n4 swap right 2\n');
  const browser = await Browser.start(t);
  const arguments_ = ['record', '--sim', '--scenario', scenario, '--view', '--output', output, '--seconds', '10', '--json'];
  const program = await Program.start(t, arguments_);
  const view = await browser.open(t, program.address);
  await view.shows('#headline[data-kind=recording]', 20000);
  assert.equal(await view.text('#headline-name'), 'run.csv');

  await view.page.type('#marker-text', 'set with the button');
  await view.page.click('#marker-set');
  await view.says('#events li:first-child .event-detail', 'set with the button');
  await view.page.focus('#freeze');
  await view.page.keyboard.press('m');
  await view.says('#events li:first-child .event-detail', 'marker 2');
  await view.page.type('#marker-text', hostile);
  await view.page.keyboard.press('Enter');
  await view.says('#events li:first-child .event-detail', hostile);

  assert.equal(await program.ended(), 0);
  await view.shows('#headline[data-kind=ended]');
  view.check();

  const summary = JSON.parse(program.output);
  assert.equal(await view.count('#recording [data-field=records]'), summary.frames);
  assert.equal(await view.text('#recording [data-field=books]'), 'all');
  assert.ok(summary.books.balanced);
  for (const [label, books] of Object.entries(summary.books)) {
    if (label === 'balanced') continue;
    const card = `#gloves [data-glove=${label}]`;
    assert.equal(await view.count(`${card} [data-field=sent]`), books.sent, `${label}: sent`);
    assert.equal(await view.count(`${card} [data-field=recorded]`), books.recorded, `${label}: recorded`);
    for (const [cause, lost] of Object.entries(books.lost)) {
      assert.equal(await view.count(`${card} [data-cause=${cause}]`), lost, `${label}: ${cause}`);
    }
  }
  assert.ok(summary.books.left.lost.radio > 0, 'the simulation lost nothing');

  const [, ...events] = readFileSync(path.join(folder, 'run.events.csv'), 'utf8').trim().split('\n');
  const texts = events.map((line) => line.replace(/^[\d.]+,marker,,/, ''));
  assert.deepEqual(texts, ['set with the button', 'marker 2', `"${hostile.replaceAll('"', '""')}"`]);
});
