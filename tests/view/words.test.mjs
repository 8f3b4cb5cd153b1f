// What the page says, without a browser: units, the line at the top, warnings, the scale and the clock.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Clock } from '../../host/live/page/clock.js';
import { headlineOf } from '../../host/live/page/headline.js';
import { limitReached } from '../../host/live/page/recording.js';
import { rangeOf, scaleError } from '../../host/live/page/scale.js';
import { bytes, count, duration, fileName, moment, percent, roughly, visible } from '../../host/live/page/text.js';
import { WarningList } from '../../host/live/page/warnings.js';

test('numbers are shown with the unit that fits, and never as another number', () => {
  const rows = [
    [duration, 59.99, '0:59'],
    [duration, 3600, '1:00:00'],
    [duration, null, '–'],
    [moment, 12.39, '0:12.3'],
    [moment, 12.3, '0:12.3'],
    [moment, 59.99, '0:59.9'],
    [moment, 3661.05, '1:01:01.0'],
    [moment, null, '–'],
    [roughly, 119, '119 s'],
    [roughly, 120, '2 min'],
    [roughly, 12000, '3 h 20 min'],
    [roughly, 172800, '2 days'],
    [roughly, 1e12, 'over 999 days'],
    [bytes, 999, '999 B'],
    [bytes, 999.6, '1.00 kB'],
    [bytes, 9.996e3, '10.0 kB'],
    [bytes, 999600, '1.00 MB'],
    [bytes, 8e10, '80.0 GB'],
    [percent, 0, '0 %'],
    [percent, 1e-6, '< 0.01 %'],
    [percent, 0.0099, '0.99 %'],
    [percent, 0.00996, '1.0 %'],
    [percent, 0.0996, '10 %'],
    [percent, Number.NaN, '–'],
    [count, 1234567, '1\u202F234\u202F567'],
    [count, undefined, '–'],
    [fileName, '/home/me/run.csv', 'run.csv'],
    [fileName, 'C:\\data\\run.npy\\', 'run.npy'],
    [visible, 'a\u202Eb\u0000c\nd', 'a\uFFFDb\uFFFDc\uFFFDd'],
  ];
  for (const [show, value, expected] of rows) assert.equal(show(value), expected, `${show.name}(${value})`);
});

const open = { status: 'open', reason: '', since: null };
const gone = { status: 'lost', reason: '', since: new Date(2026, 0, 2, 3, 4, 5) };
const state = (more) => ({ phase: 'reading', text: '', ending: null, reconnections: { secondsLeft: null }, ...more });
const ended = (exitCode) => state({ phase: 'ended', ending: { text: 'stopped', exitCode } });

test('the line at the top says recording only while it is so', () => {
  const recorded = { command: 'record', file: '/data/run.csv' };
  const watched = { command: 'view', file: null };
  const rows = [
    ['recording', open, recorded, state(), 'recording', 'Recording to'],
    ['piped', open, { command: 'record', file: null }, state(), 'recording', 'Recording to'],
    ['watching', open, watched, state(), 'unrecorded', 'Not recorded'],
    ['streaming', open, { command: 'stream', file: null }, state(), 'streaming', 'Streaming, not recorded'],
    ['opening', open, recorded, state({ phase: 'opening' }), 'opening', 'Looking for the gloves'],
    [
      'away',
      open,
      recorded,
      state({ phase: 'away', reconnections: { secondsLeft: 42.2 } }),
      'away',
      'Gloves lost, opening again, 43 s left',
    ],
    ['away for ever', open, recorded, state({ phase: 'away' }), 'away', 'Gloves lost, opening again'],
    ['ended', open, recorded, ended(0), 'ended', 'Ended: stopped'],
    ['ended with an error', open, recorded, ended(9), 'failed', 'Ended: stopped'],
    ['closed after its end', gone, recorded, ended(0), 'ended', 'Ended: stopped'],
    ['no connection while recording', gone, recorded, state(), 'lost', 'No connection to tessel since 03:04:05'],
    ['never connected', { ...gone, since: null }, null, null, 'lost', 'No connection to tessel'],
    ['not yet connected', { ...open, status: 'connecting' }, null, null, 'connecting', 'Connecting to tessel'],
  ];
  for (const [name, connection, layout, now, kind, text] of rows) {
    const said = headlineOf(connection, layout, now);
    assert.deepEqual([said.kind, said.text], [kind, text], name);
  }
});

