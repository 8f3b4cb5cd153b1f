// What goes wrong is seen: a glove is lost or falls silent, the program is gone. Times are those from the command that
// caused it to the change of the page.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Browser } from '../support/Browser.mjs';
import { Program, Simulation } from '../support/Program.mjs';

const lostShownMs = 2000;
const silentShownMs = 3000; // of which a second makes a glove silent
const card = (label, ...states) => states.map((state) => `#gloves [data-glove=${label}][data-state=${state}]`).join(', ');

test('gloves that are lost or silent', async (t) => {
  const simulation = await Simulation.start(t);
  await simulation.command('name left KVXGL<b>17</b>');
  await simulation.command('name right KVXGR"><img src=x>');
  const program = await Program.start(t, ['view'], simulation.environment);
  const browser = await Browser.start(t);
  const view = await browser.open(t, program.address);
  const bothConnected = async () => {
    for (const label of ['left', 'right']) await view.shows(card(label, 'connected'), 40000);
  };
  const seenWithin = async (longestMs, command, ...selectors) => {
    const begin = await simulation.command(command);
    for (const selector of selectors) await view.shows(selector, longestMs);
    const ms = performance.now() - begin;
    t.diagnostic(`${command}: seen after ${ms.toFixed(0)} ms`);
    assert.ok(ms <= longestMs, `${command}: seen after ${ms.toFixed(0)} ms`);
  };
  await bothConnected();

  await t.test('names of gloves stay texts', async () => {
    assert.equal(await view.text('#gloves [data-glove=left] [data-field=module]'), 'KVXGL<b>17</b>');
    assert.equal(await view.text('#gloves [data-glove=right] [data-field=module]'), 'KVXGR"><img src=x>');
    assert.equal(await view.page.$('img, b'), null);
  });

  await t.test('without a layout the elements are in rows, and the page says so', async () => {
    assert.match(await view.text('.hands-note'), /^No layout of the hand/);
  });

  await t.test('a glove is lost, and comes back', async () => {
    await simulation.command('hide left');
    await seenWithin(lostShownMs, 'drop left', card('left', 'lost', 'away'), '#alarms [data-state=active]');
    await view.shows('#headline[data-kind=away]');
    await simulation.command('show left');
    await bothConnected();
    await view.shows('#headline[data-kind=unrecorded]');
    await view.says('#events li:first-child .event-name', /^reconnected/);
  });

  await t.test('a glove falls silent, and comes back', async () => {
    await seenWithin(silentShownMs, 'silent right', card('right', 'silent', 'lost', 'away'), '#alarms [data-state=active]');
    await simulation.command('back right');
    await simulation.command('restart right');
    await bothConnected();
  });
  view.check();
});

test('a program that is gone, and one that is started again', async (t) => {
  const browser = await Browser.start(t);
  const first = await Program.start(t, ['view', '--sim']);
  const { port } = new URL(first.address);
  const view = await browser.open(t, first.address, { tolerated: /ERR_CONNECTION_REFUSED|ERR_INCOMPLETE_CHUNKED|ERR_EMPTY_RESPONSE|ERR_CONNECTION_RESET/ });
  await view.shows(card('left', 'connected'), 20000);
  await first.stop('SIGKILL');
  await view.shows('html[data-connection=lost]', 3500);
  await view.shows('#alarms [data-warning=connection][data-state=active]');
  assert.match(await view.text('#headline'), /No connection to tessel/);

  const second = await Program.start(t, ['view', '--sim', '--gloves', 'left'], {}, port);
  await view.shows('html[data-connection=open]', 10000);
  await view.shows(card('left', 'connected'), 20000);
  assert.equal(await view.page.$('#gloves [data-glove=right]'), null);
  assert.equal((await view.page.$$('.hand canvas')).length, 1);
  await second.stop();
  await view.shows('#headline[data-kind=ended]');
  view.check();
});

test('the page without its plots still shows the hands', async (t) => {
  const program = await Program.start(t, ['view', '--sim']);
  const browser = await Browser.start(t);
  const view = await browser.open(t, program.address, { tolerated: /uPlot/, without: '/uPlot.iife.min.js' });
  await view.shows('.hand[data-glove=right] canvas', 20000);
  await view.says('#curves', /did not load/);
  view.check();
});
