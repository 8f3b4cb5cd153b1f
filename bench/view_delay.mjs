// Looks at a live page with a browser, and prints which record each of its pictures showed, and when it was painted:
// [[record, ms since 1970], ...]
//   node view_delay.mjs ADDRESS SECONDS

import puppeteer from 'puppeteer-core';

const [address, seconds] = process.argv.slice(2);
const browser = await puppeteer.launch({
  executablePath: '/usr/bin/chromium',
  headless: true,
  args: ['--no-sandbox'],
  defaultViewport: {width: 1366, height: 768},
});
try {
  const page = await browser.newPage();
  await page.evaluateOnNewDocument(() => {
    window.painted = [];
    window.EventSource = class extends EventSource {
      constructor(...parameters) {
        super(...parameters);
        let newest = 0;
        this.addEventListener('picture', (event) => {
          const isWaiting = newest > 0;
          newest = JSON.parse(event.data).record;
          if (isWaiting) return;
          // A task that follows the frame: by then it is painted.
          requestAnimationFrame(() => {
            const shown = newest;
            newest = 0;
            const channel = new MessageChannel();
            channel.port1.onmessage = () => window.painted.push([shown, Date.now()]);
            channel.port2.postMessage(null);
          });
        });
      }
    };
  });
  await page.goto(address);
  await new Promise((done) => setTimeout(done, 1000 * Number(seconds)));
  console.log(JSON.stringify(await page.evaluate(() => window.painted)));
} finally {
  await browser.close();
}
