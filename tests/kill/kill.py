#!/usr/bin/env python3
"""Kills `tessel record` at random moments, and checks what it leaves.

    tests/kill/kill.py TESSEL HELPERS KILLS [SEED] [--planted] [--results FILE]

HELPERS is the folder of kill-at-call.so and xdf-counts. Each kill has a seed of its own, from SEED on, which decides all but
the exact moment. With --results FILE a run adds its figures to those of earlier ones in FILE, of other seeds, and prints the
sum. With --planted `tessel record` writes late, which has to be found."""

import argparse
import collections
import concurrent.futures
import contextlib
import fcntl
import io
import json
import os
import pathlib
import pty
import random
import re
import select
import shlex
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import time
import traceback
import urllib.parse
import warnings

import numpy

FORMATS = ("csv", "npy", "xdf")
PHASES = ("start", "opening", "recording", "end", "call")
WORKERS = 6 * (os.cpu_count() or 1)  # they mostly wait
DEADLINE = 60.0  # for what should take a second or three
NO_RECORDS = 6  # exit code
GLOVES_GONE = (10, 13, 14, 15)  # exit codes: dongle or gloves are not there, or were lost


class Fault(Exception):
    """A promise that was not kept."""


def expect(condition, text):
    if not condition:
        raise Fault(text)


class Setting:
    """What is the same for all kills."""

    def __init__(self, options):
        self.tessel = os.path.abspath(options.tessel)
        self.preload = os.path.abspath(f"{options.helpers}/kill-at-call.so")
        self.xdf_counts = os.path.abspath(f"{options.helpers}/xdf-counts")
        self.is_planted = options.planted
        self.place = pathlib.Path(tempfile.mkdtemp(prefix="tessel-kills-"))
        self.calls = {}  # that a recording makes, by format

    def run(self, folder, *arguments, **variables):
        """A command that must end by itself: its exit code, and what it printed."""
        environment = clean_environment(folder) | variables
        try:
            done = subprocess.run([self.tessel, *arguments], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=DEADLINE, check=False)
        except subprocess.TimeoutExpired as late:
            raise Fault(f"tessel {shlex.join(arguments)} does not end: {late.output}") from late
        return done.returncode, done.stdout.decode(errors="replace")

    def succeed(self, folder, *arguments, **variables):
        code, text = self.run(folder, *arguments, **variables)
        expect(code == 0, f"tessel {shlex.join(arguments)}: exit code {code}: {text}")
        return text

    def prepare(self):
        """An old recording with a marker in each format, and how many calls its recording made."""
        def make(kind):
            folder = self.place / kind
            (folder / "tmp").mkdir(parents=True)
            variables = {"LD_PRELOAD": self.preload, "KILL_CALLS": str(folder / "calls")}
            recording = Recording(self, folder, ["--sim", "--output", f"run.{kind}", "--force", "--markers", "fifo"], variables)
            recording.at(1.2, lambda: recording.mark("old"))
            recording.at(1.8, lambda: recording.process.send_signal(signal.SIGINT))
            expect(recording.follow() == 0, f"the old recording failed: {recording.text}")
            self.calls[kind] = (folder / "calls").stat().st_size
            expect(self.calls[kind] > 10, "calls are not counted")
            shutil.rmtree(folder / "tmp")
            (folder / "calls").unlink()
        with concurrent.futures.ThreadPoolExecutor() as pool:
            list(pool.map(make, FORMATS))


def clean_environment(folder):
    variables = {name: value for name, value in os.environ.items() if not name.startswith(("TESSEL_", "KILL_", "LD_"))}
    return variables | {"TMPDIR": str(folder / "tmp")}


