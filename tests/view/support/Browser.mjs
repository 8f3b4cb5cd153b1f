// A browser without a window. What must never happen while a page is watched is collected, and fails the test: errors of
// scripts, anything that the browser reports as an error, violations of the security policy, requests that leave the server.
import assert from 'node:assert/strict';
import puppeteer from 'puppeteer-core';

import { until } from './Process.mjs';

const file = process.env.TESSEL_BROWSER ?? '/usr/bin/chromium';

export class Browser {
  #browser;

  static async start(t) {
    const browser = new Browser();
    browser.#browser = await puppeteer.launch({
      executablePath: file,
      headless: true,
      args: ['--no-sandbox', '--disable-dev-shm-usage'],
    });
    t.after(() => browser.#browser.close());
    return browser;
  }

  // Until the test ends. `tolerated`: errors that the test causes. `without`: the end of an address that is not answered.
  async open(t, address, { width = 1280, height = 900, scale = 1, touch = false, tolerated = null, without = null } = {}) {
    // Nothing is kept from one page to the next.
    const context = await this.#browser.createBrowserContext();
    // The browser may be closed already.
    t.after(() => context.close().catch(() => {}));
    const view = new View(await context.newPage(), address, tolerated);
    await view.page.setViewport({ width, height, deviceScaleFactor: scale, hasTouch: touch, isMobile: touch });
    if (without !== null) await view.refuse(without);
    await view.page.goto(address, { waitUntil: 'domcontentloaded' });
    return view;
  }
}

export class View {
  #faults = [];
  #client = null;

  constructor(page, address, tolerated) {
    this.page = page;
    const note = (text) => {
      if (!tolerated?.test(text)) this.#faults.push(text);
    };
    page.on('pageerror', (error) => note(`script: ${error.stack ?? error}`));
    page.on('console', (message) => {
      if (message.type() === 'error' || message.type() === 'warn') note(`console: ${message.text()} ${message.location().url ?? ''}`);
    });
    page.on('dialog', (dialog) => {
      note(`dialog: ${dialog.message()}`);
      dialog.dismiss();
    });
    page.on('request', (request) => {
      const url = new URL(request.url());
      if (url.protocol !== 'data:' && url.origin !== new URL(address).origin) note(`foreign request: ${url}`);
    });
  }

  async refuse(end) {
    await this.page.setRequestInterception(true);
    this.page.on('request', (request) => (request.url().endsWith(end) ? request.abort() : request.continue()));
  }

  // What a page may not do has not happened.
  check() {
    assert.deepEqual(this.#faults, []);
  }

  text(selector) {
    return this.page.$eval(selector, (element) => element.textContent.trim());
  }

  // The digits of a number that people read with spaces in it; NaN if there is none.
  async count(selector) {
    const text = (await this.text(selector)).replace(/[\s\u202F]/g, '');
    return Number.parseInt(text, 10);
  }

  attribute(selector, name) {
    return this.page.$eval(selector, (element, attribute) => element.getAttribute(attribute), name);
  }

  // Until an element matches. A page with faults need not be waited for.
  async shows(selector, timeoutMs = 10000) {
    await until(
      `the page shows ${selector}`,
      async () => this.#faults.length > 0 || (await this.page.$(selector)) !== null,
      timeoutMs,
    );
    this.check();
  }

  // Until the text of an element is, or matches.
  says(selector, wanted, timeoutMs = 10000) {
    return until(`${selector} says ${wanted}`, async () => {
      const text = await this.text(selector);
      return wanted instanceof RegExp ? wanted.test(text) : text === wanted;
    }, timeoutMs);
  }

  // A canvas as a text, to be compared.
  pixels(selector) {
    return this.page.$eval(selector, (canvas) => canvas.toDataURL());
  }

  // Bytes of its scripts' heap that are in use.
  async heap() {
    this.#client ??= await this.page.createCDPSession();
    await this.#client.send('HeapProfiler.collectGarbage');
    const { usedSize } = await this.#client.send('Runtime.getHeapUsage');
    return usedSize;
  }
}
