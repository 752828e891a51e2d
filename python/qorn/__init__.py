"""Exact, parallel operators on images in numpy arrays: dilations, openings, correlations, extrema.

>>> image = np.uint8([[0, 9, 0, 9, 9, 9]])
>>> opening(image, line(3, 0))
array([[0, 0, 0, 9, 9, 9]], dtype=uint8)

Arrays aren't copied: an operator reads and writes them where they lie. docs/python.md is a tutorial.
"""

import atexit as _atexit
from importlib import import_module as _import_module
from typing import TYPE_CHECKING as _TYPE_CHECKING

from . import _core
from ._core import Cancelled, CancelToken, Error
from .elements import element
from .files import File, read, read_header, write
from .filters import correlate
from .footprints import (
    Footprint,
    ball,
    box,
    connectivity,
    disk,
    disk3d,
    ellipse,
    ellipsoid,
    line,
    line3d,
    mask,
)
from .margins import margins
from .measure import Extrema, extrema
from .morphology import black_tophat, closing, dilation, erosion, gradient, opening, white_tophat
from .operators import Operator, Property, operators, run, runners
from .points import logical
from .threads import get_num_threads, release_memory, set_num_threads

__all__ = [
    "CancelToken",
    "Cancelled",
    "Error",
    "Extrema",
    "File",
    "Footprint",
    "Operator",
    "Property",
    "ball",
    "black_tophat",
    "box",
    "closing",
    "connectivity",
    "correlate",
    "dilation",
    "disk",
    "disk3d",
    "element",
    "ellipse",
    "ellipsoid",
    "erosion",
    "extrema",
    "get_num_threads",
    "gradient",
    "line",
    "line3d",
    "logical",
    "margins",
    "mask",
    "opening",
    "operators",
    "read",
    "read_header",
    "release_memory",
    "run",
    "runners",
    "set_num_threads",
    "white_tophat",
    "write",
]

# A thread that comes back from a call when the interpreter has ended would end the process.
_atexit.register(_core.end_calls)

if not _TYPE_CHECKING:

    def __getattr__(name: str) -> object:
        """Parts of the package that aren't needed by all, when they are first named."""
        if name in ("tiles", "dask"):
            return _import_module(f".{name}", __name__)
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
