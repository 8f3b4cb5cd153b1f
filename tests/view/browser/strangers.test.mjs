// Who may see the page: those who have its address, and no other page of their browser.
import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { test } from 'node:test';

import { Browser } from '../support/Browser.mjs';
import { Program } from '../support/Program.mjs';

test('a page at a given address needs its token, and takes it out of the address', async (t) => {
  const browser = await Browser.start(t);
  const program = await Program.start(t, ['view', '--sim', '--listen', '127.0.0.1']);
  const [, address] = await program.line(/Live page: (\S+)/);
  assert.match(address, /\/\?token=[0-9a-f]{32}$/);
  assert.equal((await fetch(program.address)).status, 401);

  const view = await browser.open(t, address);
  await view.shows('#gloves [data-glove=left][data-state=connected]', 20000);
  assert.equal(view.page.url(), program.address);
  assert.equal(await view.page.evaluate(() => document.cookie), '', 'no script can read it');
  await view.page.keyboard.press('m');
  await view.says('#events li:first-child .event-detail', 'marker 1');
  view.check();
});

// What a page of somebody else tries while the person looks at both.
async function attack(address) {
  const outcome = (promise) => promise.then(() => 'succeeded', () => 'failed');
  const marker = { method: 'POST', mode: 'no-cors', body: '{"text": "forged"}' };
  const loaded = (element) =>
    outcome(
      new Promise((done, fail) => {
        element.onload = element.onopen = done;
        element.onerror = fail;
      }),
    );
  const stream = loaded(new EventSource(`${address}api/stream`));
  const element = document.createElement('script');
  element.src = `${address}api/state`;
  const script = loaded(element);
  document.head.append(element);
  // Without cors the answer can't be read, but the request is sent.
  await fetch(`${address}api/marker`, marker).catch(() => {});
  return {
    read: await outcome(fetch(`${address}api/state`)),
    mark: await outcome(fetch(`${address}api/marker`, { ...marker, mode: 'cors' })),
    stream: await stream,
    script: await script,
  };
}

test('other pages in the browser can neither read nor mark', async (t) => {
  const stranger = createServer((request, response) => response.end('<!DOCTYPE html><title>Stranger</title>'));
  await new Promise((done) => stranger.listen(0, '127.0.0.1', done));
  t.after(() => stranger.close());
  const browser = await Browser.start(t);
  const program = await Program.start(t, ['view', '--sim']);
  // Another site for the browser, and the same computer.
  const view = await browser.open(t, `http://localhost:${stranger.address().port}/`, { tolerated: /./ });
  assert.deepEqual(await view.page.evaluate(attack, program.address), {
    read: 'failed',
    mark: 'failed',
    stream: 'failed',
    script: 'failed',
  });
  const { events } = await program.state();
  assert.deepEqual(events.filter((event) => event.event === 'marker'), []);
});
