"""Loads the C library, and declares its functions and structures exactly as its header tessel.h does.

Threads: any. The library is loaded by the first call, not by the import, so that a program may fork in between.
"""

from __future__ import annotations

import ctypes
import os
import pathlib
import sys
import threading
from ctypes import POINTER, c_char_p, c_double, c_int32, c_size_t, c_uint32, c_uint64, c_void_p
from typing import Any, Callable, Optional

from tessel._errors import LibraryError, make_error

INTERFACE = 1  # the functions and members below

OK = 0
TIMEOUT = 1
END = 2
TOO_SMALL = -103


class Shape(ctypes.Structure):
    """struct tessel_shape."""

    _fields_ = [("size", c_size_t), ("gloves", c_uint32), ("elements", c_uint32)]


class Block(ctypes.Structure):
    """struct tessel_block."""

    _fields_ = [
        ("size", c_size_t),
        ("capacity", c_uint32),
        ("gloves", c_uint32),
        ("elements", c_uint32),
        ("count", c_uint32),
        ("first", c_uint64),
        ("overflowed", c_uint64),
        ("timeMs", c_void_p),
        ("arrivalMs", c_void_p),
        ("pluginMs", c_void_p),
        ("frame", c_void_p),
        ("ticks", c_void_p),
        ("sampledMs", c_void_p),
        ("sample", c_void_p),
    ]


CAUSES = ("Unheard", "Radio", "Refused", "Faulty", "Pairing", "Queued", "Discarded")


class Statistics(ctypes.Structure):
    """struct tessel_statistics."""

    _fields_ = [
        ("size", c_size_t),
        ("state", c_int32),
        ("isRecording", c_int32),
        ("nowMs", c_double),
        ("silentSeconds", c_double),
        ("records", c_uint64),
        ("buffered", c_uint64),
        ("overflowed", c_uint64),
        ("recordsPerSecond", c_double),
        ("battery", c_double),
        ("reconnections", c_uint64),
        ("awaySeconds", c_double),
        ("isFollowed", c_int32),
        ("isBalanced", c_int32),
        ("sent", c_uint64 * 2),
        ("repeated", c_uint64 * 2),
        ("recorded", c_uint64 * 2),
        *[(f"lost{cause}", c_uint64 * 2) for cause in CAUSES],
    ]


_TEXT = (c_char_p, c_size_t, POINTER(c_size_t))
FUNCTIONS = {
    "tessel_version": (c_char_p,),
    "tessel_interface": (c_uint32,),
    "tessel_error_text": (c_char_p,),
    "tessel_error_advice": (c_char_p,),
    "tessel_ports": (c_int32, *_TEXT),
    "tessel_create": (c_int32, c_char_p, POINTER(c_uint64)),
    "tessel_open": (c_int32, c_uint64, c_int32),
    "tessel_cancel": (c_int32, c_uint64),
    "tessel_close": (c_int32, c_uint64),
    "tessel_get_shape": (c_int32, c_uint64, POINTER(Shape)),
    "tessel_describe": (c_int32, c_uint64, *_TEXT),
    "tessel_read": (c_int32, c_uint64, POINTER(Block), c_int32),
    "tessel_latest": (c_int32, c_uint64, POINTER(Block)),
    "tessel_get_statistics": (c_int32, c_uint64, POINTER(Statistics)),
    "tessel_next_event": (c_int32, c_uint64, *_TEXT),
    "tessel_marker": (c_int32, c_uint64, c_char_p),
    "tessel_record": (c_int32, c_uint64, c_char_p, c_char_p),
    "tessel_stop_recording": (c_int32, c_uint64),
    "tessel_send": (c_int32, c_uint64, c_char_p, *_TEXT),
    "tessel_simulate": (c_int32, c_uint64, c_char_p, *_TEXT),
    "tessel_open_recording": (c_int32, c_char_p, POINTER(c_uint64)),
    "tessel_recording_shape": (c_int32, c_uint64, POINTER(Shape)),
    "tessel_read_recording": (c_int32, c_uint64, POINTER(Block)),
    "tessel_describe_recording": (c_int32, c_uint64, *_TEXT),
    "tessel_close_recording": (c_int32, c_uint64),
}  # name: result, arguments

_lock = threading.Lock()
_loaded: Optional[ctypes.CDLL] = None


def _candidates() -> list[str]:
    """Where the library may be: paths that exist, and at last a name that the system looks up."""
    chosen = os.environ.get("TESSEL_LIBRARY")
    if chosen:
        return [chosen]
    here = pathlib.Path(__file__).resolve().parent
    if sys.platform == "win32":
        name, folders = "tessel.dll", [here, *list(here.parents)[:2]]
    else:
        name, folders = "libtessel.so.1", [here]
    return [*(str(folder / name) for folder in folders if (folder / name).exists()), name]


def _load() -> ctypes.CDLL:
    failures = []
    for path in _candidates():
        try:
            loaded = ctypes.CDLL(path)
            for name, (result, *arguments) in FUNCTIONS.items():
                function = getattr(loaded, name)
                function.restype = result
                function.argtypes = arguments
        except (OSError, AttributeError) as error:
            failures.append(str(error))
            continue
        interface = loaded.tessel_interface()
        if interface < INTERFACE:
            failures.append(f"{path} has version {interface} of the interface, and {INTERFACE} is needed")
            continue
        return loaded
    raise LibraryError(
        0,
        f"the C library of the gloves can't be loaded: {'; '.join(failures)}.",
        "Install it, or set the environment variable TESSEL_LIBRARY to its path.",
    )


def library() -> ctypes.CDLL:
    """The library, which the first call loads."""
    global _loaded
    if _loaded is None:
        with _lock:
            if _loaded is None:
                _loaded = _load()
    return _loaded


def check(status: int) -> int:
    """Returns a status that is no error, and raises the exception of one that is."""
    if status >= 0:
        return status
    text = library().tessel_error_text().decode(errors="replace")
    advice = library().tessel_error_advice().decode(errors="replace")
    raise make_error(status, text, advice)


def encode(text: str) -> bytes:
    """A text or path for the library."""
    if "\0" in text:
        raise ValueError(f"a text for the gloves can't contain a zero byte: {text!r}")
    return text.encode("utf-8", "surrogateescape")


def call_for_text(function: Callable[..., int], *arguments: Any, size: int = 65536) -> Optional[str]:
    """The text that a function of the library writes; None if there is none now."""
    needed = c_size_t()
    while True:
        memory = ctypes.create_string_buffer(size)
        status = function(*arguments, memory, size, ctypes.byref(needed))
        if status != TOO_SMALL or needed.value <= size:
            break
        size = needed.value
    return memory.value.decode(errors="replace") if check(status) == OK else None
