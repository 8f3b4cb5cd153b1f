"""Reads recordings."""

from __future__ import annotations

import ctypes
import json
import os
from dataclasses import dataclass, field
from typing import Any, Union

from tessel import _library
from tessel._events import Event, read_event
from tessel._layout import read_layout
from tessel._records import Columns, Records

_FIRST_ROWS = 4096


@dataclass(frozen=True, eq=False)
class Recording(Records):
    """A whole recording in memory."""

    path: str
    metadata: dict[str, Any] = field(repr=False)
    """What is known about it: the wall clock of its start, gloves, settings and more (docs/recording.md)."""
    events: list[Event] = field(repr=False)
    """Markers, losses and reconnections, in the order of their times."""
    notes: list[str] = field(repr=False)
    """What could not be read, in words."""

    def __repr__(self) -> str:
        groups = ", ".join(f"{group.label} {group.count}" for group in self.layout.groups)
        return f"<tessel.Recording {self.path!r}: {len(self)} records, elements: {groups}>"


def load(path: Union[str, "os.PathLike[str]"]) -> Recording:
    """Reads a recording of any format: a CSV file, a folder of arrays, or an XDF file.

    One that is still being made, or was not completed, is read as far as it goes; `Recording.notes` says what is
    missing. Raises `RecordingError` if it can't be read.
    """
    library = _library.library()
    name = os.fspath(path)
    handle = ctypes.c_uint64()
    _library.check(library.tessel_open_recording(_library.encode(name), ctypes.byref(handle)))
    try:
        shape = _library.Shape(ctypes.sizeof(_library.Shape))
        _library.check(library.tessel_recording_shape(handle, ctypes.byref(shape)))
        columns = Columns(_FIRST_ROWS, shape.gloves, shape.elements)
        while columns.fill(library.tessel_read_recording, handle.value) != _library.END:
            if columns.room == 0:
                columns.double()
        description = json.loads(_library.call_for_text(library.tessel_describe_recording, handle) or "{}")
    finally:
        library.tessel_close_recording(handle)
    metadata = description.get("metadata") or {}
    return Recording(
        **columns.finish(),
        layout=read_layout(metadata, shape.elements),
        path=name,
        metadata=metadata,
        events=[read_event(event) for event in description.get("events") or []],
        notes=description.get("notes") or [],
    )
