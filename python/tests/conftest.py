"""Where the tests find the package, the header and the documents."""

import os
import pathlib
import subprocess
import sys

import pytest

import tessel

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
HEADER = ROOT / "library/include/tessel.h"


@pytest.fixture
def header() -> str:
    return HEADER.read_text()


@pytest.fixture
def start(tmp_path):
    """Starts a Python program in an empty folder, with pipes for its output."""
    programs = []

    def start(text, **environment):
        environment = {**os.environ, "PYTHONPATH": str(ROOT / "python"), "PYTHONUNBUFFERED": "1", **environment}
        program = subprocess.Popen(
            [sys.executable, "-c", text],
            cwd=tmp_path,
            env=environment,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
        )
        programs.append(program)
        return program

    yield start
    for program in programs:
        program.kill()
        program.communicate()


@pytest.fixture(scope="module")
def gloves():
    """Simulated gloves for the tests of a module that leave them connected."""
    with tessel.open(simulated=True) as gloves:
        yield gloves