class Recording:
    """A run of `tessel record` with a terminal for its messages, and what it acknowledged there and to a viewer."""

    def __init__(self, setting, folder, arguments, variables):
        self.folder, self.setting = folder, setting
        self.actions = []
        self.text = self.stream = b""
        self.viewer = None
        self.is_viewed = "--view" in arguments
        self.marked = 0
        terminal, end = pty.openpty()
        fcntl.ioctl(end, termios.TIOCSWINSZ, struct.pack("HHHH", 25, 240, 0, 0))
        self.terminal = terminal
        self.process = subprocess.Popen([setting.tessel, "record", *arguments], cwd=folder, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=end, start_new_session=True,
                                        env=clean_environment(folder) | variables)
        os.close(end)
        self.begun = time.monotonic()

    def at(self, seconds, action):
        self.actions.append((seconds, len(self.actions), action))
        self.actions.sort()

    def mark(self, text):
        """A marker by the FIFO, if the program has made it."""
        with contextlib.suppress(OSError):
            fifo = os.open(self.folder / "fifo", os.O_WRONLY | os.O_NONBLOCK)
            os.write(fifo, f"{text}\n".encode())
            os.close(fifo)

    def follow(self):
        """Does what is to be done until the program ends; returns its exit code."""
        try:
            while self.read():
                elapsed = time.monotonic() - self.begun
                while self.actions and self.actions[0][0] <= elapsed:
                    self.actions.pop(0)[2]()
                if elapsed > DEADLINE:
                    self.process.kill()
                    raise Fault(f"the recording does not end: {self.text}")
        finally:
            os.close(self.terminal)
            if self.viewer:
                self.viewer.close()
        return self.process.wait()

    def read(self):
        """What came within a moment. False if the terminal was closed."""
        pause = 0.05
        if self.actions:
            pause = min(pause, max(0, self.begun + self.actions[0][0] - time.monotonic()))
        inputs = [self.terminal] + ([self.viewer] if self.viewer else [])
        ready, _, _ = select.select(inputs, [], [], pause)
        if self.viewer in ready:
            with contextlib.suppress(OSError):
                data = self.viewer.recv(1 << 20)
                self.stream += data
        if self.terminal not in ready:
            return True
        try:
            data = os.read(self.terminal, 1 << 16)
        except OSError:  # the program has ended, and all that it said was read
            return False
        self.text += data
        if self.is_viewed and not self.viewer and (match := re.search(rb"Live page: (\S+)\r", self.text)):
            place = urllib.parse.urlsplit(match[1].decode())
            with contextlib.suppress(OSError):
                self.viewer = socket.create_connection((place.hostname, place.port), timeout=0.5)
                self.viewer.sendall(f"GET /api/stream HTTP/1.1\r\nHost: {place.netloc}\r\n\r\n".encode())
        return bool(data)

    def acknowledged(self):
        records = [int(number) for number in re.findall(rb"(\d+) frames  ", self.text)]
        markers = re.findall(rb"  marker: ([^\r\n]+)\r\n", self.text)
        shown = set()
        for line in re.findall(rb"data: (\{.*\})\r?\n", self.stream):
            with contextlib.suppress(ValueError):
                state = json.loads(line)
                records.append(state.get("records", 0))
                records += [glove.get("recorded") or 0 for glove in state.get("gloves", [])]
                shown |= {event["detail"] for event in state.get("events", []) if event["event"] == "marker"}
        return Acknowledged(max(records, default=0), {text.decode() for text in markers} | shown,
                            self.text.count(b"  NOT RECORDING: "), self.text.count(b"  RECORDING AGAIN after"),
                            b"Written to run." in self.text)


Acknowledged = collections.namedtuple("Acknowledged", "records markers losses returns is_complete")
Content = collections.namedtuple("Content", "records events is_complete")


def bytes_below(path):
    """The content of a file, or of a folder by name; None if there is none."""
    if path.is_dir():
        return {each.name: each.read_bytes() for each in path.iterdir()}
    return path.read_bytes() if path.exists() else None


