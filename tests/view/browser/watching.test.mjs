// What somebody sees and does on the page of two simulated gloves.
import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { setTimeout as pause } from 'node:timers/promises';

import { Browser } from '../support/Browser.mjs';
import { until } from '../support/Process.mjs';
import { Program, temporaryFolder } from '../support/Program.mjs';

const hostileTexts = [
  '<img src=x onerror="window.hacked=1"><script>window.hacked=1</script>',
  '"></bdi><b>bold</b>&lt;i&gt; \'; drop table',
  'W'.repeat(900),
];
const canvases = ['left', 'right'].flatMap((glove) => [
  `.hand[data-glove=${glove}] canvas`,
  `.curve[data-glove=${glove}] canvas`,
]);

async function connected(view) {
  for (const glove of ['left', 'right']) await view.shows(`#gloves [data-glove=${glove}][data-state=connected]`, 20000);
  await view.shows('.curve[data-glove=right] canvas');
}

async function moves(view) {
  for (const canvas of canvases) {
    const before = await view.pixels(canvas);
    await until(`${canvas} moves`, async () => (await view.pixels(canvas)) !== before);
  }
}

test('the page of two gloves', async (t) => {
  const scenario = path.join(temporaryFolder(t), 'losses.txt');
  writeFileSync(scenario, '1 loss left 1\n');
  const program = await Program.start(t, ['view', '--sim', '--scenario', scenario]);
  const browser = await Browser.start(t);
  const watch = async (t, options) => {
    const view = await browser.open(t, program.address, options);
    await connected(view);
    return view;
  };

  await t.test('both hands and their curves move', async (t) => {
    const view = await watch(t);
    await moves(view);
    assert.equal(await view.attribute('#headline', 'data-kind'), 'unrecorded');
    for (const canvas of canvases.filter((name) => name.startsWith('.hand'))) {
      assert.match(await view.attribute(canvas, 'aria-label'), /^(left|right) glove: 125 elements/);
    }
    view.check();
  });

  await t.test('numbers are those of the program', async (t) => {
    const view = await watch(t);
    await until('frames are lost', async () => (await program.state()).gloves[0].lost.radio > 5, 20000);
    const before = await program.state();
    // The page has a newer state by then: there are at least two a second.
    await pause(1200);
    const shown = await view.page.evaluate(() => {
      const number = (element) => Number.parseInt(element.textContent.replace(/[\s\u202F]/g, ''), 10);
      return [...document.querySelectorAll('#gloves [data-glove]')].map((card) => ({
        sent: number(card.querySelector('[data-field=sent]')),
        recorded: number(card.querySelector('[data-field=recorded]')),
        lostTotal: number(card.querySelector('[data-field=lostTotal]')),
        lost: Object.fromEntries(
          [...card.querySelectorAll('[data-cause]')].map((cause) => [cause.dataset.cause, number(cause)]),
        ),
      }));
    });
    const after = await program.state();
    shown.forEach((card, index) => {
      const isBetween = (from, value, to, name) =>
        assert.ok(from <= value && value <= to, `glove ${index}: ${name} is ${value}, the program had ${from} to ${to}`);
      const [old, recent] = [before.gloves[index], after.gloves[index]];
      for (const name of ['sent', 'recorded', 'lostTotal']) isBetween(old[name], card[name], recent[name], name);
      assert.deepEqual(Object.keys(card.lost).sort(), Object.keys(recent.lost).sort());
      for (const cause of Object.keys(recent.lost)) isBetween(old.lost[cause], card.lost[cause], recent.lost[cause], cause);
    });
    view.check();
  });

  await t.test('markers of the button and the key are listed, and texts stay texts', async (t) => {
    const view = await watch(t);
    await view.page.focus('body');
    await view.page.keyboard.press('m');
    await view.says('#events li:first-child .event-detail', /^marker \d+$/);
    for (const text of hostileTexts) {
      await view.page.focus('#marker-text');
      await view.page.keyboard.sendCharacter(text);
      await view.page.click('#marker-set');
      await view.says('#events li:first-child .event-detail', text);
    }
    assert.deepEqual(
      await view.page.evaluate(() => ['hacked' in window, document.querySelectorAll('img, b, bdi script, #events script').length]),
      [false, 0],
    );
    // A key in the field is a letter of the text.
    await view.page.type('#marker-text', 'mf?');
    assert.equal(await view.attribute('#freeze', 'aria-pressed'), 'false');
    assert.equal(await view.text('#events li:first-child .event-detail'), hostileTexts.at(-1));
    view.check();
  });

  await t.test('a frozen page stands still, and goes on', async (t) => {
    const view = await watch(t);
    await moves(view);
    await view.page.focus('body');
    await view.page.keyboard.press('f');
    await view.shows('html[data-frozen]');
    await pause(200);
    const still = await Promise.all(canvases.map((canvas) => view.pixels(canvas)));
    const { records } = await program.state();
    await until('the program goes on', async () => (await program.state()).records > records + 30);
    assert.deepEqual(await Promise.all(canvases.map((canvas) => view.pixels(canvas))), still);
    assert.match(await view.text('#frozen'), /frozen/);
    await view.page.click('#freeze');
    await moves(view);
    view.check();
  });

  await t.test('every control has a name, and the keyboard reaches it', async (t) => {
    const view = await watch(t);
    await view.page.click('#scale-fixed');
    const controls = ['button', 'textbox', 'combobox', 'radio', 'checkbox', 'spinbutton', 'slider', 'link', 'image', 'DisclosureTriangle'];
    const nameless = [];
    let named = 0;
    const visit = (node) => {
      if (controls.includes(node.role)) {
        if (node.name) ++named;
        else nameless.push(JSON.stringify(node));
      }
      node.children?.forEach(visit);
    };
    visit(await view.page.accessibility.snapshot({ interestingOnly: false }));
    assert.deepEqual(nameless, []);
    assert.ok(named > 15, `only ${named} controls and pictures`);

    const wanted = await view.page.$$eval(
      'button, input:not([type=radio]), input[type=radio]:checked, select, summary, [tabindex="0"]',
      (elements) => elements.filter((element) => element.checkVisibility() && !element.disabled).length,
    );
    await view.page.focus('body');
    const reached = new Set();
    for (let presses = 0; presses < 2 * wanted; ++presses) {
      await view.page.keyboard.press('Tab');
      reached.add(
        await view.page.evaluate(() => {
          const all = [...document.querySelectorAll('*')];
          return document.activeElement === document.body ? -1 : all.indexOf(document.activeElement);
        }),
      );
    }
    reached.delete(-1);
    assert.equal(reached.size, wanted);
    view.check();
  });

  await t.test('values are read with pointer and keys', async (t) => {
    const view = await watch(t);
    const canvas = '.hand[data-glove=right] canvas';
    await view.page.focus(canvas);
    await view.page.keyboard.press('ArrowUp');
    await view.says('#reading', /right, .*element \d+: \d/);
    const first = (await view.text('#reading')).replace(/:.*/, '');
    await view.page.keyboard.press('ArrowDown');
    await until('another element', async () => !(await view.text('#reading')).startsWith(`${first}:`));
    await view.page.keyboard.press('Escape');
    await view.says('#reading', '');
    await view.page.hover('.curve[data-glove=left] .u-over');
    for (const glove of ['left', 'right']) await view.says(`.curve[data-glove=${glove}] .curve-time`, /^15\.\d s ago$/);
    await view.page.hover('#curves-title');
    await view.says('.curve[data-glove=right] .curve-time', '');
    await view.page.focus('.curve[data-glove=right] .curve-frame');
    await view.page.keyboard.press('ArrowLeft');
    await view.says('.curve[data-glove=left] .curve-time', '0.5 s ago');
    view.check();
  });

  await t.test('nothing is wider than a phone, and a touch reads a value', async (t) => {
    const view = await watch(t, { width: 320, height: 640, scale: 2, touch: true });
    await view.page.click('#scale-fixed');
    assert.equal(await view.page.evaluate(() => document.documentElement.scrollWidth), 320);
    await view.page.tap('.hand[data-glove=left] canvas');
    // Between elements there is nothing to read, so one that is there is looked for.
    const hand = await (await view.page.$('.hand[data-glove=left] canvas')).boundingBox();
    for (let step = 1; step < 20 && (await view.text('#reading')) === ''; ++step) {
      await view.page.touchscreen.tap(hand.x + hand.width / 2 + step, hand.y + hand.height * 0.7);
    }
    assert.match(await view.text('#reading'), /^left, palm, element \d+: \d/);
    view.check();
  });

  await t.test('dark where the system is, and another choice is kept', async (t) => {
    const view = await watch(t);
    const paper = () => view.page.evaluate(() => getComputedStyle(document.body).backgroundColor);
    await view.page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: 'dark' }]);
    await view.shows('html[data-theme=dark]');
    const dark = await paper();
    await view.page.select('#theme', 'light');
    await view.shows('html[data-theme=light]');
    assert.notEqual(await paper(), dark);
    await view.page.reload();
    await view.shows('html[data-theme=light]');
    view.check();
  });
});
