// @ts-check
// The live page: connects the stream of the program with the parts of the page.
//
// What tests and style sheets may rely on:
//   html           data-theme = light | dark; data-connection = connecting | open | lost; data-frozen while frozen;
//                  data-gloves when the gloves are known; data-idle while no records arrive
//   #headline      data-kind = connecting | opening | recording | streaming | unrecorded | away | ended | failed | lost;
//                  #headline-text, #headline-name (the file), #headline-detail, #headline-seconds (duration)
//   #alarms, #notices  [data-warning=ID] for each warning, data-state = active | over; ID "connection" is the page's own.
//                  #alarm-announcement is the live region (role alert): the text of an alarm that begins
//   #summary       live region (polite): changes of states only
//   #gloves        [data-glove=LABEL] is the card of a glove, data-state as in the protocol, with [data-field=...]:
//                  module, state, text, battery, framesPerSecond, lostShareNow, lostTotal, lostShare, latencyMs, gaps,
//                  longestGapMs, sensorFaults, rssi, sent, recorded; and [data-cause=...]: unheard ... discarded
//   #recording     data-kind = recorded | nothing, with [data-field=...]: file, seconds, records, recordsPerSecondNow,
//                  bytes, freeBytes (with how long it lasts), markers, reconnections, stalls, books; #limit (progress)
//   #marker-text, #marker-set, #marker-feedback (data-kind = set | error)
//   #events        li[data-number][data-event], newest first; .event-time, .event-name, .event-detail
//   #curve-seconds, #scale-automatic, #scale-fixed, #scale-low, #scale-high, #scale-error
//   #freeze (aria-pressed), #frozen (what is said meanwhile), #theme, #keys-open, #keys (dialog), #keys-on
//   #hands, #curves  the containers of Hands and Curves, whose figures have data-glove and the glove's data-state;
//                  #reading: the value under the pointer
//   #values        details with #values-table: td[data-glove=LABEL][data-region=NAME], once a second while open
// Colours for pictures are custom properties of html: --page --panel --ink --muted --line --accent --alarm --marker.

import { Connection } from './connection.js';
import { byId, setHidden, setText } from './dom.js';
import { Events } from './events.js';
import { Gloves, stateWord } from './gloves.js';
import { Headline, headlineOf } from './headline.js';
import { useKeys } from './keys.js';
import { Markers } from './markers.js';
import { Pictures } from './pictures.js';
import { Recording } from './recording.js';
import { chooseTheme } from './theme.js';
import { clockTime, count, visible } from './text.js';
import { showTitle } from './title.js';
import { Warnings } from './warnings.js';

const page = document.documentElement;
// Without a record for so long, it is said that none arrive.
const idleMs = 1500;

const headline = new Headline();
const warnings = new Warnings();
const gloves = new Gloves(byId('gloves'));
const recording = new Recording(byId('recording'));
const markers = new Markers();
const events = new Events();
const pictures = new Pictures(showReading);

/** @type {{status: 'connecting'|'open'|'lost', reason: string, since: Date|null}} */
let connected = { status: 'connecting', reason: '', since: null };
let token = '';
let layout = null;
let layoutText = '';
let state = null;
let renderAsked = false;

function began(received) {
  // A newer program needs its own page.
  if (layout && layout.version !== received.layout.version) {
    window.location.reload();
    return;
  }
  // Started again: what was frozen is gone.
  if (state && received.state.ms < state.ms) {
    if (pictures.frozen) freeze();
    markers.restart();
  }
  connected = { status: 'open', reason: '', since: null };
  token = received.token;
  layout = received.layout;
  layoutText = JSON.stringify(layout);
  page.toggleAttribute('data-gloves', layout.gloves.length > 0);
  pictures.begin(layout, received.picture);
  setText(byId('version'), `tessel ${visible(layout.version)}`);
  took(received.state);
}

// Also comes when the stream begins, as it is known already.
function tookLayout(received) {
  const text = JSON.stringify(received);
  if (text === layoutText) return;
  layout = received;
  layoutText = text;
  page.toggleAttribute('data-gloves', layout.gloves.length > 0);
  pictures.begin(layout, null);
  askRender();
}

