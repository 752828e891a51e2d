"""One call of an operator, and what functions have in common."""

from __future__ import annotations

import sys
import time
from functools import lru_cache
from typing import TYPE_CHECKING, Any, Callable, Optional, Union

import numpy as np

from . import _core
from ._arrays import BOOL, Components, check_output, make_array
from .threads import get_thread_count

if TYPE_CHECKING:
    from numpy.typing import NDArray

Progress = Union[bool, Callable[[float], object], None]
Array = Any  # an ndarray of one of the nine types; public functions say which
Description = Callable[..., "tuple[str, dict[str, Any]]"]

# For each function the operator and the properties that it stands for, made of its arguments without images.
DESCRIPTIONS: dict[Callable[..., Any], Description] = {}


class ProgressLine:
    """Draws a line on standard error."""

    def __init__(self, name: str) -> None:
        self._name = name
        self._start = time.monotonic()

    def __call__(self, fraction: float) -> None:
        seconds = time.monotonic() - self._start
        end = "\n" if fraction >= 1 else ""
        sys.stderr.write(f"\r{self._name}: {fraction:4.0%}, {seconds:.1f} s{end}")
        sys.stderr.flush()


@lru_cache(maxsize=None)
def get_output_dtype(name: str, dtype: Any) -> Any:
    """The type of the result of an operator for an image of this type."""
    if dtype == BOOL:
        return BOOL
    return np.dtype(_core.output_format(name, dtype.char))


def run(
    name: str,
    images: tuple[Array, ...],
    components: Components,
    properties: dict[str, Any],
    threads: Optional[int] = None,
    max_memory: Optional[int] = None,
    progress: Progress = None,
    cancel: Optional[_core.CancelToken] = None,
    runner: str = "",
) -> Optional[dict[str, tuple[tuple[int, int, int], bytes]]]:
    """Runs an operator on arrays that fit it, inputs first."""
    if progress is True:
        progress = ProgressLine(name)
    elif progress is False:
        progress = None
    return _core.run(
        name,
        tuple([(image, components) for image in images]),
        properties,
        runner,
        get_thread_count(threads),
        max_memory,
        progress,
        cancel,
    )


def prepare_output(out: Optional[Array], image: Array, dtype: Any, components: Components) -> NDArray[Any]:
    """`out`, checked, or a new array."""
    if out is None:
        return make_array(image.shape, dtype, components[0])
    check_output(out, image.shape, dtype, components[0])
    result: NDArray[Any] = out
    return result
