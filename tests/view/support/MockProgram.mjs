// @ts-check
// Stands for `tessel` behind the page: its files and its interface, with two hands that move and states that the real
// program can't easily be brought into. For tests of the page, and to look at it:
//
//     node tests/view/support/MockProgram.mjs [SCENARIO] [PORT]
//
// Its scenarios are in `scenarios` below. What it doesn't have: tokens in the address, limits of requests and viewers.

import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../../..');
const types = { '.html': 'text/html', '.css': 'text/css', '.js': 'text/javascript' };
const policy =
  "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; " +
  "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
const colours = [
  '#440154',
  '#482878',
  '#3e4989',
  '#31688e',
  '#26828e',
  '#1f9e89',
  '#35b779',
  '#6ece58',
  '#b5de2b',
  '#fde725',
];
const pictureMs = 33;
const stateMs = 500;
const lossCauses = ['unheard', 'radio', 'refused', 'faulty', 'pairing', 'queued', 'discarded'];
export const hostile = '<img src=x onerror="document.title=\'hacked\'">\u202Egnp.exe \u2066" & \' </script>\u0007';

const range = (text) => {
  const [from, to] = String(text).split('-').map(Number);
  return Array.from({ length: (to ?? from) - from + 1 }, (_, at) => from + at);
};

async function handRegions() {
  const layout = JSON.parse(await readFile(path.join(root, 'share/layouts/simulated-hand.json'), 'utf8'));
  return layout.left.regions.map((region) => ({ ...region, elements: region.elements.flatMap(range) }));
}

function gloveOf(label, regions) {
  const positions = [];
  for (const region of regions) {
    region.elements.forEach((element, at) => {
      const [x, y] = region.positions[at];
      positions[element] = [label === 'right' ? -x : x, y];
    });
  }
  return {
    label,
    module: label === 'right' ? 'KVXGR00018' : 'KVXGL00017',
    count: positions.length,
    hasPositions: true,
    hasRegions: true,
    positions,
    regions: regions.map(({ name, elements }) => ({ name, elements })),
  };
}

// Fingers that press one after the other, so that each region is seen to move: 0 to 1.
const pressOf = (number, seconds, phase) => Math.max(0, Math.sin(1.7 * seconds + phase - number * 0.9)) ** 3;

function elementsAt(glove, seconds, phase) {
  const elements = new Array(glove.count).fill(0);
  glove.regions.forEach((region, number) => {
    const press = pressOf(number, seconds, phase);
    region.elements.forEach((element, at) => {
      const place = region.elements.length > 1 ? at / (region.elements.length - 1) : 1;
      const noise = ((element * 7919 + Math.floor(seconds * 30) * 104729) % 23) - 11;
      elements[element] = Math.max(0, Math.round(110 + noise + 1100 * press * (0.25 + 0.75 * place)));
    });
  });
  return elements;
}

const meanOf = (elements, region) =>
  region.elements.reduce((sum, element) => sum + elements[element], 0) / region.elements.length;

const losses = (numbers) => Object.fromEntries(lossCauses.map((cause) => [cause, numbers[cause] ?? 0]));

const goneGlove = {
  framesPerSecond: 0,
  latencyMs: null,
  lostShareNow: null,
  rssi: null,
};