function took(received) {
  state = received;
  pictures.heard(state);
  askRender();
}

function lost(reason, since) {
  connected = { status: 'lost', reason, since };
  askRender();
}

// With the next frame of the browser; at once while the page is hidden, since there are none then, and the title must
// still warn.
function askRender() {
  if (document.hidden) {
    render();
  } else if (!renderAsked) {
    renderAsked = true;
    requestAnimationFrame(() => {
      renderAsked = false;
      render();
    });
  }
}

function render() {
  if (page.dataset.connection !== connected.status) page.dataset.connection = connected.status;
  const idle = connected.status === 'open' && state?.phase === 'reading' && pictures.silentMs > idleMs;
  page.toggleAttribute('data-idle', idle);
  const said = headlineOf(connected, layout, state, idle);
  headline.show(said, state);
  const active = allWarnings(said);
  warnings.show(active, performance.now(), connected.status === 'open');
  showTitle(active.find((warning) => warning.level === 'alarm')?.text ?? '', said);
  markers.allow(token, whyNoMarkers(), layout === null || Boolean(layout.file) || layout.command === 'stream');
  pictures.hold(connected.status === 'lost' || Boolean(state?.ending));
  if (!layout || !state) return;
  gloves.show(state.gloves);
  pictures.showStates(state.gloves);
  recording.show(layout, state);
  markers.events(state.events);
  events.show(state.events);
  summarise(said);
}

// While the program can't be heard, what it warned of is old. A program that has ended may go.
function allWarnings(said) {
  if (connected.status !== 'lost') return state?.warnings ?? [];
  if (state?.ending) return [];
  return [
    {
      id: 'connection',
      level: 'alarm',
      text: `${said.text}. What is shown is old.`,
      over: 'Connected to tessel again.',
    },
  ];
}

function whyNoMarkers() {
  if (!layout || !state || connected.status !== 'open') return 'No markers without a connection to tessel.';
  if (state.ending) return 'The recording has ended.';
  return layout.canMark ? '' : 'This recording takes no markers.';
}

// For those who listen: what goes on, without numbers, and only when it changes.
function summarise(said) {
  const words = [
    said.kind === 'away' ? 'Gloves lost, opening again' : [said.text, said.name].filter(Boolean).join(' '),
  ];
  for (const glove of state.gloves) words.push(`${visible(glove.label)} glove ${stateWord(glove.state)}`);
  setText(byId('summary'), `${words.join('. ')}.`);
}

function showReading(reading) {
  const words = [];
  if (reading) {
    words.push(visible(reading.glove));
    if (reading.region) words.push(visible(reading.region));
    if (typeof reading.element === 'number') words.push(`element ${reading.element}`);
  }
  const value = reading ? `: ${count(reading.value)}` : '';
  setText(byId('reading'), words.join(', ') + value);
}

function freeze() {
  const frozen = !pictures.frozen;
  pictures.freeze(frozen);
  page.toggleAttribute('data-frozen', frozen);
  byId('freeze').setAttribute('aria-pressed', String(frozen));
  setText(byId('freeze-text'), frozen ? 'Go on' : 'Freeze');
  setText(byId('frozen'), frozen ? `The picture is frozen since ${clockTime(new Date())}. ${goesOn()}` : '');
  setHidden(byId('frozen'), !frozen);
}

const goesOn = () => (layout?.file ? 'Recording goes on.' : 'Nothing is recorded.');

chooseTheme(() => pictures.redraw());
byId('freeze').addEventListener('click', freeze);
useKeys({ m: () => markers.set(), f: freeze });

const connection = new Connection({
  began,
  layout: tookLayout,
  state: took,
  picture: (picture) => pictures.add(picture),
  lost,
});
window.addEventListener('pagehide', () => connection.stop());
window.addEventListener('pageshow', () => connection.start());
document.addEventListener('visibilitychange', askRender);
// Warnings that ended disappear after some seconds, whether or not a state arrives.
setInterval(askRender, 1000);
render();
connection.start();
