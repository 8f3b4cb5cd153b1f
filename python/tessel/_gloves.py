"""Gloves: opened, read, recorded."""

from __future__ import annotations

import contextlib
import ctypes
import json
import math
import os
import sys
import time
import warnings
import weakref
from types import TracebackType
from typing import Any, Iterator, Optional, Sequence, Union

from tessel import _library
from tessel._errors import Error, OverflowWarning
from tessel._events import Event, read_event
from tessel._layout import Layout, read_layout
from tessel._records import Block, Columns, Record
from tessel._statistics import Statistics, read_statistics

Path = Union[str, "os.PathLike[str]"]

# Python handles Ctrl-C between two calls of the library, so none of them waits longer.
_SLICE_MS = 100
# So many records at most where no number is given; 8 MiB of two gloves.
_MANY_RECORDS = 16384


def open(
    *,
    gloves: str = "both",
    settings: Optional[Path] = None,
    simulated: bool = False,
    simulation: Sequence[str] = (),
    scenario: Optional[Path] = None,
    seed: Optional[int] = None,
    wait: float = 60,
    reconnect: float = 60,
    any_glove: bool = False,
    follow: bool = True,
    capture: Optional[Path] = None,
    layout: Optional[Path] = None,
    log: Optional[Path] = None,
    plugin: Optional[Path] = None,
    buffer: int = 16384,
) -> Gloves:
    """Opens gloves, which takes 1 to 15 seconds, and starts reading them.

    Arguments:
        gloves: "both", "one", "left" or "right".
        settings: The settings file; by default one for these gloves is made.
        simulated: Gloves that the library simulates (on Linux).
        simulation: Commands of the simulator, executed before the gloves are opened: ["rate 100"].
        scenario: File of timed commands of the simulator.
        seed: Of the simulation's movement, noise and random faults.
        wait: For how many seconds opening is repeated.
        reconnect: For how many seconds lost gloves are waited for; with 0 their loss is the end.
        any_glove: After a loss accept other gloves than those that were opened first.
        follow: False saves some CPU time, but losses and times are estimates.
        capture: File for every byte between the plug-in and the dongle (pcapng).
        layout: File with the layout of the hand.
        log: Folder for the plug-in's log.
        plugin: The plug-in's file; by default the one that came with the library.
        buffer: How many records are kept until they are read.

    One pair of gloves can be open in a process at a time. Use it in a `with` statement, which closes them.
    """
    options: dict[str, Any] = {
        "gloves": gloves,
        "simulated": simulated,
        "wait": wait,
        "reconnect": reconnect,
        "anyGlove": any_glove,
        "follow": follow,
        "buffer": buffer,
    }
    commands = [simulation] if isinstance(simulation, str) else list(simulation)
    if commands:
        options["simulation"] = commands
    if seed is not None:
        options["seed"] = seed
    files = {
        "settings": settings,
        "scenario": scenario,
        "capture": capture,
        "layout": layout,
        "log": log,
        "plugin": plugin,
    }
    options.update({key: os.fspath(path) for key, path in files.items() if path is not None})
    return Gloves(options)


