#!/usr/bin/env python3
"""Records two simulated gloves at the highest rate that the radio carries, with all that can be on at once.

    tests/load/load.py TESSEL MINUTES [--viewers N]

A live page with N viewers (20), LSL streams with a receiver of each glove where TESSEL_LSL_LIBRARY names the library, and a
capture. Nothing may be lost on this side of the radio, every viewer and receiver gets its stream to the end, and memory,
descriptors and threads of the program are flat after the first two minutes, or after half of a shorter run."""

import argparse
import contextlib
import csv
import ctypes
import json
import os
import pathlib
import re
import selectors
import socket
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse

RATE = 50  # frames a second of two gloves: the radio's limit
SETTLED_SECONDS = 120
GROWTH_KIB = 2048
CHANNELS = 125
# Causes of losses that are this side's. Frames that wait in the plug-in at the end are few, whatever the load.
OWN_CAUSES = ("unheard", "radio", "refused", "faulty", "discarded")
MAX_QUEUED = 5


class Viewers(threading.Thread):
    """Receive the page's stream, all in one thread."""

    class Viewer:
        def __init__(self, place):
            self.socket = socket.create_connection((place.hostname, place.port))
            self.socket.sendall(f"GET /api/stream HTTP/1.1\r\nHost: {place.netloc}\r\n\r\n".encode())
            self.rest, self.state = b"", b""
            self.pictures, self.records = 0, 0
            self.latest, self.pause = time.monotonic(), 0.0

        def take(self, data):
            now = time.monotonic()
            self.pause, self.latest = max(self.pause, now - self.latest), now
            *events, self.rest = (self.rest + data).split(b"\n\n")
            for event in events:
                if b"event: picture" in event:
                    self.pictures += 1
                    record = int(re.search(rb'"record": ?(\d+)', event)[1])
                    if record <= self.records:
                        sys.exit(f"load.py: picture {record} came after picture {self.records}")
                    self.records = record
                elif b"event: state" in event:
                    self.state = event

    def __init__(self, address, count):
        super().__init__(daemon=True)
        self.selector = selectors.DefaultSelector()
        self.viewers = [self.Viewer(urllib.parse.urlsplit(address)) for _ in range(count)]
        for viewer in self.viewers:
            self.selector.register(viewer.socket, selectors.EVENT_READ, viewer)
        self.start()

    def run(self):
        while self.selector.get_map():
            for key, _ in self.selector.select(timeout=1):
                data = b""
                with contextlib.suppress(OSError):
                    data = key.fileobj.recv(1 << 16)
                if data:
                    key.data.take(data)
                else:
                    self.selector.unregister(key.fileobj)
                    key.fileobj.close()


class Receiver(threading.Thread):
    """Receives the LSL stream of a glove, and keeps the times of its samples on the clock of the recording."""

    def __init__(self, library, source):
        super().__init__(daemon=True)
        self.lsl = ctypes.CDLL(library)
        for name in ("lsl_local_clock", "lsl_pull_sample_i"):
            getattr(self.lsl, name).restype = ctypes.c_double
        self.lsl.lsl_create_inlet.restype = ctypes.c_void_p
        self.source = source
        self.times = []
        self.ahead = self.lsl.lsl_local_clock() - time.clock_gettime(time.CLOCK_BOOTTIME)
        self.is_over = False
        self.start()

    def run(self):
        info, error = ctypes.c_void_p(), ctypes.c_int32()
        while not self.is_over and not self.lsl.lsl_resolve_byprop(
                ctypes.byref(info), 1, b"source_id", self.source.encode(), 1, ctypes.c_double(1)):
            pass
        inlet = ctypes.c_void_p(self.lsl.lsl_create_inlet(info, 60, 0, 1))
        values = (ctypes.c_int32 * CHANNELS)()
        while not self.is_over:
            stamp = self.lsl.lsl_pull_sample_i(inlet, values, CHANNELS, ctypes.c_double(0.5), ctypes.byref(error))
            if stamp:
                self.times.append(stamp - self.ahead)
        self.lsl.lsl_destroy_inlet(inlet)


