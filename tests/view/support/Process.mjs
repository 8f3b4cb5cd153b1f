// Programs that the tests start, with their output line by line. None outlives the tests.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createInterface } from 'node:readline';

const running = new Set();
process.on('exit', () => {
  for (const child of running) child.kill('SIGKILL');
});

// `check` is called again and again until what it returns is true or an object; an error or false means not yet.
export async function until(what, check, timeoutMs = 10000) {
  const end = performance.now() + timeoutMs;
  for (;;) {
    let last;
    try {
      last = await check();
      if (last) return last;
    } catch (error) {
      last = error;
    }
    if (performance.now() > end) throw new Error(`After ${timeoutMs} ms still not: ${what} (last: ${last})`);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

export class Process {
  // Each line of both outputs, in the order in which they came.
  lines = [];
  output = '';
  #child;
  #exit;

  constructor(file, args, environment) {
    const own = Object.entries(process.env).filter(([name]) => !name.startsWith('TESSEL_'));
    this.#child = spawn(file, args, { env: { ...Object.fromEntries(own), ...environment } });
    running.add(this.#child);
    this.#exit = once(this.#child, 'close').then(([code, signal]) => {
      running.delete(this.#child);
      return signal ?? code;
    });
    this.#child.stdout.on('data', (data) => {
      this.output += data;
    });
    for (const stream of [this.#child.stdout, this.#child.stderr]) {
      createInterface({ input: stream }).on('line', (line) => this.lines.push(line));
    }
    // Lines for a program that has ended are lost.
    this.#child.stdin.on('error', () => {});
  }

  send(line) {
    this.#child.stdin.write(`${line}\n`);
  }

  // The match of the first such line from line number `from` on.
  line(pattern, from = 0, timeoutMs = 20000) {
    return until(`a line like ${pattern} in\n${this.lines.join('\n')}\n`, () => {
      if (this.#child.exitCode !== null && !this.#find(pattern, from)) throw new Error(`exit code ${this.#child.exitCode}`);
      return this.#find(pattern, from);
    }, timeoutMs);
  }

  #find(pattern, from) {
    for (const line of this.lines.slice(from)) {
      const match = pattern.exec(line);
      if (match) return match;
    }
    return null;
  }

  // Exit code, or the signal that ended it.
  async ended(timeoutMs = 30000) {
    const timer = setTimeout(() => this.#child.kill('SIGKILL'), timeoutMs);
    const result = await this.#exit;
    clearTimeout(timer);
    return result;
  }

  stop(signal = 'SIGINT') {
    this.#child.kill(signal);
    return this.ended();
  }
}
