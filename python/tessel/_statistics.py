"""The state of gloves in numbers."""

from __future__ import annotations

import enum
from dataclasses import dataclass
from typing import Sequence

from tessel import _library


class State(enum.IntEnum):
    """What gloves are doing."""

    CREATED = 0
    OPENING = 1
    CONNECTED = 2
    AWAY = 3
    """Lost, and waited for."""
    ENDED = 4


@dataclass(frozen=True)
class GloveStatistics:
    """What became of the frames of a glove since the opening."""

    sent: int
    """That the glove was heard to send."""
    repeated: int
    """Complete ones that came again."""
    recorded: int
    """In a record."""
    lost_by_cause: dict[str, int]
    """`unheard`, `radio`, `refused`, `faulty`, `pairing`, `queued` and `discarded`, as in the books of a recording
    (docs/books.md)."""

    @property
    def lost(self) -> int:
        """Of all causes."""
        return sum(self.lost_by_cause.values())

    @property
    def pending(self) -> int:
        """Still on their way."""
        return self.sent + self.repeated - self.recorded - self.lost


@dataclass(frozen=True)
class Statistics:
    """The state of gloves, as of some tenths of a second ago."""

    state: State
    is_recording: bool
    """Into a file."""
    now_ms: float
    """The present time, as that of the records; NaN before the first one."""
    silent_seconds: float
    """Since the latest record."""
    records: int
    """Since the opening."""
    buffered: int
    """Of these, not read yet."""
    overflowed: int
    """Of these, dropped because they were not read in time."""
    records_per_second: float
    """While the gloves were connected."""
    battery: float
    """0 to 1, of the weaker one; NaN while unknown, or empty."""
    reconnections: int
    """Losses after which the gloves came back."""
    away_seconds: float
    """Of these, together."""
    is_followed: bool
    """Whether `gloves` is known."""
    is_balanced: bool
    """False: a frame can't be explained."""
    gloves: dict[str, GloveStatistics]
    """By label."""


def read_statistics(values: _library.Statistics, labels: Sequence[str]) -> Statistics:
    """The statistics of gloves with these labels."""
    gloves = {
        label: GloveStatistics(
            values.sent[glove],
            values.repeated[glove],
            values.recorded[glove],
            {cause.lower(): getattr(values, f"lost{cause}")[glove] for cause in _library.CAUSES},
        )
        for glove, label in enumerate(labels)
    }
    return Statistics(
        State(values.state),
        bool(values.isRecording),
        values.nowMs,
        values.silentSeconds,
        values.records,
        values.buffered,
        values.overflowed,
        values.recordsPerSecond,
        values.battery,
        values.reconnections,
        values.awaySeconds,
        bool(values.isFollowed),
        bool(values.isBalanced),
        gloves,
    )
