"""What the elements of a record are: a group for each glove, with regions of the hand where they are known."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, Optional, Union

import numpy
from numpy.typing import NDArray

# What selects a part of the elements of an array.
Selection = Union[int, slice, NDArray[numpy.intp]]


@dataclass(frozen=True, eq=False)
class Group:
    """The elements of a glove, or the auxiliary ones: `count` of them, the record's from `first` on."""

    label: str
    """`left`, `right`, `glove`, `glove1`, `glove2`, or `aux`."""
    module: str
    """The glove's name, as `KVXGL00017`; empty if it is unknown."""
    first: int
    count: int
    regions: dict[str, NDArray[numpy.intp]] = field(default_factory=dict, repr=False)
    """For each region of the hand the numbers of its elements in this group; empty if they are unknown."""
    positions: Optional[NDArray[numpy.float64]] = field(default=None, repr=False)
    """Of each element x, y and z in mm, if they are known."""

    @property
    def is_glove(self) -> bool:
        """Whether this is not the group of auxiliary elements."""
        return self.label != "aux"


@dataclass(frozen=True, eq=False)
class Layout:
    """What the elements of a record are."""

    elements: int
    """In a record."""
    groups: tuple[Group, ...]
    columns: tuple[str, ...] = field(repr=False)
    """The name of each element, as `left_thumb_03`, or `left_38` where regions are unknown."""

    @property
    def gloves(self) -> tuple[str, ...]:
        """The labels of the gloves, in the order of `frame`, `ticks` and `sampled_ms`."""
        return tuple(group.label for group in self.groups if group.is_glove)

    def __getitem__(self, label: str) -> Group:
        for group in self.groups:
            if group.label == label:
                return group
        raise KeyError(f"there is no group {label!r}; there are: {', '.join(group.label for group in self.groups)}")

    def select(self, name: str) -> Selection:
        """The elements of a group (`left`), of a region (`left_thumb`), or one of them (`left_thumb_03`)."""
        for group in self.groups:
            if name == group.label:
                return slice(group.first, group.first + group.count)
            label, _, region = name.partition("_")
            if label == group.label and region in group.regions:
                return group.first + group.regions[region]
        if name in self.columns:
            return self.columns.index(name)
        raise KeyError(
            f"there are no elements {name!r}; `layout.groups` has the groups and regions, `layout.columns` all names"
        )


def read_layout(metadata: dict[str, Any], elements: int) -> Layout:
    """The layout in the metadata of gloves or of a recording, which has this number of elements."""
    modules = {glove.get("label"): glove.get("module") for glove in metadata.get("gloves") or []}
    groups: list[Group] = []
    for group in metadata.get("groups") or []:
        label, count = group["label"], group["count"]
        regions, positions = _read_hand(metadata.get("layout") or {}, label, count)
        groups.append(Group(label, modules.get(label) or "", group["first"], count, regions, positions))
    columns = metadata.get("columns") or [f"{group.label}_{i}" for group in groups for i in range(group.count)]
    return Layout(elements, tuple(groups), tuple(columns))


def _read_hand(
    layout: dict[str, Any], label: str, count: int
) -> tuple[dict[str, NDArray[numpy.intp]], Optional[NDArray[numpy.float64]]]:
    """Regions and positions of a glove. One of unknown side is taken for a left one; a hand that the layout does
    not have is the mirror image of the other."""
    side = "right" if label == "right" else "left"
    other = "left" if side == "right" else "right"
    hand = layout.get(side) or layout.get(other)
    if not hand or label == "aux":
        return {}, None
    regions = {region["name"]: _read_numbers(region["elements"]) for region in hand["regions"]}
    if any("positions" not in region for region in hand["regions"]):
        return regions, None
    positions = numpy.full((count, 3), numpy.nan)
    for region in hand["regions"]:
        for element, (x, y, *z) in zip(regions[region["name"]], region["positions"]):
            positions[element] = (x if layout.get(side) else -x, y, z[0] if z else 0)
    return regions, positions


def _read_numbers(entries: list[Union[int, str]]) -> NDArray[numpy.intp]:
    """Numbers and ranges of them, upwards "0-14" or downwards "14-0"."""
    numbers: list[int] = []
    for entry in entries:
        first, _, last = str(entry).partition("-")
        begin, end = int(first), int(last or first)
        step = 1 if begin <= end else -1
        numbers.extend(range(begin, end + step, step))
    return numpy.array(numbers, dtype=numpy.intp)
