"""Tactile gloves: opens one or two gloves, reads and records them, and loads recordings.

    import tessel

    with tessel.open(simulated=True) as gloves:
        for record in gloves:
            print(record.time_ms, record["left"].max())

    recording = tessel.load("session.xdf")
    print(recording["left_thumb"].mean(axis=1))

Errors are exceptions of the class `Error`, whose texts say what happened and what to do. docs/library.md is the guide.
"""

from tessel._errors import (
    BooksError,
    BusyError,
    CancelledError,
    ClosedError,
    Error,
    FirmwareError,
    ForkedError,
    GloveError,
    LibraryError,
    LostError,
    NoDongleError,
    NoGlovesError,
    OptionError,
    OutputError,
    OverflowWarning,
    PluginError,
    PortError,
    RecordingError,
    RefusedError,
    SettingsError,
    StateError,
)
from tessel._events import Event
from tessel._gloves import Gloves, RunningRecording, open
from tessel._layout import Group, Layout
from tessel._ports import Port, ports
from tessel._recording import Recording, load
from tessel._records import Block, Record, Records
from tessel._statistics import GloveStatistics, State, Statistics
from tessel._version import __version__, version

__all__ = [
    "Block",
    "BooksError",
    "BusyError",
    "CancelledError",
    "ClosedError",
    "Error",
    "Event",
    "FirmwareError",
    "ForkedError",
    "GloveError",
    "GloveStatistics",
    "Gloves",
    "Group",
    "Layout",
    "LibraryError",
    "LostError",
    "NoDongleError",
    "NoGlovesError",
    "OptionError",
    "OutputError",
    "OverflowWarning",
    "PluginError",
    "Port",
    "PortError",
    "Record",
    "Recording",
    "RecordingError",
    "Records",
    "RefusedError",
    "RunningRecording",
    "SettingsError",
    "State",
    "StateError",
    "Statistics",
    "__version__",
    "load",
    "open",
    "ports",
    "version",
]

# What users read in tracebacks.
for _name in __all__:
    if isinstance(globals()[_name], type):
        globals()[_name].__module__ = __name__