// Each changes what is normal: `layout` once, `state` at each time. `gone` gloves move no more, `silentPictures` sends
// none.
export const scenarios = {
  normal: {},
  unrecorded: {
    layout: (layout) => Object.assign(layout, { file: null, command: 'view' }),
    state: (state) => {
      state.recording = null;
    },
  },
  limit: { layout: (layout) => Object.assign(layout, { limitSeconds: 600 }) },
  silent: {
    gone: ['left'],
    silentPictures: true,
    state(state, seconds) {
      state.recordsPerSecondNow = 0;
      Object.assign(state.gloves[0], goneGlove, { state: 'silent', silentSeconds: seconds });
      state.warnings.push({
        id: 'silent-left',
        level: 'alarm',
        text: `The left glove is silent: nothing heard for ${seconds.toFixed(1)} s.`,
      });
    },
  },
  away: {
    gone: ['left', 'right'],
    silentPictures: true,
    state(state, seconds) {
      state.phase = 'away';
      state.text = 'Heard so far: the right glove.';
      Object.assign(state.gloves[0], goneGlove, {
        state: 'lost',
        text: 'The connection ended: supervision timeout.',
        battery: 0.12,
      });
      Object.assign(state.gloves[1], goneGlove, {
        state: 'away',
        text: 'Heard, waiting for the other one.',
        rssi: -61,
      });
      state.reconnections = { count: 1, awaySeconds: seconds, secondsLeft: Math.max(0, 43 - seconds) };
      state.warnings.push({
        id: 'away',
        level: 'alarm',
        text: 'The left glove is lost: its connection ended. Opening it again.',
      });
    },
  },
  problems: {
    state(state) {
      Object.assign(state.recording, { freeBytes: 7.2e6, secondsLeft: 180 });
      Object.assign(state.gloves[1], {
        battery: 0.08,
        sensorFaults: 12,
        lostShareNow: 0.11,
        lostTotal: 431,
        lostShare: 0.07,
        lost: losses({ unheard: 12, radio: 402, refused: 5, pairing: 12 }),
        gaps: 120,
        longestGapMs: 1240,
      });
      state.stalls = { count: 2, longestSeconds: 0.8 };
      state.reconnections = { count: 3, awaySeconds: 75, secondsLeft: null };
      state.books = { balanced: false, text: 'right: 3 frames that were heard are in no record and under no cause.' };
      state.warnings.push(
        {
          id: 'books',
          level: 'alarm',
          text: 'The books do not balance: right: 3 frames that were heard are in no record and under no cause.',
        },
        { id: 'disk', level: 'alarm', text: 'The disk is full in 3 minutes: 7.20 MB are left.' },
        { id: 'battery-right', level: 'notice', text: 'The battery of the right glove is at 8 %.' },
        { id: 'sensor-right', level: 'notice', text: 'The right glove reported a fault of a sensor in 12 frames.' },
      );
    },
  },
  hostile: {
    layout(layout) {
      layout.file = `/tmp/${hostile.replaceAll('/', '')}.csv`;
      layout.gloves[0].module = hostile.repeat(12);
      layout.gloves[0].regions[1].name = hostile;
    },
    state(state) {
      state.gloves[0].module = hostile.repeat(12);
      state.gloves[0].text = hostile.repeat(12);
      state.recording.file = `/tmp/${hostile.replaceAll('/', '')}.csv`;
      state.warnings.push(
        { id: hostile, level: 'alarm', text: hostile.repeat(12) },
        { id: 'n', level: 'notice', text: hostile.repeat(12) },
      );
      for (const [at, detail] of [hostile.repeat(12), 'W'.repeat(1000), '\u05D0\u05D1\u05D2 123 abc'].entries()) {
        state.events.push({
          number: 100 + at,
          ms: state.ms - 3000,
          seconds: 7261.25,
          event: 'marker',
          glove: '',
          detail,
        });
      }
    },
  },
  opening: {
    layout: (layout) => Object.assign(layout, { gloves: [] }),
    silentPictures: true,
    state(state) {
      Object.assign(state, {
        phase: 'opening',
        text: 'Attempt 2: the right glove was not heard',
        seconds: 0,
        records: 0,
        recordsPerSecond: 0,
        recordsPerSecondNow: 0,
        gloves: [],
        recording: null,
        markers: 0,
        events: [],
      });
    },
  },
  ended: {
    silentPictures: true,
    state: (state) =>
      Object.assign(state, {
        phase: 'ended',
        ending: { text: 'stopped by Ctrl+C', exitCode: 0 },
        books: { balanced: true, text: '' },
      }),
  },
  failed: {
    silentPictures: true,
    state: (state) => Object.assign(state, { phase: 'ended', ending: { text: 'the disk is full', exitCode: 9 } }),
  },
  plain: {
    layout(layout) {
      for (const glove of layout.gloves) {
        Object.assign(glove, {
          hasPositions: false,
          hasRegions: false,
          positions: [],
          regions: [{ name: 'all', elements: glove.positions.map((_, element) => element) }],
        });
      }
    },
  },
  single: { layout: (layout) => Object.assign(layout, { gloves: layout.gloves.slice(0, 1) }) },
  unmarked: {
    layout: (layout) => Object.assign(layout, { canMark: false, command: 'stream', file: null }),
    state: (state) => {
      state.recording = null;
    },
  },
};

