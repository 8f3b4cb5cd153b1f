// The built program as its users start it: `tessel` with its page, and simulated gloves in a process of their own.
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { Process } from './Process.mjs';

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../../..');
const file = process.env.TESSEL_PROGRAM ?? path.join(root, 'build/release/bin/tessel');

// Removed when the test ends.
export function temporaryFolder(t) {
  const folder = mkdtempSync(path.join(tmpdir(), 'tessel-view-'));
  t.after(() => rmSync(folder, { recursive: true, force: true }));
  return folder;
}

export class Program extends Process {
  // Serves a page: `address` is set. It ends with the test.
  static async start(t, args, environment = {}, port = '0') {
    const program = new Program(file, [...args, '--port', port], environment);
    t.after(() => program.stop());
    const [, address] = await program.line(/(http:\/\/127\.0\.0\.1:\d+\/)/);
    program.address = address;
    return program;
  }

  async state() {
    const response = await fetch(`${this.address}api/state`);
    return (await response.json()).state;
  }
}

// Gloves that take commands, as in docs/simulator.md. `environment` lets a program find them.
export class Simulation extends Process {
  static async start(t, args = []) {
    const port = path.join(temporaryFolder(t), 'dongle');
    const simulation = new Simulation(file, ['sim', '--control', '--port', port, ...args], {});
    t.after(() => simulation.stop());
    await simulation.line(/^Commands:/);
    simulation.environment = { TESSEL_SERIAL_PORTS: `Bluegiga Bluetooth Low Energy (COM7)=${port}` };
    return simulation;
  }

  // Resolves when it is answered, with the time at that moment.
  async command(line) {
    const before = this.lines.length;
    this.send(line);
    const [answer] = await this.line(/^(?! +\d+\.\d+ s ).+/, before);
    if (answer.startsWith('error:')) throw new Error(answer);
    return performance.now();
  }
}