class Usage:
    """What the process holds now."""

    def __init__(self, process, begun):
        self.seconds = time.monotonic() - begun
        root = pathlib.Path(f"/proc/{process}")
        status = dict(line.split(":", 1) for line in (root / "status").read_text().splitlines())
        self.rss = int(status["VmRSS"].split()[0])
        self.threads = int(status["Threads"])
        self.descriptors = len(list((root / "fd").iterdir()))
        fields = (root / "stat").read_text().rsplit(")", 1)[1].split()
        self.cpu = (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def print_usage(usages):
    print(f"{'s':>6} {'RSS KiB':>9} {'descriptors':>12} {'threads':>8} {'CPU %':>7}")
    step = max(1, len(usages) // 12)
    for earlier, usage in zip(usages[::step], usages[step::step]):
        share = 100 * (usage.cpu - earlier.cpu) / (usage.seconds - earlier.seconds)
        print(f"{usage.seconds:6.0f} {usage.rss:9} {usage.descriptors:12} {usage.threads:8} {share:7.1f}")


def check_usage(usages, faults):
    settled = next(usage for usage in usages if usage.seconds >= min(SETTLED_SECONDS, usages[-1].seconds / 2))
    for last in usages[usages.index(settled):]:
        if last.rss > settled.rss + GROWTH_KIB:
            faults.append(f"memory grows: {settled.rss} KiB after {settled.seconds:.0f} s, {last.rss} after {last.seconds:.0f} s")
            break
    for name in ("descriptors", "threads"):
        counts = {getattr(usage, name) for usage in usages[usages.index(settled):]}
        if len(counts) > 1:
            faults.append(f"the number of {name} varies: {sorted(counts)}")
    print(f"memory: {usages[-1].rss - settled.rss:+} KiB from {settled.seconds:.0f} s to {usages[-1].seconds:.0f} s, "
          f"at most {GROWTH_KIB} allowed")


def check_losses(summary, rows, seconds, faults):
    books = summary["books"]
    if books["balanced"] is not True:
        faults.append(f"the books do not balance: {books}")
    for glove in ("left", "right"):
        lost = books[glove]["lost"]
        print(f"{glove}: {books[glove]['sent']} frames sent, {books[glove]['recorded']} recorded, lost: "
              + (", ".join(f"{count} {cause}" for cause, count in lost.items() if count) or "none"))
        if any(lost[cause] for cause in OWN_CAUSES) or lost["queued"] > MAX_QUEUED or books[glove]["recorded"] != rows:
            faults.append(f"{glove}: {lost}, {books[glove]['recorded']} recorded, {rows} rows")
        # What the gloves skip when they pair their first frames, and what drifts apart.
        if lost["pairing"] > 0.001 * books[glove]["sent"] + MAX_QUEUED:
            faults.append(f"{glove}: {lost['pairing']} frames could not be paired")
    if rows < (seconds - 1) * RATE * 0.99:
        faults.append(f"{rows} records in {seconds} s")


def check_viewers(viewers, faults):
    for number, viewer in enumerate(viewers):
        match = re.search(rb"data: (.*)", viewer.state)
        state = json.loads(match[1]) if match else {}
        if state.get("phase") != "ended" or not state.get("ending"):
            faults.append(f"viewer {number} did not see the end")
    pictures = [viewer.pictures for viewer in viewers]
    pause = max(viewer.pause for viewer in viewers)
    print(f"viewers: {len(viewers)}, {min(pictures)} to {max(pictures)} pictures each, longest pause {pause:.2f} s")
    if min(pictures) < 0.5 * max(pictures) or pause > 5:
        faults.append("a viewer was left behind")


def check_receivers(receivers, folder, faults):
    metadata = json.loads((folder / "run.json").read_text())
    zero = metadata["started"]["monotonic_ns"] / 1e9
    for receiver, glove in zip(receivers, ("left", "right")):
        with (folder / "run.csv").open() as file:
            sampled = [zero + float(row[f"{glove}_ms"]) / 1000 for row in csv.DictReader(file)]
        first = receiver.times[0] if receiver.times else float("inf")
        expected = sum(each >= first - 0.5 / RATE for each in sampled)
        print(f"LSL {glove}: {len(receiver.times)} of {expected} samples since the stream was opened, of {len(sampled)} records")
        if len(receiver.times) != expected or expected < len(sampled) / 2:
            faults.append(f"the LSL stream of the {glove} glove is not whole")


def record(tessel, folder, seconds, count):
    library = os.environ.get("TESSEL_LSL_LIBRARY")
    (folder / "faults").write_text(f"0 rate {RATE}\n")
    command = [tessel, "record", "--sim", "--scenario", "faults", "--output", "run.csv", "--json", "--seconds", str(seconds),
               "--capture", "link.pcapng", "--view", "--port", "0"] + (["--lsl", "--lsl-library", library] if library else [])
    print(" ".join(command), flush=True)
    with (folder / "messages").open("w") as messages:
        process = subprocess.Popen(command, cwd=folder, stdout=subprocess.PIPE, stderr=messages, stdin=subprocess.DEVNULL,
                                   text=True, env=os.environ | {"TMPDIR": str(folder)})
    begun = time.monotonic()
    receivers = [Receiver(library, f"tessel-{name}") for name in ("KVXGL00017", "KVXGR00018")] if library else []
    while not (match := re.search(r"Live page: (\S+)", (folder / "messages").read_text())):
        time.sleep(0.05)
        if process.poll() is not None or time.monotonic() - begun > 10:
            sys.exit(f"load.py: it does not begin: {(folder / 'messages').read_text()}")
    viewers = Viewers(match[1], count)
    usages = []
    while process.poll() is None and time.monotonic() - begun < seconds + 60:
        # As long as it records: in the end it closes what it has.
        if (elapsed := time.monotonic() - begun) < seconds - 1:
            usages.append(Usage(process.pid, begun))
        time.sleep(min(5, 1 + elapsed / 30))
    if process.poll() is None:
        process.kill()
        sys.exit("load.py: the recording does not end")
    viewers.join(10)
    for receiver in receivers:
        receiver.is_over = True
        receiver.join()
    if process.returncode != 0:
        sys.exit(f"load.py: exit code {process.returncode}: {(folder / 'messages').read_text()}")
    return json.load(process.stdout), usages, viewers.viewers, receivers


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tessel")
    parser.add_argument("minutes", type=float)
    parser.add_argument("--viewers", type=int, default=20)
    options = parser.parse_args()
    seconds = round(60 * options.minutes)
    faults = []
    with tempfile.TemporaryDirectory(prefix="tessel-load-") as place:
        folder = pathlib.Path(place)
        summary, usages, viewers, receivers = record(os.path.abspath(options.tessel), folder, seconds, options.viewers)
        with (folder / "run.csv").open() as file:
            rows = sum(1 for _ in file) - 1
        print_usage(usages)
        check_usage(usages, faults)
        check_losses(summary, rows, seconds, faults)
        check_viewers(viewers, faults)
        if receivers:
            check_receivers(receivers, folder, faults)
        else:
            print("without LSL: TESSEL_LSL_LIBRARY names no library")
        for words in ("could not be sent", "NOT STORED", "stalled"):
            if words in (folder / "messages").read_text():
                faults.append(f"it says: {words}")
        print(f"capture: {(folder / 'link.pcapng').stat().st_size / 1e6:.1f} MB, {rows} records in {seconds} s, "
              f"CPU {100 * usages[-1].cpu / usages[-1].seconds:.1f} % of a core, with the simulated gloves")
    for fault in faults:
        print(f"load.py: {fault}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
