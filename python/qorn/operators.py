"""Every operator by its name, with all that it can be told."""

from __future__ import annotations

from functools import lru_cache
from typing import TYPE_CHECKING, Any, NamedTuple, Optional, Union

import numpy as np

from . import _call, _core
from ._arrays import BOOL, check_image, check_output, get_components, make_array, prepare_input
from ._call import Progress
from .footprints import Footprint
from .measure import read_results
from .morphology import Token

if TYPE_CHECKING:
    from numpy.typing import NDArray


class Property(NamedTuple):
    """A parameter of an operator. `choices`: names of values, which may be given instead of them."""

    name: str
    type: str
    help: str
    has_default: bool
    choices: dict[str, int]


class Operator(NamedTuple):
    """What an operator is called, does and takes."""

    name: str
    category: str
    help: str
    properties: tuple[Property, ...]


@lru_cache(maxsize=None)
def operators() -> tuple[Operator, ...]:
    """All operators that there are.

    >>> [one.name for one in operators() if one.category == "analysis"]
    ['IntensityExtrema']
    """
    return tuple(
        Operator(one["name"], one["category"], one["help"], tuple(Property(**each) for each in one["properties"]))
        for one in _core.operators()
    )


def runners(name: str) -> tuple[str, ...]:
    """The names of an operator's implementations, each of which `run(..., runner=NAME)` takes.

    >>> len(runners("Dilation2d")) >= 1
    True
    """
    return tuple(_core.runners(name))


@lru_cache(maxsize=None)
def _count_images(name: str) -> tuple[int, int]:
    for one in operators():
        if one.name == name:
            types = [each.type for each in one.properties]
            return types.count("input image"), types.count("output image")
    raise ValueError(f"{name} is no operator; qorn.operators() lists them")


def set_values(properties: dict[str, Any]) -> dict[str, Any]:
    """Properties as the core takes them."""
    values = dict(properties)
    for key, value in properties.items():
        if isinstance(value, Footprint):
            values[key] = value._element
        elif key == "kernel" and not isinstance(value, tuple):
            values[key] = np.ascontiguousarray(value, np.float64)
    return values


def run(
    name: str, /, *images: NDArray[Any], axes: Optional[str] = None, threads: Optional[int] = None,
    max_memory: Optional[int] = None, progress: Progress = None, cancel: Token = None, copy: Optional[bool] = None,
    runner: str = "", **properties: Any,
) -> Union[NDArray[Any], dict[str, NDArray[np.float64]]]:  # fmt: skip
    """Runs any operator by its name, with its own properties; see `operators()` and docs/images-and-values.md.

    Images are inputs and then outputs. An output that isn't given is made, of the operator's type; what the operator
    doesn't write is 0 in it. A bool image counts as uint8. Footprints and arrays are taken as elements and kernels.
    Returns the output or, of an operator that measures, arrays by their names with the axes plans, sequence, spectral
    series. Other parameters as in `dilation()`.

    >>> run("DilationDisk2d", np.uint8([[0, 0, 5, 0, 0]]), radius=1, shapeMode="exact")
    array([[0, 5, 5, 5, 0]], dtype=uint8)
    >>> run("IntensityExtrema", np.uint8([[3, 7]]))["maximum"]
    array([[[7.]]])
    """
    nb_inputs, nb_outputs = _count_images(name)
    nb_given = len(images)
    if not nb_inputs <= nb_given <= nb_inputs + nb_outputs:
        raise ValueError(f"{name} takes {nb_inputs} input image(s) and {nb_outputs} output image(s), not {nb_given}")
    for image in images[:nb_inputs]:
        check_image(image)
        if image.shape != images[0].shape:
            raise ValueError(f"the images have different shapes, {images[0].shape} and {image.shape}")
    components = get_components(axes, images[0].ndim)
    given = [prepare_input(image, components, copy) for image in images[:nb_inputs]]
    outputs = list(images[nb_inputs:])
    for out in outputs:
        check_output(out, images[0].shape, None, components[0])
    if len(outputs) < nb_outputs:
        dtype = np.dtype(np.uint8) if given[0].dtype == BOOL else given[0].dtype
        made = _call.get_output_dtype(name, dtype)
        outputs.append(make_array(images[0].shape, made, components[0], zero=True))
    results = _call.run(
        name, (*given, *outputs), components, set_values(properties), threads, max_memory, progress, cancel, runner
    )
    return outputs[0] if outputs else read_results(results or {})
