#!/usr/bin/python3
"""Runs the programs of docs/library.md, and compares what they print.
Usage: library.py LIBRARY HEADER-FOLDER PYTHON-FOLDER DOCUMENT"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

# What each program prints at the end, in the order of the page.
EXPECTED = [
    r"\d+\.\d ms: left thumb \d+ counts",
    r"\(5, 125\)",
    r"\d+ records, started 20\d\d-.*Z",
    r"To use a dongle that is plugged in: .*",
    r"\d+\.\d ms: \d+ records, at most \d+ counts",
    r"\d+ records, the last one at \d{4}\.\d ms",
]


def run(command, folder, environment):
    done = subprocess.run(command, cwd=folder, env=environment, capture_output=True, text=True, timeout=60)
    if done.returncode != 0 or done.stderr:
        sys.exit(f"{command} failed ({done.returncode}):\n{done.stdout}{done.stderr}")
    return done.stdout


def main():
    library, headers, modules, document = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    environment = {
        **os.environ,
        "TESSEL_LIBRARY": str(library),
        "TESSEL_SERIAL_PORTS": "COM1=/no/dongle",
        "PYTHONPATH": str(modules),
        "PYTHONWARNINGS": "error",
    }
    programs = re.findall(r"^```(python|c)\n(.*?)^```$", document.read_text(), re.MULTILINE | re.DOTALL)
    if len(programs) != len(EXPECTED):
        sys.exit(f"{len(programs)} programs instead of {len(EXPECTED)}")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for (language, program), expected in zip(programs, EXPECTED):
            source = folder / f"program.{language}"
            source.write_text(program)
            command = [sys.executable, source]
            if language == "c":
                command = [folder / "program"]
                warnings = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Werror"]
                linked = [library, f"-Wl,-rpath,{library.parent}", "-o", *command]
                run(["gcc", "-std=c11", *warnings, f"-I{headers}", source, *linked], folder, environment)
            last = run(command, folder, environment).splitlines()[-1]
            if not re.fullmatch(expected, last):
                sys.exit(f"printed {last!r} instead of {expected!r}:\n{program}")
    print(f"{len(programs)} programs ran")


main()
