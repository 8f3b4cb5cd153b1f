"""How gloves end: closed, cancelled, lost, interrupted, forgotten, or in another process."""

import gc
import os
import signal
import threading
import time

import pytest

import tessel


def test_lost_gloves_raise_after_the_buffered_records():
    with tessel.open(simulated=True, reconnect=0) as gloves:
        gloves.read()
        gloves.simulate("drop both")
        deadline = time.monotonic() + 10
        while gloves.statistics().state is not tessel.State.ENDED and time.monotonic() < deadline:
            time.sleep(0.05)
        buffered = gloves.statistics().buffered
        read = 0
        with pytest.raises(tessel.LostError) as raised:
            for _ in gloves:
                read += 1
        assert read == buffered > 0
        assert raised.value.status == -15 and str(raised.value)
        with pytest.raises(tessel.LostError):
            gloves.read_block(timeout=0)
        assert "ended" in repr(gloves)


def test_records_that_overflow_are_counted_and_warned_of():
    with tessel.open(simulated=True, simulation=["rate 50"], buffer=10) as gloves:
        while not gloves.statistics().overflowed:
            time.sleep(0.02)
        with pytest.warns(tessel.OverflowWarning) as warned:
            block = gloves.read_block(max_records=10)
        assert block.overflowed == block.first > 0
        assert f"{block.overflowed} records" in str(warned[0].message) and warned[0].filename == __file__
        gloves.read()  # without a warning, which would be an error here


@pytest.mark.parametrize("end, error", [("cancel", tessel.CancelledError), ("close", tessel.ClosedError)])
def test_another_thread_ends_reading(end, error):
    with tessel.open(simulated=True) as gloves:
        failures = []

        def read():
            try:
                for _ in gloves:
                    pass
            except tessel.Error as failure:
                failures.append(failure)

        thread = threading.Thread(target=read)
        thread.start()
        time.sleep(0.2)
        getattr(gloves, end)()
        thread.join(5)
        assert [type(failure) for failure in failures] == [error]
    assert "closed" in repr(gloves)
    gloves.close()  # once more does nothing
    with pytest.raises(tessel.ClosedError):
        gloves.read()


def test_forgotten_gloves_are_closed_with_a_warning():
    gloves = tessel.open(simulated=True)
    with pytest.warns(ResourceWarning, match="not closed"):
        del gloves
        gc.collect()
    with tessel.open(simulated=True, gloves="left") as gloves:  # not busy
        assert [group.label for group in gloves.layout.groups] == ["left"]
        assert gloves.read()["left_thumb"].shape == (18,)
        if not hasattr(os, "fork"):
            return
        child = os.fork()
        if child == 0:
            try:
                gloves.read()
            except tessel.ForkedError:
                gloves.close()  # those of the parent stay open
                os._exit(7)
            finally:
                os._exit(1)
        assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 7
        gloves.read_block(min_records=5)


def test_a_program_may_end_without_closing(start, tmp_path):
    program = """
import tessel, threading
gloves = tessel.open(simulated=True)
gloves.record("run.csv")
gloves.read_block(min_records=20)
threading.Thread(target=lambda: [None for _ in gloves], daemon=True).start()
"""
    _, errors = (running := start(program)).communicate(timeout=20)
    assert running.returncode == 0, errors
    assert tessel.load(tmp_path / "run.csv").metadata["complete"]


OPENING = "import tessel; print('begin'); tessel.open(simulated=True, simulation=['hide both'], wait=60)"
READING = """
import tessel
with tessel.open(simulated=True) as gloves, gloves.record("run.csv"):
    gloves.read_block(min_records=5)
    gloves.simulate("silent both")
    print("begin")
    for record in gloves: pass
"""


@pytest.mark.parametrize("program, wait", [(OPENING, 1), (READING, 0.3)], ids=["opening", "reading"])
def test_ctrl_c_ends_soon(start, program, wait, tmp_path):
    running = start(program)
    assert running.stdout.readline() == "begin\n"
    time.sleep(wait)
    running.send_signal(signal.SIGINT)
    begin = time.monotonic()
    _, errors = running.communicate(timeout=10)
    assert time.monotonic() - begin < 5  # some 0.1 s, and the time that closing takes
    assert errors.splitlines()[-1] == "KeyboardInterrupt" and "Error" not in errors
    assert running.returncode == -signal.SIGINT
    if program is READING:
        assert tessel.load(tmp_path / "run.csv").metadata["complete"]


def test_errors_of_opening_have_the_words_and_advice_of_the_library(start):
    program = "import tessel, sys\ntry: tessel.open(gloves='one')\nexcept tessel.NoDongleError as e: print(e.status, e)"
    output, errors = start(program, TESSEL_SERIAL_PORTS="COM7=/no/such/port").communicate(timeout=20)
    assert not errors and output.startswith("-10 ") and len(output.splitlines()) >= 2
    with pytest.raises(tessel.OptionError, match="gloves"):
        tessel.open(gloves="three")
    with pytest.raises(tessel.PluginError, match="no/plugin.so"):
        tessel.open(simulated=True, plugin="/no/plugin.so")
    with pytest.raises(tessel.SettingsError, match="no/settings"):
        tessel.open(simulated=True, settings="/no/settings")


def test_a_library_that_is_missing_is_named(start):
    program = "import tessel\ntry: tessel.version()\nexcept tessel.LibraryError as e: print(e)"
    output, errors = start(program, TESSEL_LIBRARY="/no/libtessel.so").communicate(timeout=20)
    assert not errors and "/no/libtessel.so" in output and "TESSEL_LIBRARY" in output.splitlines()[1]


def test_nothing_in_the_working_folder_is_loaded(start, tmp_path):
    for name in ("libtessel.so.1", "HwTessel.so"):
        (tmp_path / name).write_text("no library")
    program = "import tessel\nwith tessel.open(simulated=True) as gloves: print(gloves.read().number)"
    output, errors = start(program).communicate(timeout=20)
    assert output == "0\n", errors
    program = "import tessel\ntry: tessel.version()\nexcept tessel.LibraryError as e: print(e)"
    output, errors = start(program, TESSEL_LIBRARY="").communicate(timeout=20)
    assert not errors and "invalid" not in output and "too short" not in output