class Gloves:
    """One or two opened gloves.

    Iterating yields each `Record`, without an end: the loss of the gloves, or their closing, raises an exception
    after the records of before. All methods may be called on any thread; each record goes to one caller of `read()`,
    `read_block()` and the iterators.
    """

    def __init__(self, options: dict[str, Any]) -> None:
        """Use `tessel.open()`."""
        self._library = _library.library()
        self._process = os.getpid()
        self._handle = ctypes.c_uint64()
        text = json.dumps(options, ensure_ascii=False)
        _library.check(self._library.tessel_create(_library.encode(text), ctypes.byref(self._handle)))
        # For whoever forgets it. At the end of the program, too, as long as other threads can still handle it.
        self._closing = weakref.finalize(self, _close_forgotten, self._handle, self._process)
        try:
            while _library.check(self._library.tessel_open(self._handle, _SLICE_MS)) == _library.TIMEOUT:
                pass
            self._shape = _library.Shape(ctypes.sizeof(_library.Shape))
            _library.check(self._library.tessel_get_shape(self._handle, ctypes.byref(self._shape)))
            self._layout = read_layout(self.description, self._shape.elements)
        except BaseException:  # Ctrl-C, too
            with contextlib.suppress(Error):
                self.cancel()
            self._close_quietly()
            raise

    @property
    def layout(self) -> Layout:
        """What the elements of a record are. Reconnections don't change it."""
        return self._layout

    @property
    def description(self) -> dict[str, Any]:
        """What the gloves are: the metadata of recordings (docs/recording.md), as of now."""
        text = _library.call_for_text(self._library.tessel_describe, self._handle)
        description: dict[str, Any] = json.loads(text or "{}")
        return description

    def statistics(self) -> Statistics:
        """The state of the gloves, and what became of their frames. Also after the gloves were lost."""
        values = _library.Statistics(ctypes.sizeof(_library.Statistics))
        _library.check(self._library.tessel_get_statistics(self._handle, ctypes.byref(values)))
        return read_statistics(values, self._layout.gloves)

    def read(self, timeout: Optional[float] = None) -> Record:
        """The oldest record that was not read yet.

        Waits for it for at most `timeout` seconds, and then raises `TimeoutError`.
        """
        columns = self._columns(1)
        if not self._take(columns, _deadline(timeout)):
            raise TimeoutError(f"the gloves sent no record within {timeout} s.")
        return next(iter(self._finish(columns)))

    def __iter__(self) -> Iterator[Record]:
        return self

    def __next__(self) -> Record:
        return self.read()

    def read_block(self, max_records: int = 1024, timeout: Optional[float] = None, min_records: int = 1) -> Block:
        """The oldest records that were not read yet, at most `max_records`.

        Waits until there are `min_records`, for at most `timeout` seconds: then the block has fewer, or none. The
        end of the gloves raises its exception once all records of before were read.
        """
        if not 0 <= min_records <= max_records or max_records == 0:
            raise ValueError(f"can't read {min_records} to {max_records} records")
        columns = self._columns(max_records)
        deadline = _deadline(timeout if min_records else 0)
        try:
            while self._take(columns, deadline) and len(columns) < min_records:
                pass
        except Error:  # which the next call raises again
            if not len(columns):
                raise
        return self._finish(columns)

    def blocks(self, count: Optional[int] = None, seconds: Optional[float] = None) -> Iterator[Block]:
        """Iterates over blocks of `count` records, or over blocks of what arrives in each `seconds`, which may be none.

        With both, a block has at most `count` records; with neither, it has all that are there, at least one.
        """
        if seconds is not None and seconds <= 0:
            raise ValueError("`seconds` must be positive")
        return self._blocks(count, seconds)

    def _blocks(self, count: Optional[int], seconds: Optional[float]) -> Iterator[Block]:
        begin = time.monotonic()
        number = 0
        while True:
            if seconds is None:
                yield self.read_block(count or _MANY_RECORDS, None, count or 1)
                continue
            # Counted from the beginning, so that the times of the caller's work don't add up.
            number = max(number + 1, math.ceil((time.monotonic() - begin) / seconds))
            most = count or _MANY_RECORDS
            yield self.read_block(most, begin + number * seconds - time.monotonic(), most)

    def latest(self, n: int = 1) -> Block:
        """The newest `n` records, or fewer if there are not so many, whether or not they were read.

        Does not wait, and leaves them to be read.
        """
        columns = self._columns(n)
        columns.fill(self._library.tessel_latest, self._handle.value)
        return self._finish(columns)

    def events(self) -> list[Event]:
        """The events that were not taken yet, oldest first. At most 1000 are kept."""
        events: list[Event] = []
        while True:
            text = _library.call_for_text(self._library.tessel_next_event, self._handle, size=4096)
            if text is None:
                return events
            events.append(read_event(json.loads(text)))

    def marker(self, text: Optional[str] = None) -> None:
        """Marks this moment, by an event that recordings have, too. Without a text it is numbered."""
        _library.check(self._library.tessel_marker(self._handle, _library.encode(text) if text else None))

    def record(
        self, path: Path, format: Optional[str] = None, replace: bool = False, sync: float = 1
    ) -> RunningRecording:
        """Records into a file or folder from the next record on, until `stop_recording()` or the end.

        `format` is "csv", "npy" or "xdf"; by default the extension of the path decides. An existing recording is an
        error without `replace`. Every `sync` seconds the disk is made to store what was recorded, which then survives
        a power cut; with 0 only when the recording is complete. In a `with` statement, the recording stops at its end.
        """
        options: dict[str, Any] = {"replace": replace, "sync": sync}
        if format is not None:
            options["format"] = format
        name = os.fspath(path)
        text = json.dumps(options, ensure_ascii=False)
        _library.check(self._library.tessel_record(self._handle, _library.encode(name), _library.encode(text)))
        return RunningRecording(self, name)

    def stop_recording(self) -> None:
        """Waits until the recording is complete; raises an exception if it is not."""
        _library.check(self._library.tessel_stop_recording(self._handle))

    def send(self, command: str) -> str:
        """Sends a text command to the plug-in, as "BatteryLevel", and returns its reply."""
        return self._reply(self._library.tessel_send, command)

    def simulate(self, command: str) -> str:
        """Executes a command of the simulator, as "drop left", and returns its reply (docs/simulator.md)."""
        return self._reply(self._library.tessel_simulate, command)

    def _reply(self, function: Any, command: str) -> str:
        return _library.call_for_text(function, self._handle, _library.encode(command)) or ""

    def cancel(self) -> None:
        """Ends reading as soon as possible, and does not wait for it: records that were not read yet still can be, and
        then all readers raise `CancelledError`."""
        _library.check(self._library.tessel_cancel(self._handle))

    def close(self) -> None:
        """Disconnects the gloves and completes a recording, which takes up to 3 seconds.

        Raises an exception if the recording is not complete. Does nothing if they are closed, and in a fork of the
        process that opened them.
        """
        if os.getpid() == self._process and self._closing.detach():
            _library.check(self._library.tessel_close(self._handle))

    def _close_quietly(self) -> None:
        try:
            self.close()
        except Error as error:
            warnings.warn(f"while closing the gloves: {error}", RuntimeWarning, stacklevel=_users_level())

    def __enter__(self) -> Gloves:
        return self

    def __exit__(
        self, kind: Optional[type[BaseException]], error: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        if error is None:
            self.close()
        else:
            self._close_quietly()

    def __repr__(self) -> str:
        names = ", ".join(f"{group.label} {group.module}".rstrip() for group in self._layout.groups)
        if not self._closing.alive:
            return f"<tessel.Gloves {names}: closed>"
        try:
            statistics = self.statistics()
        except Error as error:
            return f"<tessel.Gloves {names}: {str(error).splitlines()[0]}>"
        return f"<tessel.Gloves {names}: {statistics.state.name.lower()}, {statistics.records} records>"

    def _columns(self, rows: int) -> Columns:
        return Columns(rows, self._shape.gloves, self._shape.elements)

    def _take(self, columns: Columns, deadline: float) -> bool:
        """Reads what there is, after waiting until the deadline for a first record; False if there is none."""
        while True:
            remaining = math.ceil(1000 * min(deadline - time.monotonic(), _SLICE_MS / 1000))
            status = columns.fill(self._library.tessel_read, self._handle.value, max(remaining, 0))
            if status != _library.TIMEOUT or remaining <= 0:
                return status == _library.OK

    def _finish(self, columns: Columns) -> Block:
        if columns.overflowed:
            message = f"{columns.overflowed} records were dropped because they were not read in time"
            warnings.warn(message, OverflowWarning, stacklevel=_users_level())
        return Block(**columns.finish(), layout=self._layout, overflowed=columns.overflowed)


class RunningRecording:
    """A recording that is being made. At the end of a `with` statement it is stopped."""

    def __init__(self, gloves: Gloves, path: str) -> None:
        """Use `Gloves.record()`."""
        self._gloves = gloves
        self._is_stopped = False
        self.path = path

    def stop(self) -> None:
        """Waits until the recording is complete; raises an exception if it is not. Does nothing if it is stopped."""
        if not self._is_stopped:
            self._is_stopped = True
            self._gloves.stop_recording()

    def __enter__(self) -> RunningRecording:
        return self

    def __exit__(
        self, kind: Optional[type[BaseException]], error: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        if error is None:
            self.stop()
            return
        try:
            self.stop()
        except Error as failure:
            warnings.warn(f"while stopping the recording: {failure}", RuntimeWarning, stacklevel=_users_level())

    def __repr__(self) -> str:
        return f"<tessel.RunningRecording {self.path!r}{': stopped' if self._is_stopped else ''}>"


def _close_forgotten(handle: ctypes.c_uint64, process: int) -> None:
    if os.getpid() == process:
        warnings.warn("gloves were not closed: use `with tessel.open()`", ResourceWarning, stacklevel=_users_level())
        _library.library().tessel_close(handle)


def _deadline(timeout: Optional[float]) -> float:
    return math.inf if timeout is None else time.monotonic() + timeout


def _users_level() -> int:
    """For warnings: how far above the caller of this function the first frame outside this package is."""
    package = os.path.dirname(__file__)
    level = 1
    frame = sys._getframe(1)
    while frame.f_back is not None and os.path.dirname(frame.f_code.co_filename) == package:
        frame = frame.f_back
        level += 1
    return level
