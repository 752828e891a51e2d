"""Linear filters."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Optional, Sequence

import numpy as np

from . import _call
from ._arrays import BOOL, check_image, get_components, prepare_input
from ._call import DESCRIPTIONS, Progress
from .morphology import Token

if TYPE_CHECKING:
    from numpy.typing import ArrayLike, DTypeLike, NDArray


def _make_kernel(weights: ArrayLike, origin: Optional[Sequence[int]], is_volume: bool) -> tuple[str, dict[str, Any]]:
    taps = np.ascontiguousarray(weights, np.float64)
    place = None if origin is None else tuple(origin)
    if taps.ndim not in (2, 3):
        raise ValueError(f"weights have 2 or 3 axes, not {taps.ndim}")
    if place is not None and len(place) != taps.ndim:
        raise ValueError(f"origin has {len(place)} numbers, and the weights {taps.ndim} axes")
    if taps.size == 0:
        raise ValueError("the weights are empty")
    if not is_volume:
        if taps.ndim == 3:
            raise ValueError("the weights have 3 axes, and the image none named Z")
        return "FiniteImpulseResponseFilter2D", {"kernel": (taps, place)}
    if taps.ndim == 2:  # one plane of weights has the same result in each plane
        taps = taps[np.newaxis]
        place = None if place is None else (0, *place)
    return "FiniteImpulseResponseFilter3D", {"kernel": (taps, place)}


def correlate(
    image: NDArray[Any], weights: ArrayLike, out: Optional[NDArray[Any]] = None, *,
    origin: Optional[Sequence[int]] = None, dtype: DTypeLike = None, axes: Optional[str] = None,
    threads: Optional[int] = None, max_memory: Optional[int] = None, progress: Progress = None,
    cancel: Token = None, copy: Optional[bool] = None,
) -> NDArray[Any]:  # fmt: skip
    """The sum of the voxels around each voxel, each times its weight. The weights are not turned around.

    The image is mirrored at its edges without repeating the edge voxel, as scipy's mode "mirror" does. Results are
    rounded to the nearest integer, halves to even, and saturated. Weights of two axes act on each plane.

    `origin` is the position in `weights` that lies on the voxel itself, `shape // 2` unless given. `dtype` is the
    type of the result: that of `out`, or that of the image, unless given; for bool images one has to be given. Sums
    are computed in float32 for results of at most 16 bits and float32, else in float64. Other parameters as in
    `dilation()`.

    >>> correlate(np.uint8([[0, 0, 9, 0, 0]]), [[1 / 3, 1 / 3, 1 / 3]])
    array([[0, 3, 3, 3, 0]], dtype=uint8)
    >>> correlate(np.uint8([[1, 2, 4]]), [[-1, 0, 1]], dtype=np.int16)
    array([[0, 3, 0]], dtype=int16)
    """
    check_image(image)
    components = get_components(axes, image.ndim)
    name, properties = _make_kernel(weights, origin, components[2] >= 0)
    if dtype is None and out is None and image.dtype == BOOL:
        raise TypeError("a bool image has no sums of its own type: name one by dtype=")
    result_dtype = np.dtype(dtype) if dtype is not None else image.dtype.newbyteorder("=") if out is None else None
    if result_dtype == BOOL or (out is not None and getattr(out, "dtype", None) == BOOL):
        raise TypeError("sums aren't bool")
    given = prepare_input(image, components, copy)
    if out is None:
        check_image(np.empty(0, result_dtype))
    result = _call.prepare_output(out, image, result_dtype, components)
    _call.run(name, (given, result), components, properties, threads, max_memory, progress, cancel)
    return result


def _describe(weights: ArrayLike, *, origin: Optional[Sequence[int]] = None) -> tuple[str, dict[str, Any]]:
    return _make_kernel(weights, origin, True)


DESCRIPTIONS[correlate] = _describe
