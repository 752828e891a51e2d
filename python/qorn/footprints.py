"""Footprints: which neighbours a dilation or an erosion reads."""

from __future__ import annotations

import operator
from typing import TYPE_CHECKING, Any, Optional, Sequence, Tuple, Union

import numpy as np

from . import _core

if TYPE_CHECKING:
    from numpy.typing import NDArray

Pairs = Tuple[Tuple[int, int], ...]
_MAX_DRAWN_COLUMNS = 110
_MAX_DRAWN_ROWS = 40


class Footprint:
    """A set of voxels relative to the one that is computed. Never changes; can be hashed and pickled.

    Made by `disk()`, `ball()` and so on, or of the text that `repr()` and `text` show.

    >>> Footprint("disk(1)") == disk(1)
    True
    >>> np.asarray(line(3, 0)).astype(int)
    array([[1, 1, 1]])
    """

    __slots__ = ("_element",)
    _element: _core.Element

    def __init__(self, text: str) -> None:
        object.__setattr__(self, "_element", _core.Element(text))

    @classmethod
    def _of(cls, element: _core.Element) -> Footprint:
        footprint = object.__new__(cls)
        object.__setattr__(footprint, "_element", element)
        return footprint

    def __setattr__(self, name: str, value: object) -> None:
        raise AttributeError("a footprint never changes")

    @property
    def text(self) -> str:
        """The text by which the program `qorn` takes it as well."""
        return self._element.text

    @property
    def ndim(self) -> int:
        """2 for one that acts on each plane, 3 for one in a volume."""
        return self._element.ndim

    @property
    def margins(self) -> Pairs:
        """How far it reaches before and after the voxel, for each of its axes."""
        return self._element.margins[3 - self.ndim :]

    @property
    def mirrored(self) -> Footprint:
        """The footprint whose offsets are the negatives of this one's."""
        return Footprint._of(self._element.mirrored)

    def offsets(self) -> NDArray[np.int64]:
        """The voxels: a row for each, in the order of the axes.

        >>> line(2, 0).offsets()
        array([[0, 0],
               [0, 1]])
        """
        return np.frombuffer(self._element.offsets(), np.int64).reshape(-1, 3)[:, 3 - self.ndim :].copy()

    def mask(self) -> NDArray[np.bool_]:
        """An array with the voxel itself in the middle, at `shape // 2`; scipy takes it as a footprint.

        >>> disk(1).mask().astype(int)
        array([[0, 1, 0],
               [1, 1, 1],
               [0, 1, 0]])
        """
        return make_mask(self.offsets())

    def __array__(self, dtype: Any = None) -> NDArray[Any]:
        return self.mask() if dtype is None else self.mask().astype(dtype)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Footprint):
            return NotImplemented
        return self._element.equals(other._element)

    def __hash__(self) -> int:
        return hash(self._element.margins)

    def __reduce__(self) -> Any:
        return Footprint, (self.text,)

    def __repr__(self) -> str:
        return _draw(self)


def make_mask(offsets: NDArray[np.int64]) -> NDArray[np.bool_]:
    """The array of offsets, with the origin in its middle."""
    reach = np.abs(offsets).max(axis=0, initial=0)
    array = np.zeros(2 * reach + 1, bool)
    array[tuple((offsets + reach).T)] = True
    return array


def _draw(footprint: Footprint) -> str:
    text = footprint.text
    if len(text) > 100:
        text = text[:100] + "..."
    try:
        offsets = footprint.offsets()
    except ValueError:  # more voxels than are ever listed
        return f'Footprint("{text}")'
    head = f'Footprint("{text}"), {len(offsets)} voxel{"s" * (len(offsets) != 1)}'
    reach = np.abs(offsets).max(axis=0, initial=0)
    plans = 1 if footprint.ndim == 2 else 2 * int(reach[0]) + 1
    rows, columns = (2 * int(one) + 1 for one in reach[-2:])
    if plans * (columns + 2) > _MAX_DRAWN_COLUMNS or rows > _MAX_DRAWN_ROWS:
        return head
    mask = footprint.mask().reshape(plans, rows, columns)
    lines = ["  ".join("".join("#" if voxel else "." for voxel in mask[plan, row]) for plan in range(plans))
             for row in range(rows)]  # fmt: skip
    return "\n".join([head, *lines])


def _number(value: float) -> str:
    """A number as texts of footprints have them."""
    return repr(float(value))


def _integer(value: int, name: str) -> str:
    try:
        return str(operator.index(value))
    except TypeError:
        raise TypeError(f"{name} is an int, not {type(value).__name__}") from None


def connectivity(neighbours: int, iterations: int = 1) -> Footprint:
    """The voxel and its 4 or 8 neighbours in a plane, or 6, 18 or 26 in a volume, so many times.

    >>> connectivity(4)
    Footprint("connectivity(4, 1)"), 5 voxels
    .#.
    ###
    .#.
    """
    return Footprint(f"connectivity({_integer(neighbours, 'neighbours')}, {_integer(iterations, 'iterations')})")