class Files:
    """Of the recordings of one name in a folder."""

    def __init__(self, setting, folder, kind):
        self.setting, self.folder, self.kind = setting, folder, kind
        self.wanted = folder / f"run.{kind}"
        self.growing = folder / f"run.{kind}.part"

    def all_wanted(self):
        companions = [self.folder / "run.json", self.folder / "run.events.csv"] if self.kind == "csv" else []
        return {path.name: bytes_below(path) for path in [self.wanted, *companions]}

    def content(self, path):
        return getattr(self, f"{self.kind}_content")(path)

    def csv_content(self, path):
        def companion(name):  # the records get their name last
            places = [self.folder / f"{name}.part"] if path == self.growing else []
            return next((place for place in [*places, self.folder / name] if place.exists()), None)
        text = path.read_text()
        expect(text.endswith("\n") or not text, f"{path.name} ends in the midst of a line: {text[-80:]}")
        lines = text.splitlines()
        expect(len({line.count(",") for line in lines}) <= 1, f"{path.name} has a line that is cut")
        rows = max(0, len(lines) - 1)
        if rows:
            with warnings.catch_warnings():
                warnings.simplefilter("error")
                table = numpy.atleast_1d(numpy.genfromtxt(path, delimiter=",", names=True, usecols=range(13)))
            expect(len(table) == rows, f"NumPy reads {len(table)} of {rows} lines")
            self.check_order(table["time_ms"], table["left_frame"])
        metadata = companion("run.json")
        return Content(rows, self.events(companion("run.events.csv")),
                       self.is_complete(metadata, rows) if metadata else False)

    def npy_content(self, path):
        arrays = {}
        for each in path.glob("*.npy"):
            # Those that are made with the recording have no header yet.
            if each.stat().st_size > 0:
                arrays[each.name] = numpy.load(each)
        rows = len(arrays.get("samples.npy", ()))
        for name, array in arrays.items():
            expect(rows - 1 <= len(array) <= rows, f"{name} has {len(array)} rows, samples.npy {rows}")
        rows = min(map(len, arrays.values()), default=0)
        if rows:
            self.check_order(arrays["time.npy"][:rows], arrays["left_frame.npy"][:rows])
        metadata = path / "meta.json"
        return Content(rows, self.events(path / "events.csv"), metadata.exists() and self.is_complete(metadata, rows))

    def xdf_content(self, path):
        counted = subprocess.run([self.setting.xdf_counts, path], stdout=subprocess.PIPE, timeout=DEADLINE, check=False)
        lines = counted.stdout.decode().splitlines()
        counts = [int(line.rsplit(" ", 1)[1]) for line in lines if re.match("samples Tessel (left|right|timing)", line)]
        if not counts:
            return Content(0, [], False)
        expect(len(set(counts)) == 1, f"the streams have {counts} samples")
        is_complete = b'&quot;complete&quot;:true' in path.read_bytes()
        return Content(counts[0], [line.split(" ", 1)[1] for line in lines if line.startswith("event ")], is_complete)

    @staticmethod
    def check_order(times, frames):
        known = frames[frames >= 0]
        expect((numpy.diff(known) > 0).all(), "frames are out of order")
        known = times[~numpy.isnan(times)]
        expect((numpy.diff(known) >= 0).all(), "the time goes back")

    @staticmethod
    def events(path):
        if path is None or not path.exists():
            return []
        text = path.read_text()
        expect(text.endswith("\n") or not text, f"{path.name} ends in the midst of a line")
        cells = [line.split(",", 3) for line in text.splitlines()[1:]]
        return [f"{event}{f' ({glove})' if glove else ''}: {detail}" for _, event, glove, detail in cells]

    @staticmethod
    def is_complete(path, rows):
        text = path.read_text()
        if not text and not rows:  # its name was taken, but the gloves are not open yet
            return False
        metadata = json.loads(text)
        if metadata["complete"]:
            expect(metadata["records"] == rows, f"{path.name} says {metadata['records']} of {rows} records")
        return metadata["complete"]


