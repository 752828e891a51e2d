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
    if not set(per) <= set(_DIMENSIONS) & set(names) or len(set(per)) != len(per):
        raise ValueError(f"per={per!r}: any of Z, T and C, once, that the image has; its axes are {names}")
    if image.size == 0:
        raise ValueError("an image without voxels has no extrema")
    given = prepare_input(image, components, copy)
    asked = ",".join(_DIMENSIONS[letter] for letter in per) or "none"
    found = _call.run(
        "IntensityExtrema", (given,), components, {"analysisDimensions": asked}, threads, None, progress, cancel
    )
    assert found is not None
    results = read_results(found)
    if np.any(results["minimum"] > results["maximum"]):
        raise ValueError("there is no number among the voxels")
    order = [list(_DIMENSIONS).index(letter) for letter in names if letter in per]
    others = [axis for axis in range(3) if axis not in order]
    counts = [image.shape[names.index(letter)] for letter in names if letter in per]
    low, high = (
        results[name].transpose(order + others).reshape(counts).astype(given.dtype) for name in ("minimum", "maximum")
    )
    return Extrema(low, high) if per else Extrema(low[()], high[()])


def _describe(per: str = "") -> tuple[str, dict[str, Any]]:
    return "IntensityExtrema", {}


DESCRIPTIONS[extrema] = _describe
