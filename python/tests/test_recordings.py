"""Loading recordings that were made elsewhere, or not completely."""

import sys

import numpy
import pytest

import tessel

RECORDS = 10000


@pytest.fixture
def path(tmp_path):
    """A recording of which only the records are left."""
    lines = ["time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,left_ms,left_0,left_1"]
    lines += [f"{25 * row},{25 * row + 3},{row},{row},{250 * row},{25 * row},{row % 7},{row}" for row in range(RECORDS)]
    path = tmp_path / "läuft.csv"
    path.write_text("\n".join(lines) + "\n")
    return path


def test_a_long_recording_is_read_whole(path):
    recording = tessel.load(path)
    rows = numpy.arange(RECORDS)
    assert len(recording) == RECORDS and not recording.events
    assert numpy.array_equal(recording.time_ms, 25 * rows)
    assert numpy.array_equal(recording.arrival_ms, 25 * rows + 3)
    assert numpy.array_equal(recording.frame[:, 0], rows)
    assert numpy.array_equal(recording["left_1"], rows)
    assert numpy.array_equal(recording["left"][:, 0], rows % 7)
    assert recording.layout.columns == ("left_0", "left_1") and "10000 records" in repr(recording)
    assert [record.number for record, _ in zip(recording, range(2))] == [0, 1]


def test_pandas_tables_have_times_and_names(path):
    pytest.importorskip("pandas")
    table = tessel.load(path).to_pandas()
    assert table.index.name == "time_ms" and list(table.columns) == ["left_0", "left_1"]
    assert table["left_1"].iloc[-1] == RECORDS - 1


def test_without_pandas_the_error_names_it(path, monkeypatch):
    monkeypatch.setitem(sys.modules, "pandas", None)
    with pytest.raises(ImportError, match="install python3-pandas"):
        tessel.load(path).to_pandas()


def test_damage_is_noted_and_what_is_no_recording_is_an_error(path, tmp_path):
    path.write_bytes(path.read_bytes()[:-5])  # in the middle of the last line
    recording = tessel.load(str(path))
    assert len(recording) == RECORDS - 1 and recording.notes

    path.write_text(path.read_text().replace(",10,2500,", ",10,x,"))
    with pytest.raises(tessel.RecordingError, match="line 12"):
        tessel.load(path)

    other = tmp_path / "other.csv"
    other.write_bytes(b"\x00\x01 no recording")
    for wrong in (other, tmp_path / "missing.xdf", tmp_path):
        with pytest.raises(tessel.RecordingError) as raised:
            tessel.load(wrong)
        assert wrong.name in str(raised.value)
    with pytest.raises(ValueError, match="zero byte"):
        tessel.load("a\0b")


def test_ports_are_listed(start):
    program = "import tessel; print(tessel.ports())"
    output, errors = start(program, TESSEL_SERIAL_PORTS="COM7=/dev/null;COM8=/no/such").communicate(timeout=20)
    assert not errors and "path='/dev/null'" in output and "/no/such" not in output
