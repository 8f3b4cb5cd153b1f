"""Records in arrays: one of them, a block of them, or all of a recording."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, Callable, Iterator

import numpy
from numpy.typing import NDArray

from tessel import _library
from tessel._layout import Layout

if TYPE_CHECKING:
    import pandas


@dataclass(frozen=True, eq=False)
class Record:
    """What the gloves sampled at one moment.

    `record["left"]` has the samples of the left glove, `record["left_thumb"]` those of a region, and
    `record["left_thumb_03"]` is one of them.
    """

    number: int
    """Counts the records since the opening, or of a recording, from 0."""
    time_ms: float
    """When it was sampled, in ms since the first record; NaN if unknown."""
    arrival_ms: float
    """When it arrived, from the same zero."""
    plugin_ms: int
    """The plug-in's timestamp."""
    frame: NDArray[numpy.int64] = field(repr=False)
    """By glove: the number of its frame; -1 if unknown."""
    ticks: NDArray[numpy.int64] = field(repr=False)
    """By glove: its clock, in 0.1 ms; -1 if unknown."""
    sampled_ms: NDArray[numpy.float64] = field(repr=False)
    """By glove: when this part was sampled; NaN if unknown."""
    samples: NDArray[numpy.uint16] = field(repr=False)
    """All elements, raw counts."""
    layout: Layout = field(repr=False)

    def __getitem__(self, name: str) -> Any:
        return self.samples[self.layout.select(name)]


@dataclass(frozen=True, eq=False)
class Records:
    """Arrays with a row for each record.

    `records["left"]` is a view of the left glove's columns of `samples`; `records["left_thumb"]` has the columns
    of a region, and `records["left_thumb_03"]` is one of them. Iterating yields each `Record`.
    """

    number: NDArray[numpy.int64] = field(repr=False)
    """Counts the records since the opening, or of the recording, from 0."""
    time_ms: NDArray[numpy.float64] = field(repr=False)
    """When each was sampled, in ms since the first record; NaN if unknown."""
    arrival_ms: NDArray[numpy.float64] = field(repr=False)
    """When each arrived, from the same zero."""
    plugin_ms: NDArray[numpy.uint32] = field(repr=False)
    """The plug-in's timestamps."""
    frame: NDArray[numpy.int64] = field(repr=False)
    """[records, gloves]: the number of the glove's frame; -1 if unknown."""
    ticks: NDArray[numpy.int64] = field(repr=False)
    """[records, gloves]: the glove's clock, in 0.1 ms; -1 if unknown."""
    sampled_ms: NDArray[numpy.float64] = field(repr=False)
    """[records, gloves]: when the glove's part was sampled; NaN if unknown."""
    samples: NDArray[numpy.uint16] = field(repr=False)
    """[records, elements]: raw counts."""
    layout: Layout = field(repr=False)

    def __len__(self) -> int:
        return len(self.samples)

    def __getitem__(self, name: str) -> NDArray[numpy.uint16]:
        columns: NDArray[numpy.uint16] = self.samples[:, self.layout.select(name)]
        return columns

    def __iter__(self) -> Iterator[Record]:
        for row in range(len(self)):
            yield Record(
                int(self.number[row]),
                float(self.time_ms[row]),
                float(self.arrival_ms[row]),
                int(self.plugin_ms[row]),
                self.frame[row],
                self.ticks[row],
                self.sampled_ms[row],
                self.samples[row],
                self.layout,
            )

    def to_pandas(self) -> pandas.DataFrame:
        """A table of the samples, with a column for each element and `time_ms` as index. It needs pandas."""
        try:
            import pandas
        except ImportError as error:
            text = "to_pandas() needs the package pandas: install python3-pandas, or pandas with pip."
            raise ImportError(text) from error
        index = pandas.Index(self.time_ms, name="time_ms")
        return pandas.DataFrame(self.samples, index=index, columns=list(self.layout.columns))


@dataclass(frozen=True, eq=False)
class Block(Records):
    """Some records of the gloves."""

    overflowed: int
    """How many records were dropped before or within these, because they were not read in time."""

    @property
    def first(self) -> int:
        """The number of the first record; -1 if the block is empty."""
        return int(self.number[0]) if len(self) else -1

    def __repr__(self) -> str:
        content = f"{len(self)} records from {self.first}, {self.samples.shape[1]} elements"
        lost = f", {self.overflowed} dropped" if self.overflowed else ""
        return f"<tessel.Block: {content}{lost}>"


# Member of tessel_block: attribute of Records, type, and of what a record has one.
_ARRAYS: dict[str, tuple[str, Any, str]] = {
    "timeMs": ("time_ms", numpy.float64, "record"),
    "arrivalMs": ("arrival_ms", numpy.float64, "record"),
    "pluginMs": ("plugin_ms", numpy.uint32, "record"),
    "frame": ("frame", numpy.int64, "glove"),
    "ticks": ("ticks", numpy.int64, "glove"),
    "sampledMs": ("sampled_ms", numpy.float64, "glove"),
    "sample": ("samples", numpy.uint16, "element"),
}


class Columns:
    """The arrays of `Records`, which the library fills. Not for several threads."""

    def __init__(self, rows: int, gloves: int, elements: int) -> None:
        self._gloves, self._elements = gloves, elements
        self._count = 0
        self.overflowed = 0
        self._number = numpy.empty(rows, numpy.int64)
        shapes: dict[str, tuple[int, ...]] = {"record": (rows,), "glove": (rows, gloves), "element": (rows, elements)}
        self._arrays = {member: numpy.empty(shapes[each], type) for member, (_, type, each) in _ARRAYS.items()}

    def __len__(self) -> int:
        return self._count

    @property
    def room(self) -> int:
        """For how many more records there is room."""
        return len(self._number) - self._count

    def fill(self, function: Callable[..., int], handle: int, *arguments: int) -> int:
        """Appends what a function of the library reads, and returns its status."""
        block = _library.Block(ctypes.sizeof(_library.Block), self.room, self._gloves, self._elements)
        for member, array in self._arrays.items():
            setattr(block, member, array.ctypes.data + self._count * array.strides[0])
        status = _library.check(function(handle, ctypes.byref(block), *arguments))
        if status == _library.OK:
            end = self._count + block.count
            self._number[self._count : end] = numpy.arange(block.first, block.first + block.count)
            self._count = end
            self.overflowed += block.overflowed
        return status

    def double(self) -> None:
        """Makes room for as many records again."""
        self._resize(2 * len(self._number))

    def finish(self) -> dict[str, Any]:
        """The arrays by their attributes of `Records`, without the room that is left over."""
        if self.room:
            self._resize(self._count)
        return {"number": self._number, **{_ARRAYS[member][0]: array for member, array in self._arrays.items()}}

    def _resize(self, rows: int) -> None:
        # Nothing else refers to the arrays, so the memory may move.
        for array in (self._number, *self._arrays.values()):
            array.resize((rows, *array.shape[1:]), refcheck=False)
