"""Serial ports."""

from __future__ import annotations

import json
from dataclasses import dataclass

from tessel import _library


@dataclass(frozen=True)
class Port:
    """A serial port."""

    text: str
    """As the system shows it."""
    path: str
    is_dongle: bool
    is_used: bool
    """Whether it is the one that `tessel.open()` would use."""
    state: str
    """Whether it can be used, in words."""


def ports() -> list[Port]:
    """The serial ports, and which one would be used."""
    text = _library.call_for_text(_library.library().tessel_ports)
    return [
        Port(port["text"], port["path"], port["isDongle"], port["isUsed"], port["state"])
        for port in json.loads(text or "[]")
    ]
