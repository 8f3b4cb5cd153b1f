"""Gloves that are open: reading them, recording them, and what is known about them."""

import threading
import time

import numpy
import pytest

import tessel


def wait_for_events(gloves, name, count):
    """The next events of this name; others are skipped."""
    events = []
    deadline = time.monotonic() + 5
    while len(events) < count and time.monotonic() < deadline:
        gloves.read()
        events += [event for event in gloves.events() if event.event == name]
    return events


def drain(gloves):
    """Reads what is in the buffer already."""
    while len(gloves.read_block(timeout=0)):
        pass


def test_records_follow_each_other(gloves):
    records = [record for record, _ in zip(gloves, range(10))]
    assert numpy.all(numpy.diff([record.number for record in records]) == 1)
    assert numpy.all(numpy.diff([record.time_ms for record in records]) > 0)
    assert numpy.all(numpy.diff([record.plugin_ms for record in records]) > 0)
    for record in records:
        assert (record.samples.shape, record.frame.shape, record.sampled_ms.shape) == ((250,), (2,), (2,))
        assert record.time_ms == record.sampled_ms[0] <= record.arrival_ms
        assert numpy.array_equal(record["right"], record.samples[125:])


def test_blocks_have_arrays_with_a_row_for_each_record(gloves):
    drain(gloves)
    blocks = [block for block, _ in zip(gloves.blocks(count=8), range(3))]
    assert [len(block) for block in blocks] == [8, 8, 8]
    assert numpy.all(numpy.diff(numpy.concatenate([block.number for block in blocks])) == 1)
    for block in blocks:
        assert (block.first, block.overflowed) == (block.number[0], 0)
        assert (block.samples.shape, block.samples.dtype) == ((8, 250), numpy.uint16)
        assert (block.frame.shape, block.ticks.shape, block.sampled_ms.shape) == ((8, 2),) * 3
        assert numpy.array_equal(block.sampled_ms[:, 0], block.time_ms)
        assert [record.number for record in block] == list(block.number)
        assert numpy.array_equal([record.samples for record in block], block.samples)
    frames = numpy.concatenate([block.frame for block in blocks])
    assert numpy.all(numpy.diff(frames, axis=0) >= 1)


def test_elements_have_names(gloves):
    block = gloves.read_block(min_records=4)
    layout = gloves.layout
    assert [(group.label, group.module, group.first, group.count) for group in layout.groups] == [
        ("left", "KVXGL00017", 0, 125),
        ("right", "KVXGR00018", 125, 125),
    ]
    assert numpy.shares_memory(block["left"], block.samples)
    assert numpy.array_equal(block["right"], block.samples[:, 125:])
    thumb = [number for number, name in enumerate(layout.columns) if name.startswith("right_thumb_")]
    assert numpy.array_equal(block["right_thumb"], block.samples[:, thumb])
    assert numpy.array_equal(block["right_thumb_03"], block.samples[:, thumb[3]])
    # The right hand is the mirror image of the left one.
    assert numpy.array_equal(layout["right"].positions, layout["left"].positions * (-1, 1, 1))
    with pytest.raises(KeyError, match="nose"):
        block["left_nose"]


def test_blocks_of_a_time_have_what_arrives_in_it(gloves):
    drain(gloves)
    begin = time.monotonic()
    lengths = [len(block) for block, _ in zip(gloves.blocks(seconds=0.25), range(4))]
    assert len(lengths) == 4 and time.monotonic() - begin >= 0.99
    assert 20 <= sum(lengths) <= 100, lengths


def test_the_latest_records_stay_to_be_read(gloves):
    drain(gloves)
    number = gloves.read().number
    gloves.read_block(min_records=3, max_records=3)
    latest = gloves.latest(4)
    assert list(latest.number)[-1] >= number + 3 and len(latest) == 4
    assert gloves.read().number == number + 4


def test_a_timeout_returns_fewer_records_or_raises(gloves):
    drain(gloves)
    begin = time.monotonic()
    assert len(gloves.read_block(timeout=0.2, min_records=1000)) in range(1, 1000)
    assert time.monotonic() - begin >= 0.2
    with pytest.raises(TimeoutError, match="0.001 s"):
        while True:
            gloves.read(timeout=0.001)
    with pytest.raises(ValueError):
        gloves.read_block(max_records=5, min_records=6)