class Case:
    """One folder, in which recordings are killed, one after the other, and a last one is made."""

    def __init__(self, setting, seed):
        self.random = random.Random(seed)
        self.setting = setting
        self.kind = FORMATS[seed % len(FORMATS)]
        self.phase = self.random.choice(PHASES)
        self.is_served = self.random.random() < 0.4  # by a process of its own
        self.has_old = self.random.random() < 0.5
        self.has_faults = self.random.random() < 0.4
        self.folder = setting.place / str(seed)
        self.files = Files(setting, self.folder, self.kind)
        self.figures = collections.Counter()
        self.is_killed = False
        self.sound_at = 0.0  # when no fault is left

    def live(self):
        (self.folder / "tmp").mkdir(parents=True)
        if self.has_old:
            shutil.copytree(self.setting.place / self.kind, self.folder, dirs_exist_ok=True)
        if not self.is_served:
            self.kill_and_check(["--sim"], {})
        else:
            with self.served_gloves() as port:
                self.kill_and_check([], {"TESSEL_SERIAL_PORTS": port})
        shutil.rmtree(self.folder)

    @contextlib.contextmanager
    def served_gloves(self):
        command = [self.setting.tessel, "sim", "--port", str(self.folder / "dongle")]
        if self.has_faults:
            command += ["--scenario", self.scenario()]
        with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, cwd=self.folder,
                              env=clean_environment(self.folder)) as gloves:
            try:
                yield re.match(r"export TESSEL_SERIAL_PORTS='(.*)'", gloves.stdout.readline())[1]
            finally:
                gloves.kill()

    def scenario(self):
        lost, away = self.random.uniform(0.9, 1.8), self.random.uniform(0.1, 0.8)
        faults = {"drop left": "drop right", "leave both": "back both", "unplug": "plug", "loss both 20": "loss both 0",
                  "hide right": "show right"}
        fault = self.random.choice(list(faults))
        self.sound_at = time.monotonic() + lost + away + 0.1
        path = self.folder / "faults"
        path.write_text(f"{lost} {fault}\n{lost} drop {self.random.choice(['left', 'both'])}\n{lost + away} {faults[fault]}\n"
                        if fault != "unplug" else f"{lost} unplug\n{lost + away} plug\n")
        return str(path)

    def arguments(self):
        chosen = ["--output", self.files.wanted.name, "--markers", "fifo", "--wait", "20"]
        if self.has_old or self.files.growing.exists():
            chosen.append("--force")
        for share, options in ((0.4, ["--sync", self.random.choice(["0", "0.1", "0.5"])]), (0.3, ["--view", "--port", "0"]),
                               (0.2, ["--capture", "link.pcapng"]), (0.1, ["--reconnect", "0"])):
            if self.random.random() < share:
                chosen += options
        if "link.pcapng" not in chosen and self.random.random() < 0.1:
            chosen.append("--no-capture")
        return chosen

    def kill_and_check(self, arguments, variables):
        before = self.files.all_wanted() if self.has_old else None
        of_others = set(os.listdir(self.folder / "tmp"))
        recording = self.start(arguments, variables)
        code = recording.follow()
        expect(code in (0, -signal.SIGKILL) or (self.has_faults and code in GLOVES_GONE), f"exit code {code}: {recording.text}")
        self.is_killed = code == -signal.SIGKILL
        acknowledged = recording.acknowledged()
        self.figures.update(recordings=1, killed=int(self.is_killed), markers=len(acknowledged.markers), losses=acknowledged.losses)
        self.check(before, acknowledged)
        # What was killed must not be in the way of the next one.
        next_arguments = ["--output", self.files.wanted.name, "--markers", "fifo", "--frames", "2", "--wait", "20"]
        if self.is_served:
            self.wait_for_gloves()
        if self.files.growing.exists() or self.files.wanted.exists():
            refused, text = self.setting.run(self.folder, "record", *arguments, *next_arguments, **variables)
            expect(refused == 5 and "--force" in text, f"without --force: exit code {refused}: {text}")
        shutil.rmtree(self.folder / "saved", ignore_errors=True)
        self.setting.succeed(self.folder, "record", *arguments, *next_arguments, "--force", **variables)
        content = self.files.content(self.files.wanted)
        expect(content.is_complete and content.records == 2, f"the next recording is {content}")
        left = {path.name for path in self.folder.iterdir() if path.suffix in (".part", ".new") or path.name == "fifo"}
        expect(not left - {"link.pcapng.part"}, f"the next recording leaves {left}")
        left = set(os.listdir(self.folder / "tmp")) - of_others
        expect(not left, f"the next recording leaves the temporary folders {left}")

    def wait_for_gloves(self):
        """Until the faults are over; and a dongle that was told to restart is away for a moment, whoever wants it next."""
        time.sleep(max(0, self.sound_at - time.monotonic()))
        begun = there = time.monotonic()
        while there - begun < 5 and time.monotonic() - there < 0.3:
            if not (self.folder / "dongle").exists():
                there = time.monotonic()
            time.sleep(0.02)

    def start(self, arguments, variables):
        variables = dict(variables)
        arguments = arguments + self.arguments()
        if arguments[0] == "--sim" and self.has_faults:
            arguments += ["--scenario", self.scenario()]
        if self.setting.is_planted:
            variables |= {"LD_PRELOAD": self.setting.preload, "KILL_PLANTED": "1"}
        stop = self.random.uniform(1.0, 3.0)
        kill = {"start": self.random.uniform(0, 0.1), "opening": self.random.uniform(0.1, 1.0),
                "recording": self.random.uniform(0.9, 3.5), "end": stop + self.random.uniform(0, 0.4), "call": 10}[self.phase]
        if self.phase == "call":
            moments = 2 * (self.setting.calls[self.kind] + 6)  # some more to replace an old recording
            variables |= {"LD_PRELOAD": self.setting.preload, "KILL_AT": str(self.random.randint(1, moments))}
        recording = Recording(self.setting, self.folder, arguments, variables)
        for number in range(int(kill / 0.15)):
            at = 0.15 * number + self.random.uniform(0, 0.1)
            if at < 4:
                recording.at(at, lambda number=number: recording.mark(f"mark {number}"))
        if self.phase in ("end", "call"):
            recording.at(stop, lambda: recording.process.send_signal(signal.SIGINT))
        recording.at(kill, recording.process.kill)
        return recording

    def check(self, before, acknowledged):
        now = self.files.all_wanted()
        is_old = self.has_old and now[self.files.wanted.name] == before[self.files.wanted.name]
        is_half_removed = self.kind == "npy" and self.has_old and self.files.growing.exists()
        path = self.files.wanted if self.files.wanted.exists() and not is_old and not is_half_removed else self.files.growing
        if is_old:
            expect(now == before, "the old recording lost files, but not its records")
        if not path.exists():
            expect(acknowledged.records == 0, f"{acknowledged}, and nothing is left")
            expect(is_old or not self.has_old, "the old recording is gone, and there is no new one")
            return
        content = self.files.content(path)
        what = f"{path.name} has {content.records} records and {content.events}; {acknowledged}"
        expect(content.is_complete or path == self.files.growing, f"not complete: {what}")
        expect(content.is_complete or is_old or not self.has_old, f"the old recording is gone, the new is not complete: {what}")
        expect(not acknowledged.is_complete or path == self.files.wanted, f"said to be written: {what}")
        expect(self.is_killed or path == self.files.wanted, f"it ended: {what}")
        expect(content.records >= acknowledged.records, f"records are lost: {what}")
        texts = {event.removeprefix("marker: ") for event in content.events}
        expect(acknowledged.markers <= texts, f"markers are lost: {what}")
        for count, name in ((acknowledged.losses, "disconnected"), (acknowledged.returns, "reconnected")):
            expect(sum(event.startswith(name) for event in content.events) >= count, f"an event is lost: {what}")
        self.figures.update(records=content.records)
        self.check_readable(path, content)

    def check_readable(self, path, content):
        picture, saved = self.folder / "saved" / "run.svg", self.folder / "saved" / f"run.{self.kind}"
        saved.parent.mkdir()
        for command in (["plot", path.name, "--output", str(picture)], ["convert", path.name, str(saved)]):
            if content.records:
                self.setting.succeed(self.folder, *command)
            else:
                code, text = self.setting.run(self.folder, *command)
                expect(code == NO_RECORDS, f"{shlex.join(command)}, without records: exit code {code}: {text}")
        if not content.records:
            return
        again = Files(self.setting, saved.parent, self.kind).content(saved)
        cut = 1 if self.kind == "npy" else 0  # a record that some of the arrays have
        expect(0 <= again.records - content.records <= cut, f"converted: {again.records} of {content.records} records")
        expect(set(content.events) <= set(again.events), f"converted: {again.events} of {content.events}")
        self.figures.update(converted=int(path == self.files.growing))


