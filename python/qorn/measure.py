"""Measures of images."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, NamedTuple, Optional

import numpy as np

from . import _call
from ._arrays import check_image, get_axes, get_components, prepare_input
from ._call import DESCRIPTIONS, Progress
from .morphology import Token

if TYPE_CHECKING:
    from numpy.typing import NDArray

# The axes of results in the core, and what they are called there.
_DIMENSIONS = {"Z": "plans", "T": "sequence", "C": "spectral"}


class Extrema(NamedTuple):
    """The smallest and the largest voxel: numbers, or arrays of them."""

    minimum: Any
    maximum: Any


def read_results(results: dict[str, tuple[tuple[int, int, int], bytes]]) -> dict[str, NDArray[np.float64]]:
    """The results of the core as arrays with the axes plans, sequence, spectral series."""
    return {name: np.frombuffer(values, np.float64).reshape(shape) for name, (shape, values) in results.items()}


def check_per(per: str, names: str) -> None:
    if not set(per) <= set(_DIMENSIONS) & set(names) or len(set(per)) != len(per):
        raise ValueError(f"per={per!r}: any of Z, T and C, once, that the image has; its axes are {names}")


def get_dimensions(per: str) -> str:
    """What the operator calls the axes."""
    return ",".join(_DIMENSIONS[letter] for letter in per) or "none"


def make_extrema(
    results: dict[str, NDArray[np.float64]], per: str, names: str, shape: tuple[int, ...], dtype: Any
) -> Extrema:
    """The results of the operator for an image with these axes, as `extrema()` returns them."""
    if np.any(results["minimum"] > results["maximum"]):
        raise ValueError("there is no number among the voxels")
    order = [list(_DIMENSIONS).index(letter) for letter in names if letter in per]
    others = [axis for axis in range(3) if axis not in order]
    counts = [shape[names.index(letter)] for letter in names if letter in per]
    low, high = (
        results[name].transpose(order + others).reshape(counts).astype(dtype) for name in ("minimum", "maximum")
    )
    return Extrema(low, high) if per else Extrema(low[()], high[()])


def extrema(
    image: NDArray[Any], per: str = "", *, axes: Optional[str] = None, threads: Optional[int] = None,
    progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
) -> Extrema:  # fmt: skip
    """The smallest and the largest voxel of an image, in its type.

    `per` names axes each of whose positions has extrema of its own, such as "Z" or "CZ"; results are then arrays with
    these axes, in the order of the image's. An image without voxels, or without numbers among them, is a ValueError.
    NaN: docs/differences.md. Other parameters as in `dilation()`.

    >>> extrema(np.uint8([[3, 7, 5]]))
    Extrema(minimum=3, maximum=7)
    >>> extrema(np.float32([[[1, 2]], [[3, 4]]]), per="Z").maximum
    array([2., 4.], dtype=float32)
    """
    check_image(image)
    names = get_axes(axes, image.ndim)
    components = get_components(axes, image.ndim)
    check_per(per, names)
    if image.size == 0:
        raise ValueError("an image without voxels has no extrema")
    given = prepare_input(image, components, copy)
    properties = {"analysisDimensions": get_dimensions(per)}
    found = _call.run("IntensityExtrema", (given,), components, properties, threads, None, progress, cancel)
    assert found is not None
    return make_extrema(read_results(found), per, names, image.shape, given.dtype)


def _describe(per: str = "") -> tuple[str, dict[str, Any]]:
    return "IntensityExtrema", {}


DESCRIPTIONS[extrema] = _describe
