#!/usr/bin/env python3
"""Makes the seeds of the fuzz targets again, from what the built program records of simulated gloves:
    fuzz/make-seeds.py build/release/bin/tessel
A file whose name begins with "found-" is an input that failed once; those stay as they are."""

import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile

root = pathlib.Path(__file__).resolve().parent
repository = root.parent


def write(target, name, content):
    folder = root / "seeds" / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(content if isinstance(content, bytes) else content.encode())


def files(format, *paths):
    """The form that recordings.cpp describes."""
    return bytes([format]) + b"".join(path.name.encode() + b"\n" + path.read_bytes() + b"\n@@\n" for path in paths)


def calls(capture):
    """Kind, time in ms, and bytes or text of each packet of a capture."""
    at = 0
    while at < len(capture):
        type, length = struct.unpack_from("<II", capture, at)
        if type == 6:
            high, low, size = struct.unpack_from("<III", capture, at + 12)
            data = capture[at + 28:at + 28 + size]
            option = at + 28 + (size + 3) // 4 * 4
            kind, text = 3, b""
            while struct.unpack_from("<H", capture, option)[0] != 0:
                code, count = struct.unpack_from("<HH", capture, option)
                value = capture[option + 4:option + 4 + count]
                kind, text = (value[0] & 3, text) if code == 2 else (kind, value if code == 1 else text)
                option += 4 + (count + 3) // 4 * 4
            yield kind, (high << 32 | low) // 1_000_000, data if kind != 3 else text
        at += length


def record(program, folder):
    (folder / "settings").write_text("TesselElementCount\t17\nTesselNumSensors\t1\nTesselNumBleModules\t1\n")
    (folder / "scenario").write_text("0 packets left 2\n")
    for name in ["run.csv", "run.npy", "run.xdf"]:
        subprocess.run([program, "record", "--sim", "--settings", "settings", "--scenario", "scenario", "--frames", "5",
                        "--output", name, "--capture", name + ".pcapng"], cwd=folder, check=True, capture_output=True)
    events = b"time_ms,event,glove,detail\n,disconnected,left,\n50.25,marker,,object (small): lifted\n"
    (folder / "run.events.csv").write_bytes(events)
    (folder / "run.npy" / "events.csv").write_bytes(events)


