#!/usr/bin/env python3
"""Plants faults in a copy of the sources, one after the other, and expects tessel-soak to find each."""

import os
import pathlib
import shutil
import subprocess
import sys

PLUGIN = "HwPlugins/HwTessel/"

# Name, file, text, and what replaces it.
FAULTS = [
    ("a second configure keeps the port of the first", PLUGIN + "HWTessel.cpp",
     "if (previous) previous->abandonPort();", ""),
    ("a destroyed object does not close its link", PLUGIN + "HWTessel.cpp", "    HWTessel::close();\n", ""),
    ("a destroyed object leaves its link allocated", PLUGIN + "HWTessel.cpp",
     "  delete bleDevice_.load();\n", ""),
    ("a short read continues where it ended", PLUGIN + "serial/SerialPort.cpp",
     "    position += wanted;", "    position += moved;"),
    ("a dead link is noticed one read later", PLUGIN + "link/Polling.cpp",
     "constexpr std::int32_t fatal = 2;", "constexpr std::int32_t fatal = 3;"),
    ("queued commands are not sent", PLUGIN + "link/Polling.cpp",
     "if (index < modules.size()) {", "if (index >= modules.size()) {"),
    ("the glove's 16-bit clock wraps without a carry", PLUGIN + "stream/PacketStore.cpp",
     "++clockWraps_;", ";"),
    ("the longer queue is trimmed to three frames", PLUGIN + "stream/PacketStore.cpp",
     "trimmedDepth = 2", "trimmedDepth = 3"),
    ("a frame ends one packet early", PLUGIN + "stream/PacketStore.cpp",
     "lastPacket_ = packetCount - 1;", "lastPacket_ = packetCount - 2;"),
    ("a glove may be entered twice", PLUGIN + "link/Handlers.cpp", "if (isEntered(address) || ", "if ("),
    ("the wrap of the host's clock looks like silence", PLUGIN + "ReadRecord.cpp",
     "return clock_() - lastDelivery_ > static_cast<std::uint32_t>(settings_.readTimeout)",
     "return clock_() > lastDelivery_ + static_cast<std::uint32_t>(settings_.readTimeout)"),
    ("the clock's correction is too strong", PLUGIN + "ReadRecord.cpp", "kept = 0.95", "kept = 0.9"),
    ("a late frame corrects the clock", PLUGIN + "ReadRecord.cpp", "lateBacklog = 6", "lateBacklog = 7"),
    ("one element is written beyond the record", PLUGIN + "ReadRecord.cpp",
     "std::copy_n(frame.samples.begin(), count, &record[position]);",
     "std::copy_n(frame.samples.begin(), count, &record[position]);\n      (&record[position])[count] = 0;"),
    ("the wrap of the system's clock extends a wait", PLUGIN + "link/Connection.cpp",
     "elapsed += platform::tickCount() - before;",
     "elapsed += std::int64_t{platform::tickCount()} - std::int64_t{before};"),
    ("old firmware is accepted", PLUGIN + "link/Handlers.cpp", "firmware < minFirmware ? -1 : 1", "1"),
    ("faulty sensors are accepted", PLUGIN + "link/Opening.cpp", "return status != 0;", "return status == 1;"),
    ("the books trim the longer queue to three frames", "host/capture/LinkAccounts.cpp",
     "trimmedDepth = 2", "trimmedDepth = 3"),
]


def run(arguments, **options):
    return subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)


def copy_sources(target):
    names = subprocess.run(["git", "ls-files", "-z"], stdout=subprocess.PIPE, check=True).stdout
    for name in filter(None, names.decode().split("\0")):
        (target / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(name, target / name)


def build(folder):
    built = run(["cmake", "--build", folder, "--target", "tessel-soak"])
    if built.returncode != 0:
        sys.exit(f"does not compile:\n{built.stdout}")


def main():
    target = pathlib.Path("build/planted").absolute()
    shutil.rmtree(target, ignore_errors=True)
    copy_sources(target / "source")
    folder = target / "build"
    configured = run(["cmake", "-S", target / "source", "-B", folder, "-G", "Ninja", "-D", "CMAKE_BUILD_TYPE=Release",
                      "-D", "TESSEL_BENCH=OFF"])
    if configured.returncode != 0:
        sys.exit(configured.stdout)
    build(folder)
    soak = [folder / "bin/tessel-soak", "--seed", os.environ.get("TESSEL_SOAK_SEED", "1"), "--minutes", "2"]
    sound = run(soak)
    if sound.returncode != 0:
        sys.exit(f"without a planted fault:\n{sound.stdout}")
    print("none planted:", sound.stdout.splitlines()[-1], flush=True)
    missed = 0
    for name, file, text, replacement in FAULTS:
        path = target / "source" / file
        original = path.read_text()
        if original.count(text) != 1:
            sys.exit(f"{file} does not hold this once: {text}")
        path.write_text(original.replace(text, replacement))
        build(folder)
        result = run(soak)
        path.write_text(original)
        lines = result.stdout.splitlines()
        found = result.returncode == 1 and lines[-1].startswith("Repeat it")
        missed += not found
        print(f"{'found' if found else 'MISSED'}: {name}: {lines[-2] if found else lines[-1]}".strip(), flush=True)
    print(f"{len(FAULTS) - missed} of {len(FAULTS)} found")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
