// What the pictures of the page compute without a browser.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { colourIndex, colourTable, regionStyles } from '../../host/live/page/colours.js';
import { cellSizes, elementAt, gridOf, hullOf, neighbourOf } from '../../host/live/page/geometry.js';
import { followRange, shownRange } from '../../host/live/page/range.js';
import { Ring } from '../../host/live/page/ring.js';

const up = [0, 1];
const right = [1, 0];

test('colours reach both ends, and values beyond them stay within', () => {
  const table = colourTable(['#440154', '#26828e', '#fde725']);
  assert.equal(table.length, 256);
  assert.equal(table[0], 'rgb(68, 1, 84)');
  assert.equal(table[255], 'rgb(253, 231, 37)');
  assert.equal(colourTable(['#010203'])[128], 'rgb(1, 2, 3)');
  const rows = [
    { value: 100, low: 100, high: 300, index: 0 },
    { value: 300, low: 100, high: 300, index: 255 },
    { value: 200, low: 100, high: 300, index: 128 },
    { value: 65535, low: 100, high: 300, index: 255 },
    { value: 0, low: 100, high: 300, index: 0 },
    { value: 7, low: 7, high: 7, index: 0 },
  ];
  for (const { value, low, high, index } of rows) {
    assert.equal(colourIndex(value, low, high), index, `${value} in ${low} to ${high}`);
  }
});

test('a region looks the same in both gloves, and never like another', () => {
  const names = Array.from({ length: 20 }, (_, index) => ({ name: `region${index}` }));
  const styles = regionStyles([{ regions: names.slice(0, 15) }, { regions: [...names].reverse() }]);
  assert.equal(styles.get('region0').colour, '#0072b2');
  assert.equal(new Set([...styles.values()].map((style) => JSON.stringify(style))).size, names.length);
});

test('the automatic scale widens at once, stays, then narrows slowly', () => {
  let range = followRange(null, 100, 200, 0);
  range = followRange(range, 50, 1050, 100);
  assert.deepEqual([range.low, range.high], [50, 1050]);
  // Touches every three seconds, not all as strong, keep it.
  for (let ms = 200; ms <= 20000; ms += 100) range = followRange(range, 60, ms % 3000 === 0 ? 1000 : 300, ms);
  assert.deepEqual([range.low, range.high], [50, 1050]);
  let previous = range.high;
  for (let ms = 20100; ms <= 40000; ms += 100) {
    range = followRange(range, 60, 300, ms);
    assert.ok(range.high <= previous && previous - range.high < 0.1 * previous, `jumped at ${ms}`);
    previous = range.high;
  }
  assert.ok(range.high < 350);
  assert.equal(range.low, 50, 'the noise at rest moves it');
  // A program that was started again has earlier times.
  assert.equal(followRange(range, 10, 20, 0).high, 20);
});

test('noise at rest does not fill the scale', () => {
  assert.deepEqual(shownRange({ low: 300, high: 320 }, 200), { low: 300, high: 500 });
});

test('the ring keeps the latest in order, however long it runs', () => {
  const ring = new Ring(2, 100);
  for (let index = 0; index < 1234; ++index) {
    ring.push(10 * index, (column) => 2 * index + column);
    assert.ok(ring.length <= 100);
  }
  const last = Array.from({ length: 100 }, (_, index) => 1134 + index);
  assert.deepEqual([...ring.times()], last.map((index) => 10 * index));
  assert.deepEqual([...ring.column(1)], last.map((index) => 2 * index + 1));
  ring.push(10 * 1233, () => 0); // what the history already had
  assert.equal(ring.latestMs, 10 * 1233);
  assert.equal(ring.nearest(11344), 0);
  assert.equal(ring.nearest(11346), 1);
  assert.equal(ring.nearest(1e9), null, 'none is near');
  assert.equal(ring.copy().nearest(12330), 99);
  assert.equal(new Ring(1, 10).nearest(0), null);
});

test('an interval much longer than usual is a gap, at any rate', () => {
  for (const interval of [33, 200]) {
    const ring = new Ring(1, 500);
    let ms = 0;
    const runOf = (count) => {
      for (let index = 0; index < count; ++index) ring.push((ms += interval * (index % 2 ? 1.5 : 0.5)), () => 0);
    };
    runOf(100);
    assert.deepEqual(ring.gaps, [], `every ${interval} ms`);
    const from = ms;
    ring.push((ms += 2000), () => 0);
    runOf(100);
    assert.deepEqual(ring.gaps, [[from, from + 2000]], `every ${interval} ms`);
    runOf(1000);
    assert.deepEqual(ring.gaps, [], 'what has left the ring is forgotten');
  }
});

test('the pointer finds the element under it, and nothing between elements', () => {
  const positions = gridOf(125);
  const sizes = cellSizes(positions, [{ name: 'all', elements: [...positions.keys()] }]);
  assert.ok(sizes.every((size) => size > 8 && size < 10));
  assert.equal(elementAt(positions, sizes, positions[77]), 77);
  assert.equal(elementAt(positions, sizes, [positions[77][0] + 3, positions[77][1] - 3]), 77);
  assert.equal(elementAt(positions, sizes, [-20, 0]), null);
});

test('arrow keys go to the nearest element in their direction, and reach every element', () => {
  assert.equal(neighbourOf(gridOf(9), 4, up), 1);
  assert.equal(neighbourOf(gridOf(9), 4, right), 5);
  assert.equal(neighbourOf(gridOf(9), 5, right), 5);
  // A finger that leans, next to a row of the palm.
  const positions = [[0, 0], [10, 0], [20, 0], [3, 12], [11, 13], [6, 22], [14, 23]];
  assert.equal(neighbourOf(positions, 3, up), 5);
  const reached = new Set([0]);
  for (const element of reached) {
    for (const direction of [up, right, [0, -1], [-1, 0]]) reached.add(neighbourOf(positions, element, direction));
  }
  assert.equal(reached.size, positions.length);
});

test('the outline of a region has only its outer elements', () => {
  assert.deepEqual(hullOf([[0, 0], [1, 1], [2, 0], [2, 2], [0, 2], [1, 0]]), [[0, 0], [2, 0], [2, 2], [0, 2]]);
});
