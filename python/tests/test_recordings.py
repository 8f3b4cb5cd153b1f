"""Loading recordings that were made elsewhere, long ago, or not completely."""

import sys

import numpy
import pytest

import tessel

RECORDS = 10000


@pytest.fixture
def old(tmp_path):
    """A recording of the first version, which has no other file."""
    lines = ["time_ms,left_0,left_1"] + [f"{25 * row},{row % 7},{row % 65536}" for row in range(RECORDS)]
    path = tmp_path / "öld.csv"
    path.write_text("\n".join(lines) + "\n")
    return path


def test_a_long_recording_is_read_whole(old):
    recording = tessel.load(old)
    assert len(recording) == RECORDS
    assert numpy.array_equal(recording.time_ms - recording.time_ms[0], 25 * numpy.arange(RECORDS))
    assert numpy.array_equal(recording["left_1"], numpy.arange(RECORDS))
    assert numpy.array_equal(recording["left"][:, 0], numpy.arange(RECORDS) % 7)
    assert recording.layout.columns == ("left_0", "left_1") and "10000 records" in repr(recording)
    assert [record.number for record, _ in zip(recording, range(2))] == [0, 1]


def test_pandas_tables_have_times_and_names(old):
    pytest.importorskip("pandas")
    table = tessel.load(old).to_pandas()
    assert table.index.name == "time_ms" and list(table.columns) == ["left_0", "left_1"]
    assert table["left_1"].iloc[-1] == RECORDS - 1


def test_without_pandas_the_error_names_it(old, monkeypatch):
    monkeypatch.setitem(sys.modules, "pandas", None)
    with pytest.raises(ImportError, match="install python3-pandas"):
        tessel.load(old).to_pandas()


def test_damage_is_noted_and_what_is_no_recording_is_an_error(old, tmp_path):
    text = old.read_text().replace("\n250,3,10\n", "\n250,3,x\n")
    old.write_text(text)
    recording = tessel.load(str(old))
    assert len(recording) == RECORDS - 1 and recording.notes

    other = tmp_path / "other.csv"
    other.write_bytes(b"\x00\x01 no recording")
    for path in (other, tmp_path / "missing.xdf", tmp_path):
        with pytest.raises(tessel.RecordingError) as raised:
            tessel.load(path)
        assert path.name in str(raised.value)
    with pytest.raises(ValueError, match="zero byte"):
        tessel.load("a\0b")


def test_ports_are_listed(start):
    program = "import tessel; print(tessel.ports())"
    output, errors = start(program, TESSEL_SERIAL_PORTS="COM7=/dev/null;COM8=/no/such").communicate(timeout=20)
    assert not errors and "path='/dev/null'" in output and "/no/such" not in output
