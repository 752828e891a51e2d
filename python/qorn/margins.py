"""What a part of an image needs around itself."""

from __future__ import annotations

from typing import Any, Callable, Optional

from . import _core
from ._arrays import get_axes
from ._call import DESCRIPTIONS
from .footprints import Pairs
from .operators import run, set_values


def margins(
    function: Callable[..., Any], *args: Any, ndim: int, axes: Optional[str] = None, **keywords: Any
) -> Pairs:
    """What a part of an image needs around itself, so that its result has the bits of the whole image's.

    A pair for each axis of the image: voxels before and after the part, of which those that there are have to be
    taken. Arguments are those of the function without images.

    >>> margins(opening, line(4, 0), ndim=2)
    ((0, 0), (3, 3))
    >>> margins(run, "ErosionBall3d", radius=2, ndim=4)
    ((0, 0), (2, 2), (2, 2), (2, 2))
    >>> margins(run, "DilationElement3d", element=line(4, 0), ndim=2)
    ((0, 0), (1, 2))
    """
    names = get_axes(axes, ndim)
    if function is run:
        name, properties = str(args[0]), set_values(keywords)
    elif function in DESCRIPTIONS:
        name, properties = DESCRIPTIONS[function](*args, **keywords)
    else:
        raise TypeError(f"{function!r} is no function of qorn that works on images")
    of_axis = dict(zip("ZYX", _core.margins(name, properties)))
    return tuple(of_axis.get(letter, (0, 0)) for letter in names)
