"""Events of gloves and recordings."""

from __future__ import annotations

import math
from dataclasses import dataclass
from typing import Any


@dataclass(frozen=True)
class Event:
    """Something that happened: `marker`, `disconnected`, `reconnected`, `gave up` or `stall`; of gloves also
    `overflow`, `recording` and `notice`."""

    time_ms: float
    """As those of the records; NaN if unknown."""
    event: str
    glove: str
    """The label of the glove that it concerns, or empty."""
    detail: str


def read_event(values: dict[str, Any]) -> Event:
    """The event of a JSON object of the library."""
    time = values.get("timeMs")
    return Event(
        math.nan if time is None else float(time),
        values["event"],
        values.get("glove") or "",
        values.get("detail") or "",
    )