test('a warning that ends is shown for some seconds, and begins again as a new one', () => {
  const list = new WarningList();
  const shown = () => list.of('alarm').items.map((item) => [item.text, item.since, item.overAt]);
  const silent = (text) => ({ id: 'silent-left', level: 'alarm', text });
  list.update([silent('for 1 s')], 1000);
  list.update([silent('for 2 s')], 2000);
  assert.deepEqual(shown(), [['for 2 s', 1000, null]]);
  list.update([], 3000);
  list.update([], 8000);
  assert.deepEqual(shown(), [['for 2 s', 1000, 3000]]);
  list.update([silent('for 1 s')], 8500);
  assert.deepEqual(shown(), [['for 1 s', 8500, null]]);
  list.update([{ id: 'connection', level: 'alarm', text: 'lost' }], 8600, false);
  assert.deepEqual(shown(), [['lost', 8600, null]], 'what was warned of before is not over');
  list.update([], 8700, false);
  list.update([{ ...silent('weak'), level: 'notice' }], 9000);
  assert.deepEqual([shown(), list.of('notice').items.length], [[], 1]);
  list.update([], 10000);
  list.update([], 20000);
  assert.equal(list.of('notice').items.length, 0);
  list.update(
    Array.from({ length: 100 }, (_, id) => ({ id: String(id), level: 'alarm', text: '' })),
    21000,
  );
  assert.equal(list.of('alarm').items.length + list.of('alarm').more, 100);
  assert.ok(list.of('alarm').items.length < 10);
});

test('a scale takes two counts in order', () => {
  for (const [low, high] of [
    ['0', '65535'],
    ['7', '8'],
  ])
    assert.equal(scaleError(low, high), '');
  for (const [low, high] of [
    ['', '5'],
    ['5', '5'],
    ['6', '5'],
    ['-1', '5'],
    ['1.5', '5'],
    ['1', '65536'],
    ['1', '1e4'],
  ]) {
    assert.notEqual(scaleError(low, high), '', `${low} to ${high}`);
  }
  assert.deepEqual(rangeOf({ gloves: [{ elements: [5, 9] }, { elements: [3] }] }), { low: 3, high: 9 });
  for (const picture of [null, { gloves: [] }, { gloves: [{ elements: [4, 4] }] }])
    assert.deepEqual(rangeOf(picture), { low: 0, high: 65535 });
});

test('the clock follows the messages that are least late', () => {
  const clock = new Clock();
  assert.ok(Number.isNaN(clock.at(0)));
  clock.heard(1000, 50);
  clock.heard(1500, 700);
  assert.ok(Math.abs(clock.at(700) - 1650) < 1);
  clock.heard(2000, 1040);
  assert.equal(clock.at(1040), 2000);
  clock.reset();
  clock.heard(10, 2000);
  assert.equal(clock.at(2000), 10);
});

test('a limit of any kind counts as reached by the one that is nearer', () => {
  const now = { seconds: 30, records: 10 };
  assert.equal(limitReached({ limitSeconds: null, limitRecords: null }, now), null);
  assert.equal(limitReached({ limitSeconds: 60, limitRecords: null }, now), 0.5);
  assert.equal(limitReached({ limitSeconds: 60, limitRecords: 12 }, now), 10 / 12);
  assert.equal(limitReached({ limitSeconds: 20, limitRecords: null }, now), 1);
});
