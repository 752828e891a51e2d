"""Operations on the bits of voxels."""

from __future__ import annotations

import operator
from typing import TYPE_CHECKING, Any, Optional, Union

import numpy as np

from . import _call
from ._arrays import BOOL, check_image, get_components, prepare_input
from ._call import DESCRIPTIONS, Progress
from .morphology import Token, Voxel

if TYPE_CHECKING:
    from numpy.typing import NDArray

# Of a bool, which is the byte 0 or 1: the operator whose result is turned around afterwards.
_TURNED = {"nand": "and", "nor": "or", "nxor": "xor"}


def _get_value(value: Any, dtype: Any) -> int:
    """The bits of a number of the image's type."""
    number = int(value) if isinstance(value, np.bool_) else operator.index(value)
    if dtype == BOOL:
        low, high = 0, 1
    else:
        low, high = int(np.iinfo(dtype).min), int(np.iinfo(dtype).max)
    if not -(2**31) <= number < 2**32:
        raise OverflowError(f"{number} has more than 32 bits")
    if not low <= number <= high:
        raise ValueError(f"{number} is no {dtype.name}")
    return number % 2**32


def logical(
    a: NDArray[Voxel], b: Union[NDArray[Voxel], int], op: str = "and", out: Optional[NDArray[Voxel]] = None, *,
    axes: Optional[str] = None, threads: Optional[int] = None, max_memory: Optional[int] = None,
    progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
) -> NDArray[Voxel]:  # fmt: skip
    """Combines the bits of two images, or of an image and a number.

    `op` is "and", "or", "xor", "nand", "nor", "nxor" or "andnot", which is a & ~b. Images of integers or bool, of
    one type and shape. Other parameters as in `dilation()`.

    >>> logical(np.uint8([[6, 3]]), 5)
    array([[4, 1]], dtype=uint8)
    >>> logical(np.array([[True, False]]), np.array([[True, True]]), "nand")
    array([[False,  True]])
    """
    check_image(a)
    if a.dtype.kind == "f":
        raise TypeError(f"an image of {a.dtype.name} has no bits to combine; integers and bool have")
    components = get_components(axes, a.ndim)
    given = prepare_input(a, components, copy)
    properties: dict[str, Any] = {"logicalOperator": op}
    is_turned = given.dtype == BOOL and op in _TURNED
    if is_turned:
        properties["logicalOperator"] = _TURNED[op]
    if isinstance(b, np.ndarray) and b.ndim > 0:
        check_image(b)
        if b.dtype.newbyteorder("=") != given.dtype:
            raise TypeError(f"the images have different types, {a.dtype.name} and {b.dtype.name}")
        if b.shape != a.shape:
            raise ValueError(f"the images have different shapes, {a.shape} and {b.shape}")
        inputs: tuple[Any, ...] = (given, prepare_input(b, components, copy))
        name = "LogicalOperationWithImage"
    else:
        inputs = (given,)
        name = "LogicalOperationWithValue"
        properties["value"] = _get_value(b, given.dtype)
    result = _call.prepare_output(out, a, given.dtype, components)
    _call.run(name, (*inputs, result), components, properties, threads, max_memory, progress, cancel)
    if is_turned:
        turn = {"logicalOperator": "xor", "value": 1}
        _call.run("LogicalOperationWithValue", (result, result), components, turn, threads, max_memory, None, cancel)
    return result


def _describe(b: Any = 0, op: str = "and") -> tuple[str, dict[str, Any]]:
    return "LogicalOperationWithValue", {"value": 0, "logicalOperator": op}


DESCRIPTIONS[logical] = _describe