def _round(name: str, radius: int, fast: bool) -> Footprint:
    return Footprint(f"{name}({_integer(radius, 'radius')}{', fast' if fast else ''})")


def disk(radius: int, *, fast: bool = False) -> Footprint:
    """The pixels within the radius, as in scikit-image. `fast`: an octagon, in time proportional to the radius.

    >>> disk(2)
    Footprint("disk(2)"), 13 voxels
    ..#..
    .###.
    #####
    .###.
    ..#..
    """
    return _round("disk", radius, fast)


def ball(radius: int, *, fast: bool = False) -> Footprint:
    """The voxels within the radius. `fast`: a polyhedron, in time proportional to the radius.

    >>> ball(1)
    Footprint("ball(1)"), 7 voxels
    ...  .#.  ...
    .#.  ###  .#.
    ...  .#.  ...
    """
    return _round("ball", radius, fast)


def line(length: int, angle: float) -> Footprint:
    """A line of `length` pixels; the angle in degrees is counter-clockwise as displayed.

    >>> line(3, 45)
    Footprint("line(3, 45)"), 3 voxels
    ..#
    .#.
    #..
    """
    return Footprint(f"line({_integer(length, 'length')}, {_number(angle)})")


def line3d(length: int, azimuth: float, elevation: float) -> Footprint:
    """A line in a volume; the elevation in degrees is towards higher planes.

    >>> line3d(3, 0, 90).offsets()
    array([[-1,  0,  0],
           [ 0,  0,  0],
           [ 1,  0,  0]])
    """
    return Footprint(f"line3d({_integer(length, 'length')}, {_number(azimuth)}, {_number(elevation)})")


def disk3d(radius: int, azimuth: float, elevation: float) -> Footprint:
    """A flat disk in a volume; the angles in degrees are those of its normal.

    >>> len(disk3d(2, 0, 90).offsets())
    13
    """
    return Footprint(f"disk3d({_integer(radius, 'radius')}, {_number(azimuth)}, {_number(elevation)})")


def box(size: Sequence[int], origin: Optional[Sequence[int]] = None) -> Footprint:
    """A rectangle or cuboid. The origin is the position on the voxel itself, `size // 2` unless given.

    >>> box((2, 3))
    Footprint("box(2, 3)"), 6 voxels
    ###
    ###
    ...
    """
    numbers = list(size)
    if origin is not None:
        if len(origin) != len(numbers):
            raise ValueError(f"origin has {len(origin)} numbers, and size {len(numbers)}")
        numbers += origin
    elif len(numbers) not in (2, 3):
        raise ValueError(f"a box has 2 or 3 sizes, not {len(numbers)}")
    return Footprint(f"box({', '.join(_integer(number, 'a size or an origin') for number in numbers)})")


def ellipse(radius: float, spacing: Tuple[float, float]) -> Footprint:
    """The pixels within the radius, where rows and columns lie `spacing` apart, in the same unit.

    >>> ellipse(2, (2, 1))
    Footprint("ellipse(2, 2, 1)"), 7 voxels
    ..#..
    #####
    ..#..
    """
    return Footprint(f"ellipse({', '.join(map(_number, (radius, *spacing)))})")


def ellipsoid(radius: float, spacing: Tuple[float, float, float]) -> Footprint:
    """The voxels within the radius, where planes, rows and columns lie `spacing` apart, in the same unit.

    >>> ellipsoid(3, (2.5, 1, 1)).margins
    ((1, 1), (3, 3), (3, 3))
    """
    return Footprint(f"ellipsoid({', '.join(map(_number, (radius, *spacing)))})")


def mask(array: Any, origin: Optional[Sequence[int]] = None) -> Footprint:
    """The voxels of an array of two or three axes that aren't 0. The origin is `shape // 2` unless given.

    >>> mask([[1, 1], [0, 1]])
    Footprint("mask(1 1; 0 1)"), 3 voxels
    ##.
    .#.
    ...
    """
    voxels = np.ascontiguousarray(np.asarray(array) != 0)
    if voxels.ndim not in (2, 3):
        raise ValueError(f"a mask has 2 or 3 axes, not {voxels.ndim}")
    place = [size // 2 for size in voxels.shape] if origin is None else [operator.index(one) for one in origin]
    return Footprint._of(_core.Element.from_mask(voxels, place))


FootprintLike = Union[Footprint, "NDArray[Any]", Sequence[Any]]


def get_element(footprint: FootprintLike) -> _core.Element:
    """What the core takes for a footprint or an array."""
    return footprint._element if isinstance(footprint, Footprint) else mask(footprint)._element
