"""How an image is cut into tiles."""

from __future__ import annotations

import math
import re
from dataclasses import dataclass
from typing import Optional, Sequence, Tuple, Union

import numpy as np

from ..footprints import Pairs

Shape = Tuple[int, ...]
Box = Tuple[slice, ...]
Size = Union[int, str]

_UNITS = {
    "": 1,
    "k": 10**3,
    "ki": 2**10,
    "m": 10**6,
    "mi": 2**20,
    "g": 10**9,
    "gi": 2**30,
    "t": 10**12,
    "ti": 2**40,
}


@dataclass(frozen=True)
class Plan:
    """Tiles of an image: the shape of all but the last ones, the bytes that one needs at a time, the voxels that are
    computed for each voxel of the result, and how many tiles there are."""

    tile: Shape
    working_set: int
    overhead: float
    count: int


def parse_size(size: Size) -> int:
    """A number of bytes, given as one or as a text such as "512MiB"."""
    if isinstance(size, str):
        match = re.fullmatch(r"\s*(\d+(?:\.\d*)?)\s*([kmgt]?i?)b?\s*", size.lower())
        if not match or match[2] == "i":
            raise ValueError(f'{size!r} is no size in bytes; one is 1000000 or "512MiB"')
        return int(float(match[1]) * _UNITS[match[2]])
    if isinstance(size, bool) or not isinstance(size, (int, np.integer)):
        raise TypeError(f"a size in bytes is an int or a text, not {type(size).__name__}")
    return int(size)


def _get_windows(size: int, tile: int, margins: Tuple[int, int]) -> Tuple[int, int]:
    """Along one axis: the positions of all windows together, and those of the largest one."""
    starts = np.arange(0, size, tile, dtype=np.int64)
    stops = np.minimum(starts + tile, size)
    lengths = np.minimum(stops + margins[1], size) - np.maximum(starts - margins[0], 0)
    return int(lengths.sum()), int(lengths.max())


def make_plan(shape: Shape, chunks: Shape, margins: Pairs, itemsize: float, tile: Shape, images: float = 3) -> Plan:
    """The plan with this tile. Whole chunks are coded one at a time: they count once more, and so does a result."""
    windows = [_get_windows(*one) for one in zip(shape, tile, margins)]
    computed = math.prod(total for total, _ in windows) / math.prod(shape)
    largest = math.prod(most for _, most in windows)
    working_set = (images * largest + 2 * math.prod(chunks)) * itemsize
    count = math.prod(-(-size // one) for size, one in zip(shape, tile))
    return Plan(tile, math.ceil(working_set), computed, count)


def plan(
    shape: Sequence[int], chunks: Sequence[int], margins: Pairs, itemsize: float, memory: Size, *, images: float = 3,
    least: int = 1,
) -> Plan:  # fmt: skip
    """The tiles, of whole chunks, with which as little as possible is computed twice in this memory.

    `margins` are those of `qorn.margins()`, `itemsize` the bytes of a voxel, `memory` bytes or a text. A tile needs
    `images` times the voxels of its window, which is the tile with its margins, and two chunks that are coded. There
    are at least `least` tiles if there are as many chunks. MemoryError: one chunk with its margins needs more.

    >>> tiled = plan((512, 2048, 2048), (64, 64, 64), ((5, 5), (5, 5), (5, 5)), 1, "64MiB")
    >>> tiled.tile, tiled.count
    ((256, 256, 256), 128)
    """
    sizes, cells = check_shape(shape, "shape"), check_shape(chunks, "chunks")
    if not len(sizes) == len(cells) == len(margins):
        raise ValueError(f"shape, chunks and margins have {len(sizes)}, {len(cells)} and {len(margins)} axes")
    limit = parse_size(memory)
    cells = tuple(min(one, size) for one, size in zip(cells, sizes))
    best = make_plan(sizes, cells, margins, itemsize, cells, images)
    if best.working_set > limit:
        raise MemoryError(
            f"a tile of one chunk {cells} with its margins {tuple(margins)} needs {best.working_set} bytes, and "
            f"memory has {limit}; allow more memory or smaller chunks"
        )
    while True:
        grown: Optional[Plan] = None
        for axis in reversed(range(len(sizes))):
            if best.tile[axis] >= sizes[axis]:
                continue
            longer = min(best.tile[axis] + cells[axis], sizes[axis])
            tile = (*best.tile[:axis], longer, *best.tile[axis + 1 :])
            one = make_plan(sizes, cells, margins, itemsize, tile, images)
            if one.working_set > limit or one.count < least:
                continue
            if grown is None or one.overhead < grown.overhead:
                grown = one
        if grown is None:
            return best
        best = grown


def check_shape(shape: Sequence[int], name: str) -> Shape:
    """As a tuple of sizes, none of which is 0."""
    sizes = tuple(int(one) for one in shape)
    if not sizes or any(one < 1 for one in sizes):
        raise ValueError(f"{name}={sizes}: each size is at least 1")
    return sizes


def get_counts(shape: Shape, tile: Shape) -> Shape:
    """The number of tiles along each axis."""
    return tuple(-(-size // one) for size, one in zip(shape, tile))


def get_core(shape: Shape, tile: Shape, index: int) -> Box:
    """The part of the image that a tile is."""
    place = np.unravel_index(index, get_counts(shape, tile))
    return tuple(slice(int(at) * one, min((int(at) + 1) * one, size)) for at, one, size in zip(place, tile, shape))


def get_window(shape: Shape, margins: Pairs, core: Box) -> Box:
    """The part with its margins, as far as the image has them."""
    return tuple(
        slice(max(one.start - before, 0), min(one.stop + after, size))
        for one, (before, after), size in zip(core, margins, shape)
    )


def get_shape(box: Box) -> Shape:
    return tuple(one.stop - one.start for one in box)


def move(box: Box, origin: Box) -> Box:
    """The box relative to the start of another."""
    return tuple(slice(one.start - at.start, one.stop - at.start) for one, at in zip(box, origin))


def split(box: Box, chunks: Shape, most: int) -> list[Box]:
    """The box in parts of at most so many voxels, or of one chunk, cut between chunks."""
    if math.prod(get_shape(box)) > most:
        for axis, (one, chunk) in enumerate(zip(box, chunks)):
            first, last = one.start // chunk, (one.stop - 1) // chunk
            if first < last:
                middle = (first + last + 1) // 2 * chunk
                ends = slice(one.start, middle), slice(middle, one.stop)
                return [part for end in ends for part in split((*box[:axis], end, *box[axis + 1 :]), chunks, most)]
    return [box]
