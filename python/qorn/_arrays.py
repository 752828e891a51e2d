"""Arrays as the core takes them: axes by their names, and copies only where there must be one."""

from __future__ import annotations

from functools import lru_cache
from typing import Any, Optional, Tuple

import numpy as np

# For each dimension of the host's (columns, rows, plans, sequence, spectral series) the axis of an array, or -1.
Components = Tuple[int, int, int, int, int]

LETTERS = "XYZTC"
DEFAULT_AXES = {2: "YX", 3: "ZYX", 4: "TZYX", 5: "CTZYX"}
BOOL = np.dtype(bool)
DTYPES = {np.dtype(letter) for letter in "?BHIbhifd"}
NAMES = "bool, uint8, uint16, uint32, int8, int16, int32, float32 and float64"


@lru_cache(maxsize=None)
def get_axes(axes: Optional[str], ndim: int) -> str:
    """The names of the axes, checked."""
    if axes is None:
        if ndim not in DEFAULT_AXES:
            raise ValueError(f"an image has 2 to 5 axes, not {ndim}")
        return DEFAULT_AXES[ndim]
    if not isinstance(axes, str):
        raise TypeError('axes is a text such as "ZYX"')
    if len(axes) != ndim:
        raise ValueError(f"axes={axes!r} names {len(axes)} axes, and the image has {ndim}")
    if len(set(axes)) != ndim or not set("YX") <= set(axes) <= set(LETTERS):
        raise ValueError(f"axes={axes!r}: each axis is one of C, T, Z, Y, X, once, with Y and X among them")
    return axes


@lru_cache(maxsize=None)
def get_components(axes: Optional[str], ndim: int) -> Components:
    names = get_axes(axes, ndim)
    columns, rows, plans, sequence, spectral = (names.find(letter) for letter in LETTERS)
    return columns, rows, plans, sequence, spectral


def check_image(image: Any) -> None:
    """Raises TypeError for what is no array of an image's type."""
    if not isinstance(image, np.ndarray):
        kind = f"{type(image).__module__}.{type(image).__qualname__}"
        hint = "; qorn.dask has functions for these" if kind.startswith("dask") else ""
        raise TypeError(f"an image is a numpy.ndarray, not {kind}{hint}")
    if isinstance(image, np.ma.MaskedArray):
        raise TypeError("the mask of a masked array would be ignored; fill it first, for example by filled()")
    if image.dtype not in DTYPES and image.dtype.newbyteorder("=") not in DTYPES:
        raise TypeError(f"an image has the type {NAMES}, not {image.dtype}")


def has_adjacent_columns(array: np.ndarray[Any, Any], columns: int) -> bool:
    """Whether the voxels of each row lie one behind the other."""
    return array.strides[columns] == array.itemsize or array.shape[columns] == 1 or array.size == 0


def make_array(shape: tuple[int, ...], dtype: Any, columns: int, zero: bool = False) -> np.ndarray[Any, Any]:
    """A new array in C order, but for columns, which are last in memory."""
    make = np.zeros if zero else np.empty
    if columns == len(shape) - 1:
        return make(shape, dtype)
    packed = make(shape[:columns] + shape[columns + 1 :] + shape[columns : columns + 1], dtype)
    return np.moveaxis(packed, -1, columns)


def prepare_input(image: np.ndarray[Any, Any], components: Components, copy: Optional[bool]) -> np.ndarray[Any, Any]:
    """The image, or a copy where the core can't read it as it lies."""
    columns = components[0]
    if not copy:
        is_native = image.dtype.isnative
        if is_native and has_adjacent_columns(image, columns):
            return image
        if copy is not None:
            why = "the voxels of a row aren't adjacent" if is_native else "its bytes are swapped"
            raise ValueError(f"the image needs a copy, since {why}, and copy=False allows none")
    packed = make_array(image.shape, image.dtype.newbyteorder("="), columns)
    packed[...] = image
    return packed


def check_output(out: Any, shape: tuple[int, ...], dtype: Any, columns: int) -> None:
    """Raises ValueError for an array that can't take a result; None for `dtype` allows any."""
    if not isinstance(out, np.ndarray) or isinstance(out, np.ma.MaskedArray):
        raise TypeError(f"out is a numpy.ndarray, not {type(out).__name__}")
    if out.shape != shape:
        raise ValueError(f"out has the shape {out.shape}, and the result {shape}")
    if dtype is not None and out.dtype != dtype:
        raise ValueError(f"out has the type {out.dtype.str}, and the result {np.dtype(dtype).str}")
    if out.dtype not in DTYPES:
        raise ValueError(f"out has the type {out.dtype.str}; an image has {NAMES}, in native byte order")
    if not out.flags.writeable:
        raise ValueError("out is read-only")
    if not has_adjacent_columns(out, columns):
        raise ValueError("the voxels of a row of out aren't adjacent in memory")
