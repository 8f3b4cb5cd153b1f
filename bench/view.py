#!/usr/bin/env python3
"""What a live page costs a recording, and how late its pictures are.

    bench/view.py TESSEL [SECONDS]

Records two gloves of a process of their own for SECONDS (20): without a live page, and with one that nobody, one, or many
look at, in turn. Prints the CPU time of each, the ratio to the first, and what the books say. Then it looks at the page
with a browser, and prints how long after their sampling records were painted."""

import json
import os
import pathlib
import re
import selectors
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse
from datetime import datetime

ROUNDS = 3
LIMIT = 1.3
HERE = pathlib.Path(__file__).resolve().parent


class Viewers(threading.Thread):
    """Receive the stream: each `size` bytes every `pause` seconds; all that there is without a pause."""

    def __init__(self, address, count, size=65536, pause=0.0):
        super().__init__(daemon=True)
        self.size, self.pause = size, pause
        self.received = 0
        self.is_over = False
        place = urllib.parse.urlsplit(address)
        self.selector = selectors.DefaultSelector()
        for _ in range(count):
            viewer = socket.socket()
            if pause:
                viewer.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            viewer.connect((place.hostname, place.port))
            viewer.sendall(f"GET /api/stream HTTP/1.1\r\nHost: {place.netloc}\r\n\r\n".encode())
            self.selector.register(viewer, selectors.EVENT_READ)
        self.start()

    def run(self):
        while not self.is_over and self.selector.get_map():
            for key, _ in self.selector.select(timeout=0.2):
                data = key.fileobj.recv(self.size)
                self.received += len(data)
                if not data:
                    self.selector.unregister(key.fileobj)
                    key.fileobj.close()
            time.sleep(self.pause)

    def stop(self):
        self.is_over = True
        self.join()
        for key in list(self.selector.get_map().values()):
            key.fileobj.close()


class Recording:
    """A run of `tessel record`, which takes the gloves that are served by another process."""

    def __init__(self, tessel, folder, seconds, is_shown):
        self.file = pathlib.Path(folder) / "run.csv"
        command = [tessel, "record", "--output", self.file, "--force", "--json", "--seconds", str(seconds)]
        if is_shown:
            command += ["--view", "--port", "0"]
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.errors = ""
        self.address = self.wait_for(r"Live page: (\S+)") if is_shown else None

    def wait_for(self, pattern):
        for line in self.process.stderr:
            self.errors += line
            if match := re.search(pattern, line):
                return match[1]
        sys.exit(f"view.py: the recording failed: {self.errors}")

    def finish(self):
        """Its CPU time in ms, and its summary."""
        self.errors += self.process.stderr.read()
        summary = self.process.stdout.read()
        _, status, usage = os.wait4(self.process.pid, 0)
        self.process.returncode = os.waitstatus_to_exitcode(status)
        if self.process.returncode != 0:
            sys.exit(f"view.py: the recording failed: {self.errors}")
        return 1000 * (usage.ru_utime + usage.ru_stime), json.loads(summary)


def lost_by_cause(books):
    gloves = [glove for glove in books.values() if isinstance(glove, dict) and "lost" in glove]
    return {cause: sum(glove["lost"].get(cause, 0) for glove in gloves) for cause in gloves[0]["lost"]}


SITUATIONS = {
    "no live page": None,
    "nobody looks": {"count": 0},
    "one viewer": {"count": 1},
    "20 viewers": {"count": 20},
    "20 slow viewers": {"count": 20, "size": 512, "pause": 0.25},
}


def measure_cpu(tessel, folder, seconds):
    times = {name: [] for name in SITUATIONS}
    print(f"CPU time in ms of recording two gloves for {seconds} s, in {ROUNDS} rounds")
    for _ in range(ROUNDS):
        for name, viewers in SITUATIONS.items():
            recording = Recording(tessel, folder, seconds, viewers is not None)
            group = Viewers(recording.address, **viewers) if viewers else None
            cpu, summary = recording.finish()
            if group:
                group.stop()
            times[name].append(cpu)
            lost = lost_by_cause(summary["books"])
            if summary["books"]["balanced"] is not True:
                sys.exit(f"view.py: with '{name}' the books do not balance: {summary['books']}")
            amount = f", {group.received / 1024:.0f} KiB received" if group else ""
            print(f"  {name:16} {cpu:4.0f}  {summary['frames']} records, lost {sum(lost.values())}{amount}")
    is_within = True
    for name, each in times.items():
        ratios = sorted(one / base for one, base in zip(each, times["no live page"]))
        ratio = statistics.median(ratios)
        is_within = is_within and (name != "20 slow viewers" or ratio <= LIMIT)
        print(f"{name:18} median {statistics.median(each):4.0f} ms, ratio {ratio:.2f} ({ratios[0]:.2f} to {ratios[-1]:.2f})")
    print(f"limit of the ratio with 20 slow viewers: {LIMIT}")
    return is_within


def measure_delay(tessel, folder, seconds):
    """From when the newest record of a picture was sampled until the browser had painted it."""
    recording = Recording(tessel, folder, seconds, True)
    painted = subprocess.run(["node", HERE / "view_delay.mjs", recording.address, str(seconds - 2)],
                             capture_output=True, text=True, check=False)
    recording.finish()
    if painted.returncode != 0:
        sys.exit(f"view.py: the browser failed: {painted.stderr}")
    metadata = json.loads(recording.file.with_suffix(".json").read_text())
    started = datetime.fromisoformat(metadata["started"]["utc"].replace("Z", "+00:00")).timestamp() * 1000
    lines = recording.file.read_text().splitlines()
    columns = {name: index for index, name in enumerate(lines[0].split(","))}
    delays, arrivals = [], []
    for record, ms in json.loads(painted.stdout):
        if record < 1 or record >= len(lines):
            continue
        cells = lines[record].split(",")
        delays.append(ms - started - float(cells[columns["time_ms"]]))
        arrivals.append(ms - started - float(cells[columns["arrival_ms"]]))
    if len(delays) < 100:
        sys.exit(f"view.py: only {len(delays)} pictures were painted")
    for name, each in (("sampling", delays), ("arrival", arrivals)):
        each.sort()
        print(f"from {name} to paint: median {statistics.median(each):.0f} ms, 99 % {each[int(0.99 * len(each))]:.0f} ms, "
              f"at most {each[-1]:.0f} ms ({len(each)} pictures)")


def main():
    tessel = os.path.abspath(sys.argv[1])
    seconds = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    with tempfile.TemporaryDirectory() as folder:
        gloves = subprocess.Popen([tessel, "sim", "--port", f"{folder}/dongle"], stdout=subprocess.PIPE, text=True)
        try:
            os.environ["TESSEL_SERIAL_PORTS"] = re.match(r"export TESSEL_SERIAL_PORTS='(.*)'", gloves.stdout.readline())[1]
            is_within = measure_cpu(tessel, folder, seconds)
            measure_delay(tessel, folder, seconds)
        finally:
            gloves.kill()
            gloves.wait()
    return 0 if is_within else 1


sys.exit(main())
