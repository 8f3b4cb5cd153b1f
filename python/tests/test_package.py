"""The package as users install it, and the program in the README."""

import re
import shutil
import subprocess
import sys

from conftest import ROOT


def test_pip_installs_it_without_a_network(tmp_path, start):
    # A copy, because building leaves files behind.
    source = tmp_path / "source"
    shutil.copytree(ROOT / "python", source, ignore=shutil.ignore_patterns("__pycache__", "build", "*.egg-info"))
    target = tmp_path / "target"
    options = ["--quiet", "--no-index", "--no-deps", "--no-build-isolation", "--disable-pip-version-check"]
    command = [sys.executable, "-m", "pip", "install", *options, "--target", target, source]
    subprocess.run(command, check=True, capture_output=True, cwd=tmp_path)
    assert (target / "tessel/py.typed").exists()
    program = (
        "import importlib.metadata, tessel\n"
        "print(tessel.__file__, importlib.metadata.version('tessel'), tessel.version())"
    )
    output, errors = start(program, PYTHONPATH=str(target)).communicate(timeout=20)
    path, installed, library = output.split()
    assert path == str(target / "tessel/__init__.py") and installed == library


def test_the_program_in_the_readme_runs(start):
    program = re.search(r"^```python\n(.*?)^```$", (ROOT / "README.md").read_text(), re.MULTILINE | re.DOTALL)[1]
    output, errors = start(program).communicate(timeout=30)
    assert not errors
    assert re.fullmatch(r"\d+ records, left thumb at most \d+ counts", output.splitlines()[-1])