def make(program, folder):
    record(program, folder)
    run = {name: folder / name for name in ["run.csv", "run.json", "run.events.csv", "run.xdf"]}
    write("recordings", "csv", files(1, run["run.csv"], run["run.json"], run["run.events.csv"]))
    write("recordings", "csv-version-1", b"\x02run.csv\ntime_ms,left_0,left_1,right_0,right_1\n5,1,2,3,4\n9,65535,0,0,7\n")
    write("recordings", "npy", files(2, *sorted((folder / "run.npy").iterdir())))
    write("recordings", "xdf", files(0, run["run.xdf"]))
    write("recordings", "table", files(3, run["run.csv"]))

    capture = (folder / "run.csv.pcapng").read_bytes()
    write("captures", "file", b"\x00" + capture)
    write("captures", "frames", b"\x1a" + capture[:2500])
    as_calls, previous = bytearray(b"\x21"), None
    received = bytearray()
    kinds = {1: 1, 2: 2, 3: 3}  # inbound, outbound, note
    for kind, time, data in calls(capture):
        pause = 0 if previous is None else min(max(time - previous, 0), 255)
        previous = time
        as_calls += bytes([kinds.get(kind, 3), pause, len(data)]) + data
        if kind == 1:
            received += data
    write("captures", "calls", bytes(as_calls[:3000]))
    write("link-bytes", "dialogue", b"\x00\x1f\x1f" + bytes(received[:2000]))
    write("link-bytes", "fast", b"\x05\xff\x04" + bytes(received[:1000]))

    # Each known message, in a state of its own.
    write("link-states", "messages", b"".join(bytes([1, 1, 2, 2, 3, kind % 19, 0, (kind + 5) % 19, 0, 0, 1, 0, kind, 0])
                                              for kind in range(18)))
    write("link-states", "changed", b"".join(bytes([0, 1, 2, state % 6, 3, state, 0, state, 0, 0, 1, 1, state % 18,
                                                    5 | 16, 9, state, state % 18, 8, 7]) for state in range(19)))

    # Steps by their place in the table of link-script.cpp.
    opened = bytes([0, 1, 40])
    pause = bytes([15, 100, 0])
    write("link-script", "one-glove", b"\x00" + opened + bytes([3, 0, 3, 1, 3, 2, 3, 3, 3, 5, 1, 20, 4]))
    write("link-script", "two-gloves", bytes([1, 5, 1]) + opened + bytes([10, 0, 1, 63, 4, 5, 1]) + opened)
    write("link-script", "faults", bytes([3, 5, 2, 11, 2, 8, 7, 11, 3, 0, 16, 6, 0, 30]) + opened +
          b"".join(bytes([10, command, 2]) + pause for command in range(30)) + b"\x04")
    write("link-script", "port", bytes([1, 13, 0, 5, 0, 12]) + opened +
          b"".join(bytes([12, which, 3, 1, 3]) for which in range(8)) + b"\x04\x00\x01\x08")
    write("link-script", "messages", bytes([1]) + opened + b"".join(bytes([7, kind, 4, 8, kind, 20, 9, kind, 0, 50, 0, 1, 4])
                                                                    for kind in range(18)))

    compact = b"".join(bytes([5, 2, index * 16, 3, 2 if index == 0 else 0, 0]) for index in range(2))
    write("packets", "compact", b"\x00" + compact * 3 + b"\x01\x02\x05\x03\x00")
    write("packets", "extended", b"\x01" + bytes([6, 0, 3, 0, 6, 0, 16, 0, 6, 0, 20, 8]) + bytes(8) + b"\x05\x01\x05")
    write("packets", "repeated", b"\x00" + b"\x00" + bytes([255] * 20) + compact + b"\x03\x00\x02")

    def name(text, type=9):
        return bytes([len(text) + 1, type]) + text
    for file, data in {"left": b"\x02\x01\x06" + name(b"KVXGL00017"), "right": name(b"LAMP") + name(b"KVXGR00018"),
                       "short": name(b"KVXGL", 8) + b"\x03\x09KVXSS", "cut": b"\x1f\x09KVXGL00"}.items():
        write("advertisements", file, b"\x00" + data)

    subprocess.run([program, "settings", "default", "--write"], cwd=folder, check=True, capture_output=True)
    write("settings", "default", (folder / "default").read_bytes())
    write("settings", "odd", 'TesselMetaData\t"of two\nlines \xe9"\nTesselSerialNumber 3 17 0x12 -1\nTesselTimeDivisor 1e3\n'
          "x skipped\n// skipped\nTesselElementCount\nTesselNumSensors 99999999999\nUnknown 1\n<TesselExecDelay>\n".encode("latin-1"))
    words = ["BatteryLevel", "Identify", "GetModuleMap", "GetFirmwareVersion", "AutoTune", "SequentialScan", "SensorSelect 2",
             "SensorSelect", "SetSerialNumber,1,777", "SetSerialNumber,-1,99999", "SetSerialNumber", " Identify x"]
    for link, prefix in {"closed": b"\x00", "refused": b"\x01"}.items():
        write("text-commands", link, prefix + "\n".join(words).encode())
    for layout in (repository / "share/layouts").iterdir():
        write("layouts", layout.name, layout.read_bytes())
    commands = ["drop left 0x0208", "silent both", "back both", "leave right", "refuse left on", "name left A lamp", "rssi -70",
                "battery left 7", "rate 100", "drift both 75", "packets left 2", "loss both 5", "double 1", "swap right 2.5",
                "sensor left thumb 249", "unplug", "plug", "busy on", "restart-time 2", "stay-away on", "mute on", "noise 12",
                "firmware 1.4.2.129", "neighbours 12", "hide both", "show both", "restart left", "status", "help", "quit"]
    write("simulator-commands", "commands", "\x00" + "\n".join(commands))
    write("simulator-commands", "scenario", "\x01# at each tenth\n" + "\n".join(f"{at / 10} {text}  # {at}"
                                                                              for at, text in enumerate(commands)))
    browser = "Host: localhost:8484\nSec-Fetch-Site: same-origin\nAccept: */*\n"
    write("requests", "state", f"\x00GET /api/state?x=1 HTTP/1.1\n{browser}\n")
    write("requests", "file", f"\x00HEAD /uPlot.min.css HTTP/1.1\n{browser}\n")
    write("requests", "marker", f"\x00POST /api/marker HTTP/1.1\n{browser}X-Tessel-Token: page\nOrigin: http://localhost:8484\n"
          'Content-Type: application/json\n\n{"text": "object \xe4 lifted"}')
    write("requests", "token", f"\x01GET /?token=0123456789abcdef HTTP/1.1\n{browser}\n")
    write("requests", "cookie", f"\x01GET /api/stream HTTP/1.1\n{browser}Cookie: a=b; tessel-8484=0123456789abcdef\n\n")
    write("requests", "lines", "\x02\x05one\ntwo \x1b[31m\r\n\n" + "long " * 250 + "\nrest")

    # Calls by their place in the table of library-calls.cpp, each with a handle.
    read = b"".join(bytes([18, 0, 0, 9, 3, 8] + [1] * 7) for _ in range(4))
    reading = b"".join(bytes([16, 14, 1, kind]) + bytes([17, 0, 0]) + read + bytes([19, 0, 255, 31, 1, 1, 20, 0])
                       for kind in range(6))
    write("library-calls", "recordings", reading)
    gloves = b"".join(bytes([1, 14, choice, 1, 2, 0, 0, 10, 0, 255, 9, 1, 1, 9, 0, 0, 4, 0]) for choice in range(5))
    write("library-calls", "gloves", gloves + bytes([0, 14, 1]) + b'{"gloves": "left", "buffer": 3}\n\x01' +
          b"".join(bytes([call, 0, 1]) + b"text\n" for call in range(21)))


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with tempfile.TemporaryDirectory() as folder:
        make(shutil.which(pathlib.Path(sys.argv[1]).resolve()), pathlib.Path(folder))
