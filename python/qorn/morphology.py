"""Dilation, erosion and what is composed of them."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Optional, TypeVar, overload

import numpy as np

from . import _call, _core
from ._arrays import BOOL, check_image, get_components, prepare_input
from ._call import DESCRIPTIONS, Progress
from .footprints import FootprintLike, get_element

if TYPE_CHECKING:
    from numpy.typing import NDArray

Voxel = TypeVar(
    "Voxel", np.bool_, np.uint8, np.uint16, np.uint32, np.int8, np.int16, np.int32, np.float32, np.float64
)
Unsigned = TypeVar("Unsigned", np.bool_, np.uint8, np.uint16, np.uint32, np.float32, np.float64)
Token = Optional[_core.CancelToken]


def _apply(
    name: str,
    image: Any,
    footprint: FootprintLike,
    out: Any,
    axes: Optional[str],
    threads: Optional[int],
    max_memory: Optional[int],
    progress: Progress,
    cancel: Token,
    copy: Optional[bool],
    **properties: Any,
) -> NDArray[Any]:
    check_image(image)
    components = get_components(axes, image.ndim)
    element = get_element(footprint)
    if element.ndim == 3 and components[2] < 0:
        raise ValueError("the footprint has 3 axes, and the image none named Z")
    given = prepare_input(image, components, copy)
    result = _call.prepare_output(out, image, _call.get_output_dtype(name, given.dtype), components)
    properties["element"] = element
    _call.run(name, (given, result), components, properties, threads, max_memory, progress, cancel)
    if given.dtype == BOOL and element.text.startswith(("box", "mask")):
        # Where such a footprint covers no voxel of the image, the erosion is 255, and a difference from that is odd
        # for True.
        bit = {"logicalOperator": "and", "value": 1}
        _call.run("LogicalOperationWithValue", (result, result), components, bit, threads, max_memory, None, cancel)
    return result


def dilation(
    image: NDArray[Voxel], footprint: FootprintLike, out: Optional[NDArray[Voxel]] = None, *,
    axes: Optional[str] = None, threads: Optional[int] = None, max_memory: Optional[int] = None,
    progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
) -> NDArray[Voxel]:  # fmt: skip
    """The largest voxel that the footprint covers, wherever it is put.

    Parameters
    ----------
    image : ndarray of bool, uint8, uint16, uint32, int8, int16, int32, float32 or float64
        2 to 5 axes, with any strides. It is read where it lies if the voxels of each row are adjacent.
    footprint : Footprint or array
        What isn't 0 in an array is covered; `shape // 2` lies on the voxel itself. A footprint of two axes acts on
        each plane.
    out : ndarray, optional
        Where the result goes. `out=image` works in place.
    axes : str, optional
        Names of the axes, "YX", "ZYX", "TZYX" or "CTZYX" unless given. No array is moved for it.
    threads : int, optional
        How many threads work; see `set_num_threads()`.
    max_memory : int, optional
        Bytes of temporary images; what exceeds them is on disk.
    progress : bool or callable, optional
        Called with what is done, from 0 to 1, at most ten times a second, on this thread. What it raises ends the
        call. True draws a line on standard error.
    cancel : CancelToken, optional
        Its `cancel()`, from another thread, ends the call with `Cancelled`.
    copy : bool, optional
        False refuses an image that can't be read as it lies, True always copies.

    Returns
    -------
    ndarray
        `out`, or a new array like the image.

    Raises
    ------
    TypeError, ValueError
        The arguments; `out` is unchanged.
    Cancelled, KeyboardInterrupt
        `out` holds what was written so far.
    MemoryError, OSError, Error

    Notes
    -----
    Voxels beyond the edge are ignored. NaN: docs/differences.md.

    Examples
    --------
    >>> dilation(np.uint8([[0, 0, 5, 0, 0]]), line(3, 0))
    array([[0, 5, 5, 5, 0]], dtype=uint8)
    """
    return _apply("Dilate", image, footprint, out, axes, threads, max_memory, progress, cancel, copy)


def erosion(
    image: NDArray[Voxel], footprint: FootprintLike, out: Optional[NDArray[Voxel]] = None, *,
    axes: Optional[str] = None, threads: Optional[int] = None, max_memory: Optional[int] = None,
    progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
) -> NDArray[Voxel]:  # fmt: skip
    """The smallest voxel that the footprint covers. Parameters as in `dilation()`.

    >>> erosion(np.uint8([[9, 9, 5, 9, 9]]), line(3, 0))
    array([[9, 5, 5, 5, 9]], dtype=uint8)
    """
    return _apply("Erode", image, footprint, out, axes, threads, max_memory, progress, cancel, copy)


def opening(
    image: NDArray[Voxel], footprint: FootprintLike, out: Optional[NDArray[Voxel]] = None, *,
    axes: Optional[str] = None, threads: Optional[int] = None, max_memory: Optional[int] = None,
    progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
) -> NDArray[Voxel]:  # fmt: skip
    """Erosion, then dilation with the mirrored footprint: removes what the footprint doesn't fit into.

    The result is never above the image, and a second opening changes nothing. Only infinities next to the edge may
    break that, see docs/differences.md. Parameters as in `dilation()`.

    >>> opening(np.uint8([[0, 9, 0, 9, 9, 9]]), line(3, 0))
    array([[0, 0, 0, 9, 9, 9]], dtype=uint8)
    """
    return _apply("Open", image, footprint, out, axes, threads, max_memory, progress, cancel, copy)


def closing(
    image: NDArray[Voxel], footprint: FootprintLike, out: Optional[NDArray[Voxel]] = None, *,
    axes: Optional[str] = None, threads: Optional[int] = None, max_memory: Optional[int] = None,
    progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
) -> NDArray[Voxel]:  # fmt: skip
    """Dilation, then erosion with the mirrored footprint: fills what the footprint doesn't fit into.

    The result is never below the image, and a second closing changes nothing. Parameters as in `dilation()`.

    >>> closing(np.uint8([[9, 0, 9, 0, 0, 0]]), line(3, 0))
    array([[9, 9, 9, 0, 0, 0]], dtype=uint8)
    """
    return _apply("Close", image, footprint, out, axes, threads, max_memory, progress, cancel, copy)


@overload
def white_tophat(
    image: NDArray[Unsigned], footprint: FootprintLike, out: Optional[NDArray[Unsigned]] = ..., *,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[Unsigned]:  # fmt: skip
    ...


@overload
def white_tophat(  # type: ignore[misc]  # no array has both types
    image: NDArray[np.int8], footprint: FootprintLike, out: Optional[NDArray[np.uint8]] = ..., *,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[np.uint8]:  # fmt: skip
    ...


@overload
def white_tophat(  # type: ignore[misc]  # no array has both types
    image: NDArray[np.int16], footprint: FootprintLike, out: Optional[NDArray[np.uint16]] = ..., *,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[np.uint16]:  # fmt: skip
    ...


@overload
def white_tophat(
    image: NDArray[np.int32], footprint: FootprintLike, out: Optional[NDArray[np.uint32]] = ..., *,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[np.uint32]:  # fmt: skip
    ...


def white_tophat(
    image: Any, footprint: FootprintLike, out: Any = None, *,
    axes: Optional[str] = None, threads: Optional[int] = None, max_memory: Optional[int] = None,
    progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
) -> NDArray[Any]:  # fmt: skip
    """The image less its opening: what is bright and smaller than the footprint.

    Signed integers give the unsigned type of the same width, which holds every difference. Parameters as in
    `dilation()`.

    >>> white_tophat(np.int8([[0, 9, 0, 9, 9, 9]]), line(3, 0))
    array([[0, 9, 0, 0, 0, 0]], dtype=uint8)
    """
    return _apply("WhiteTopHat", image, footprint, out, axes, threads, max_memory, progress, cancel, copy)


@overload
def black_tophat(
    image: NDArray[Unsigned], footprint: FootprintLike, out: Optional[NDArray[Unsigned]] = ..., *,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[Unsigned]:  # fmt: skip
    ...


@overload
def black_tophat(  # type: ignore[misc]  # no array has both types
    image: NDArray[np.int8], footprint: FootprintLike, out: Optional[NDArray[np.uint8]] = ..., *,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[np.uint8]:  # fmt: skip
    ...


@overload
def black_tophat(  # type: ignore[misc]  # no array has both types
    image: NDArray[np.int16], footprint: FootprintLike, out: Optional[NDArray[np.uint16]] = ..., *,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[np.uint16]:  # fmt: skip
    ...


@overload
def black_tophat(
    image: NDArray[np.int32], footprint: FootprintLike, out: Optional[NDArray[np.uint32]] = ..., *,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[np.uint32]:  # fmt: skip
    ...


def black_tophat(
    image: Any, footprint: FootprintLike, out: Any = None, *,
    axes: Optional[str] = None, threads: Optional[int] = None, max_memory: Optional[int] = None,
    progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
) -> NDArray[Any]:  # fmt: skip
    """The closing less the image: what is dark and smaller than the footprint. As `white_tophat()`.

    >>> black_tophat(np.uint8([[9, 0, 9, 0, 0, 0]]), line(3, 0))
    array([[0, 9, 0, 0, 0, 0]], dtype=uint8)
    """
    return _apply("BlackTopHat", image, footprint, out, axes, threads, max_memory, progress, cancel, copy)


@overload
def gradient(
    image: NDArray[Unsigned], footprint: FootprintLike, out: Optional[NDArray[Unsigned]] = ..., *, kind: str = ...,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[Unsigned]:  # fmt: skip
    ...


@overload
def gradient(  # type: ignore[misc]  # no array has both types
    image: NDArray[np.int8], footprint: FootprintLike, out: Optional[NDArray[np.uint8]] = ..., *, kind: str = ...,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[np.uint8]:  # fmt: skip
    ...


@overload
def gradient(  # type: ignore[misc]  # no array has both types
    image: NDArray[np.int16], footprint: FootprintLike, out: Optional[NDArray[np.uint16]] = ..., *, kind: str = ...,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[np.uint16]:  # fmt: skip
    ...


@overload
def gradient(
    image: NDArray[np.int32], footprint: FootprintLike, out: Optional[NDArray[np.uint32]] = ..., *, kind: str = ...,
    axes: Optional[str] = ..., threads: Optional[int] = ..., max_memory: Optional[int] = ...,
    progress: Progress = ..., cancel: Token = ..., copy: Optional[bool] = ...,
) -> NDArray[np.uint32]:  # fmt: skip
    ...


def gradient(
    image: Any, footprint: FootprintLike, out: Any = None, *, kind: str = "full",
    axes: Optional[str] = None, threads: Optional[int] = None, max_memory: Optional[int] = None,
    progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
) -> NDArray[Any]:  # fmt: skip
    """The dilation less the erosion: how much the image changes under the footprint.

    `kind`: "full", or "outer" for the dilation less the image, or "inner" for the image less the erosion. Types as in
    `white_tophat()`, other parameters as in `dilation()`.

    >>> gradient(np.uint8([[1, 1, 5, 5]]), line(3, 0))
    array([[0, 4, 4, 0]], dtype=uint8)
    >>> gradient(np.uint8([[1, 1, 5, 5]]), line(3, 0), kind="outer")
    array([[0, 4, 0, 0]], dtype=uint8)
    """
    return _apply(
        "Gradient", image, footprint, out, axes, threads, max_memory, progress, cancel, copy, gradientMode=kind
    )


def _describe(name: str) -> _call.Description:
    return lambda footprint: (name, {"element": get_element(footprint)})


def _describe_gradient(footprint: FootprintLike, *, kind: str = "full") -> tuple[str, dict[str, Any]]:
    return "Gradient", {"element": get_element(footprint), "gradientMode": kind}


DESCRIPTIONS.update(
    {
        dilation: _describe("Dilate"),
        erosion: _describe("Erode"),
        opening: _describe("Open"),
        closing: _describe("Close"),
        white_tophat: _describe("WhiteTopHat"),
        black_tophat: _describe("BlackTopHat"),
        gradient: _describe_gradient,
    }
)