def sum_up(figures):
    print(f"\n{'':10}" + "".join(f"{phase:>24}" for phase in PHASES))
    shown = ("recordings", "killed", "records", "converted")
    total = collections.Counter()
    for kind in FORMATS:
        cells = [collections.Counter(figures.get(f"{kind} {phase}", {})) for phase in PHASES]
        print(f"{kind:10}" + "".join(f"{', '.join(str(cell[name]) for name in shown):>24}" for cell in cells))
        total.update(sum(cells, collections.Counter()))
    print("each: recordings, how many were killed before they had ended, records that they left, remainders that were converted")
    print(f"{total['recordings']} recordings, {total['killed']} killed, {total['converted']} remainders converted; of {total['records']} "
          f"records, {total['markers']} markers and {total['losses']} losses of gloves nothing that was acknowledged is lost")


def earlier_pieces(path, first, count):
    """What earlier runs added, which had other seeds."""
    pieces = [json.loads(line) for line in path.read_text().splitlines()] if path and path.exists() else []
    if any(first < piece["first"] + piece["count"] and piece["first"] < first + count for piece in pieces):
        sys.exit(f"kill.py: {path} has some of the seeds {first} to {first + count - 1} already")
    return pieces


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tessel")
    parser.add_argument("helpers")
    parser.add_argument("kills", type=int)
    parser.add_argument("seed", type=int, nargs="?", default=random.randrange(10 ** 9))
    parser.add_argument("--planted", action="store_true")
    parser.add_argument("--results", type=pathlib.Path)
    options = parser.parse_args()
    pieces = earlier_pieces(options.results, options.seed, options.kills)
    setting = Setting(options)
    print(f"{options.kills} recordings to kill, seeds {options.seed} to {options.seed + options.kills - 1}", flush=True)
    begun = time.monotonic()
    setting.prepare()
    failed = []

    def live(seed):
        if failed and not options.planted:
            return None
        case = Case(setting, seed)
        try:
            case.live()
        except Exception as fault:  # such as NumPy's
            failed.append(str(fault))
            if options.planted:
                return None
            if not isinstance(fault, Fault):
                traceback.print_exc()
            print(f"seed {seed}: {case.kind}, {case.phase}, {'served' if case.is_served else 'sim'}, in {case.folder}:\n  {fault}\n"
                  f"Repeat it with: scripts/kill-test 1 {seed}", flush=True)
        return {f"{case.kind} {case.phase}": case.figures}

    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        lived = list(pool.map(live, range(options.seed, options.seed + options.kills)))
    print(f"{time.monotonic() - begun:.0f} s")
    if options.planted:
        found = [text.split(":")[0] for text in failed]
        counts = [found.count(text) for text in ("records are lost", "markers are lost")]
        print(f"the planted fault: {counts[0]} times lost records, {counts[1]} times lost markers, {len(found) - sum(counts)} others")
        shutil.rmtree(setting.place)
        return 0 if all(counts) else 1
    if failed:
        return 1  # the folder stays
    shutil.rmtree(setting.place)
    own = collections.defaultdict(collections.Counter)
    figures = collections.defaultdict(collections.Counter)
    for each in lived:
        for key, values in each.items():
            own[key].update(values)
    pieces.append({"first": options.seed, "count": options.kills, "figures": own})
    for piece in pieces:
        for key, values in piece["figures"].items():
            figures[key].update(values)
    if options.results:
        with options.results.open("a") as file:
            file.write(json.dumps(pieces[-1]) + "\n")
    sum_up(figures)
    return 0


if __name__ == "__main__":
    sys.exit(main())