def test_statistics_add_up(gloves):
    drain(gloves)
    record = gloves.read()
    statistics = gloves.statistics()
    assert statistics.state is tessel.State.CONNECTED
    assert statistics.records >= record.number and statistics.overflowed == 0
    assert statistics.buffered < statistics.records and abs(statistics.records_per_second - 40) < 5
    assert record.time_ms < statistics.now_ms < record.time_ms + 10000
    assert statistics.is_followed and statistics.is_balanced and statistics.battery == 0.75
    assert list(statistics.gloves) == ["left", "right"]
    for glove in statistics.gloves.values():
        assert 0 <= glove.pending < 100 and glove.recorded > record.number - 100
        assert glove.sent + glove.repeated == glove.recorded + sum(glove.lost_by_cause.values()) + glove.pending


def test_markers_are_events_and_commands_have_replies(gloves):
    gloves.marker("lift")
    gloves.marker()
    lift, numbered = wait_for_events(gloves, "marker", 2)
    assert lift.detail == "lift" and numbered.detail.startswith("marker ")
    assert 0 < lift.time_ms <= numbered.time_ms
    assert "KVXGL00017" in repr(gloves) and "connected" in repr(gloves)
    assert gloves.description["gloves"][1]["serialNumber"] == 18
    assert "left: " in gloves.simulate("status")
    assert gloves.send("BatteryLevel")
    with pytest.raises(tessel.RefusedError):
        gloves.simulate("dance left")
    with pytest.raises(tessel.RefusedError):
        gloves.send("SensorSelect")  # with too few parameters


@pytest.mark.parametrize("name", ["run.csv", "run.npy", "run.xdf"])
def test_a_recording_has_what_was_read_live(gloves, name, tmp_path):
    drain(gloves)
    path = tmp_path / name
    with gloves.record(path) as running:
        assert gloves.statistics().is_recording
        with pytest.raises(tessel.BusyError):
            gloves.record(tmp_path / "second")
        live = [gloves.read_block(min_records=10)]
        gloves.marker("läuft")
        live.append(gloves.read_block(min_records=10))
    running.stop()
    live.append(gloves.read_block(timeout=0.5, min_records=100, max_records=100))
    recording = tessel.load(path)

    assert len(recording) >= 18 and recording.metadata["complete"] and not recording.notes
    assert "läuft" in [event.detail for event in recording.events]
    assert recording.layout.columns == gloves.layout.columns
    books = recording.metadata["books"]
    assert books["balanced"] is True
    for label in ("left", "right"):
        glove = books[label]
        assert glove["recorded"] == len(recording)
        assert glove["sent"] + glove["repeated"] == glove["recorded"] + sum(glove["lost"].values())
    frames = numpy.concatenate([block.frame for block in live])
    begin = list(frames[:, 0]).index(recording.frame[0, 0])
    rows = slice(begin, begin + len(recording))
    for attribute in ("plugin_ms", "frame", "ticks", "samples"):
        expected = numpy.concatenate([getattr(block, attribute) for block in live])[rows]
        assert numpy.array_equal(getattr(recording, attribute), expected), attribute
    # The times of the recording begin with its first record.
    zero = live[0].time_ms[begin]
    for attribute in ("time_ms", "arrival_ms", "sampled_ms"):
        expected = numpy.concatenate([getattr(block, attribute) for block in live])[rows] - zero
        assert getattr(recording, attribute) == pytest.approx(expected, abs=0.011), attribute

    with pytest.raises(tessel.OutputError, match=name):
        gloves.record(path)
    with pytest.raises(tessel.StateError):
        gloves.stop_recording()


def test_invalid_arguments_are_errors_with_advice(gloves, tmp_path):
    with pytest.raises(tessel.BusyError) as raised:
        tessel.open(simulated=True)
    assert raised.value.advice and str(raised.value).endswith("\n" + raised.value.advice)
    with pytest.raises(tessel.OptionError, match="format"):
        gloves.record(tmp_path / "x", format="parquet")
    with pytest.raises(ValueError, match="zero byte"):
        gloves.marker("a\0b")
    with pytest.raises(tessel.OutputError):
        gloves.record(tmp_path / "no/such/folder/run.csv")


def test_each_record_goes_to_one_of_several_threads(gloves):
    drain(gloves)
    numbers = []

    def read():
        numbers.extend(gloves.read().number for _ in range(10))

    threads = [threading.Thread(target=read) for _ in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert sorted(numbers) == list(range(min(numbers), min(numbers) + 30))
