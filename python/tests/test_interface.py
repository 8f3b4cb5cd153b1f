"""What this package declares is what the header declares: otherwise calls would damage memory."""

import ctypes
import enum
import re
import subprocess

import pytest

import tessel
from tessel import _errors, _library

from conftest import HEADER, ROOT


def statuses(header):
    found = re.findall(r"^ *(TESSEL_ERROR_\w+) = (-\d+)", header, re.MULTILINE)
    return {name: int(number) for name, number in found}


def test_every_function_is_declared_with_its_arguments(header):
    code = re.sub(r"/\*.*?\*/", "", header, flags=re.DOTALL)
    declared = {
        name: 0 if arguments.strip() == "void" else arguments.count(",") + 1
        for name, arguments in re.findall(r"^TESSEL_API [^;]*?\b(tessel_\w+)\(([^)]*)\)", code, re.MULTILINE)
    }
    assert declared == {name: len(types) - 1 for name, types in _library.FUNCTIONS.items()}
    assert f"#define TESSEL_INTERFACE {_library.INTERFACE}\n" in header


@pytest.mark.parametrize("structure", [_library.Shape, _library.Block, _library.Statistics])
def test_structures_have_the_compilers_layout(structure, tmp_path):
    name = "tessel_" + structure.__name__.lower()
    expressions = [f"sizeof({name})"]
    for member, _ in structure._fields_:
        expressions += [f"offsetof({name}, {member})", f"sizeof((({name}*)0)->{member})"]
    prints = "".join(f'printf("%zu\\n", {expression});' for expression in expressions)
    program = tmp_path / "layout.c"
    program.write_text(f"#include <stdio.h>\n#include <tessel.h>\nint main(void) {{ {prints} return 0; }}\n")
    subprocess.run(["gcc", "-std=c11", f"-I{HEADER.parent}", program, "-o", tmp_path / "layout"], check=True)
    printed = subprocess.run([tmp_path / "layout"], check=True, capture_output=True, text=True).stdout.split()
    expected = [ctypes.sizeof(structure)]
    for member, _ in structure._fields_:
        field = getattr(structure, member)
        expected += [field.offset, field.size]
    assert dict(zip(expressions, map(int, printed))) == dict(zip(expressions, expected))


def test_every_error_has_its_class(header):
    # Those without one: an error in the library itself, one that can't happen here, and MemoryError.
    others = {"TESSEL_ERROR_INTERNAL", "TESSEL_ERROR_TOO_SMALL", "TESSEL_ERROR_MEMORY"}
    assert {number for name, number in statuses(header).items() if name not in others} == set(_errors._CLASSES)
    assert isinstance(_errors.make_error(statuses(header)["TESSEL_ERROR_MEMORY"], "", ""), MemoryError)


def test_states_are_those_of_the_header(header):
    line = re.search(r"enum \{ (TESSEL_CREATED[^}]*) \}", header)[1]
    assert {state.name: state.value for state in tessel.State} == {
        name: int(value) for name, value in re.findall(r"TESSEL_(\w+) = (\d)", line)
    }
    assert issubclass(tessel.State, enum.IntEnum)


def test_the_guide_lists_every_status(header):
    guide = (ROOT / "docs/library.md").read_text()
    rows = re.findall(r"^\| `(TESSEL_ERROR_\w+)` \| (-\d+) \| `(\w+)` ", guide, re.MULTILINE)
    assert {name: int(number) for name, number, _ in rows} == statuses(header)
    for _, number, name in rows:
        assert type(_errors.make_error(int(number), "", "")).__name__ == name


def test_the_guide_lists_every_option(header):
    guide = (ROOT / "docs/library.md").read_text()
    comment = header[header.index("`options` is a JSON object") : header.index("tessel_create(")]
    options = re.findall(r'^ \*   "(\w+)" ', comment, re.MULTILINE)
    assert len(options) == 15
    table = guide[guide.index("| option, in Python |") : guide.index("## Times")]
    assert re.findall(r"^\| `(\w+)`, ", table, re.MULTILINE) == options


def test_the_guide_has_the_sizes_of_structures():
    guide = (ROOT / "docs/library.md").read_text()
    for structure in (_library.Shape, _library.Block, _library.Statistics):
        assert f"| `tessel_{structure.__name__.lower()}` | {ctypes.sizeof(structure)} |" in guide


def test_the_versions_agree():
    project = re.search(r"project\(HwTessel VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())[1]
    assert tessel.version() == tessel.__version__ == project