export class MockProgram {
  token = 'mock-token';
  // Requests of markers as received: {text}.
  requests = [];
  // Set to {status, error} for markers to be refused.
  refusal = null;
  // Set for the stream to stay open but say nothing.
  mute = false;

  #server = createServer((request, response) => this.#answer(request, response));
  #viewers = new Set();
  #timers = [];
  #regions = [];
  #begin = performance.now() - 60000;
  #since = performance.now();
  #markers = [
    { number: 1, ms: 8000, seconds: 8, event: 'marker', glove: '', detail: 'task A begins' },
    { number: 2, ms: 21000, seconds: 21, event: 'disconnected', glove: 'left', detail: 'supervision timeout' },
    { number: 3, ms: 26500, seconds: 26.5, event: 'reconnected', glove: '', detail: 'after 5.5 s' },
    { number: 4, ms: 48123, seconds: 48.123, event: 'marker', glove: '', detail: 'marker 2' },
  ];

  constructor(scenario = 'normal') {
    this.scenario = scenario;
  }

  // Returns its address. Port 0: any that is free.
  async start(port = 0) {
    this.#regions = await handRegions();
    await new Promise((resolve) => {
      this.#server.listen(port, '127.0.0.1', () => resolve(undefined));
    });
    this.#timers = [
      setInterval(() => this.#sendPicture(), pictureMs),
      setInterval(() => this.#send('state', this.state()), stateMs),
    ];
    const address = /** @type {import('node:net').AddressInfo} */ (this.#server.address());
    return `http://127.0.0.1:${address.port}/`;
  }

  async stop() {
    this.#timers.forEach(clearInterval);
    this.dropViewers();
    this.#server.closeAllConnections();
    await new Promise((resolve) => {
      this.#server.close(resolve);
    });
  }

  // From now on; viewers see it at once.
  play(scenario) {
    this.scenario = scenario;
    this.#since = performance.now();
    this.#send('layout', this.layout());
    this.#send('state', this.state());
  }

  dropViewers() {
    for (const viewer of this.#viewers) viewer.destroy();
    this.#viewers.clear();
  }

  get #played() {
    return scenarios[this.scenario];
  }

  layout() {
    const layout = {
      version: '1.0.0',
      command: 'record',
      canMark: true,
      file: '/home/me/measurements/grip-study/run.csv',
      limitSeconds: null,
      limitRecords: null,
      gloves: [gloveOf('left', this.#regions), gloveOf('right', this.#regions)],
      colours,
    };
    this.#played.layout?.(layout);
    return layout;
  }

  state() {
    const ms = performance.now() - this.#begin;
    const seconds = ms / 1000;
    const records = Math.floor(seconds * 50);
    const state = {
      ms,
      phase: 'reading',
      text: '',
      ending: null,
      seconds,
      records,
      recordsPerSecond: 50,
      recordsPerSecondNow: 49.9 + 0.1 * Math.sin(seconds),
      reconnections: { count: 0, awaySeconds: 0, secondsLeft: null },
      stalls: { count: 0, longestSeconds: 0 },
      gloves: this.layout().gloves.map((glove, at) => ({
        label: glove.label,
        module: glove.module,
        state: 'connected',
        text: '',
        battery: 0.75 - 0.2 * at,
        rssi: null,
        silentSeconds: 0.02,
        framesPerSecond: 50 + 0.1 * Math.sin(seconds + at),
        sent: records + 3,
        repeated: 0,
        recorded: records,
        lost: losses({ radio: 3 }),
        lostTotal: 3,
        lostShare: 3 / (records + 3),
        lostShareNow: at * 0.002,
        latencyMs: 6.1 + at,
        gaps: 2,
        longestGapMs: 40,
        sensorFaults: 0,
      })),
      books: { balanced: null, text: '' },
      recording: {
        file: this.layout().file,
        bytes: records * 830,
        bytesPerSecond: 41500,
        freeBytes: 8e10,
        secondsLeft: 8e10 / 41500,
      },
      markers: this.#markers.filter((event) => event.event === 'marker').length,
      warnings: [],
      events: this.#markers.slice(-20),
    };
    this.#played.state?.(state, (performance.now() - this.#since) / 1000);
    return state;
  }

  picture() {
    const ms = performance.now() - this.#begin;
    const gloves = this.layout().gloves.map((glove, at) => {
      const gone = this.#played.gone?.includes(glove.label);
      const elements = elementsAt(glove, gone ? 0 : ms / 1000, at);
      return { elements, regions: glove.regions.map((region) => meanOf(elements, region)) };
    });
    return { record: Math.floor(ms / 20), ms, gloves };
  }

  history() {
    const now = performance.now() - this.#begin;
    const ms = [];
    for (let at = Math.max(0, now - 120000); at < now; at += pictureMs) ms.push(at);
    // About the means of the elements, without computing each: two minutes of them take long.
    const gloves = this.layout().gloves.map((glove, at) => ({
      regions: glove.regions.map((_, region) => ms.map((time) => 110 + 690 * pressOf(region, time / 1000, at))),
    }));
    return { ms: gloves.length > 0 ? ms : [], gloves };
  }

  #sendPicture() {
    if (!this.#played.silentPictures) this.#send('picture', this.picture());
  }

  #send(event, value) {
    if (this.mute) return;
    const text = `event: ${event}\ndata: ${JSON.stringify(value)}\n\n`;
    for (const viewer of this.#viewers) viewer.write(text);
  }

  async #answer(request, response) {
    const { pathname } = new URL(request.url, 'http://mock');
    response.setHeader('Content-Security-Policy', policy);
    response.setHeader('Cache-Control', 'no-store');
    if (pathname === '/api/stream') this.#stream(response);
    else if (pathname === '/api/marker' && request.method === 'POST') await this.#mark(request, response);
    else if (pathname === '/api/state') {
      json(response, 200, {
        token: this.token,
        viewers: this.#viewers.size,
        layout: this.layout(),
        state: this.state(),
        picture: this.picture(),
      });
    } else if (pathname === '/api/history') json(response, 200, this.history());
    else await serveFile(pathname, response);
  }

  #stream(response) {
    response.writeHead(200, { 'Content-Type': 'text/event-stream' });
    this.#viewers.add(response);
    response.on('close', () => this.#viewers.delete(response));
    this.#send('layout', this.layout());
    this.#send('state', this.state());
  }

  async #mark(request, response) {
    const ms = performance.now() - this.#begin;
    if (request.headers['x-tessel-token'] !== this.token)
      return json(response, 403, { error: 'The token is wrong. Reload the page.' });
    if (request.headers['content-type'] !== 'application/json')
      return json(response, 400, { error: 'The content must be JSON.' });
    let body = '';
    for await (const part of request) body += part;
    const { text } = JSON.parse(body);
    this.requests.push({ text });
    if (this.refusal) return json(response, this.refusal.status, { error: this.refusal.error });
    const number = this.#markers.length + 1;
    const detail = text || `marker ${this.#markers.filter((event) => event.event === 'marker').length + 1}`;
    this.#markers.push({ number, ms, seconds: ms / 1000, event: 'marker', glove: '', detail });
    json(response, 200, { text: detail });
    this.#send('state', this.state());
  }
}

function json(response, status, value) {
  response.writeHead(status, { 'Content-Type': 'application/json' });
  response.end(JSON.stringify(value));
}

async function serveFile(pathname, response) {
  const name = pathname === '/' ? 'index.html' : path.basename(pathname);
  const folder = name.startsWith('uPlot') ? 'node_modules/uplot/dist' : 'host/live/page';
  const content = await readFile(path.join(root, folder, name)).catch(() => null);
  response.writeHead(content ? 200 : 404, { 'Content-Type': types[path.extname(name)] ?? 'text/plain' });
  response.end(content ?? 'not found');
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const [scenario = 'normal', port = '8484'] = process.argv.slice(2);
  if (!Object.hasOwn(scenarios, scenario))
    throw new Error(`Unknown scenario "${scenario}"; known are ${Object.keys(scenarios).join(', ')}.`);
  console.log(await new MockProgram(scenario).start(Number(port)));
}
