#!/usr/bin/python3
"""Runs the programs of docs/formats.md on recordings that its commands make, and compares what they print.
Usage: formats.py TESSEL DOCUMENT"""

import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

import numpy


def run(command, folder):
    environment = {**os.environ, "MPLBACKEND": "Agg"}
    environment.pop("DISPLAY", None)
    done = subprocess.run(command, cwd=folder, env=environment, capture_output=True, text=True, timeout=120)
    if done.returncode != 0:
        sys.exit(f"{shlex.join(command)} failed:\n{done.stdout}{done.stderr}")
    return done.stdout.strip()


def main():
    tessel, document = sys.argv[1], pathlib.Path(sys.argv[2]).read_text()
    commands = re.findall(r"^    tessel (.*)$", document, re.MULTILINE)
    programs = re.findall(r"^```(python|matlab)\n(.*?)^```$", document, re.MULTILINE | re.DOTALL)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for command in commands:
            run([tessel, *shlex.split(command.replace("--seconds 10", "--seconds 4"))], folder)
        samples = numpy.load(folder / "grip.npy/samples.npy")
        # The simulated hand: after the palm's 35 of 125 elements come the thumb's 18.
        highest = samples[:, 35:53].max()
        allowed = {
            f"18 elements, at most {highest} counts",
            f"at most {highest} counts",
            f"True {len(samples)}",
        }
        printed = set()
        for language, program in programs:
            (folder / "program").write_text(program)
            interpreter = [sys.executable] if language == "python" else ["octave-cli", "--no-init-file"]
            # Without a display, Octave also draws in characters.
            lines = run([*interpreter, "program"], folder).splitlines()[0]
            if lines not in allowed:
                sys.exit(f"printed {lines!r} instead of one of {allowed}:\n{program}")
            printed.add(lines)
            for picture in re.findall(r"thumb\.(?:png|svg)", program):
                if (folder / picture).stat().st_size < 1000:
                    sys.exit(f"drew nothing:\n{program}")
                (folder / picture).unlink()
        if printed != allowed or len(commands) < 5:
            sys.exit(f"only {printed} of {allowed} were printed, by {len(commands)} commands")
    print(f"{len(programs)} programs printed what the recording holds")


main()
