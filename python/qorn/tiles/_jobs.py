"""What is computed: a function of the package and its arguments, in a form that files keep."""

from __future__ import annotations

import inspect
import re
from typing import Any, Callable, NamedTuple, Tuple, Union

import numpy as np

from .. import _core, morphology
from ..filters import correlate
from ..footprints import Footprint, Pairs, mask
from ..margins import margins
from ..measure import extrema
from ..operators import run
from ..points import logical
from ._stores import Store, get_path

Function = Union[str, Callable[..., Any]]

_MORPHOLOGY: Tuple[Callable[..., Any], ...] = (
    morphology.dilation,
    morphology.erosion,
    morphology.opening,
    morphology.closing,
    morphology.white_tophat,
    morphology.black_tophat,
    morphology.gradient,
)
_OTHERS: Tuple[Callable[..., Any], ...] = (correlate, logical, extrema, run)
FUNCTIONS: dict[str, Callable[..., Any]] = {one.__name__: one for one in (*_MORPHOLOGY, *_OTHERS)}
# What a tile decides itself.
_OWN = {"out", "threads", "max_memory", "progress", "cancel", "copy"}
_DIFFERENCES = {"white_tophat", "black_tophat", "gradient", "WhiteTopHat", "BlackTopHat", "Gradient"}
_PASSES = {"Dilation2d", "Erosion2d", "Dilation3d", "Erosion3d"}
_CONNECTIVITY = re.compile(r"connectivity\((\d+), (\d+)\)")


class Job(NamedTuple):
    """A function and its arguments by their names; `run` has the operator's as "name"."""

    function: str
    arguments: dict[str, Any]

    @property
    def axes(self) -> Any:
        return self.arguments.get("axes")

    @property
    def name(self) -> str:
        """The operator of `run`, or the function."""
        return str(self.arguments["name"]) if self.function == "run" else self.function

    def get_margins(self, ndim: int) -> Pairs:
        arguments = {key: value for key, value in self.arguments.items() if key not in ("axes", "dtype", "runner")}
        positional = [arguments.pop("name")] if self.function == "run" else []
        return margins(FUNCTIONS[self.function], *positional, ndim=ndim, axes=self.axes, **arguments)

    def compute(self, images: Tuple[Any, ...], **options: Any) -> Any:
        """Calls the function."""
        arguments = {**self.arguments, **options}
        if self.function == "run":
            return run(arguments.pop("name"), *images, **arguments)
        if self.function == "logical" and len(images) > 1:
            arguments["b"] = images[1]
        return FUNCTIONS[self.function](images[0], **arguments)

    def get_dtype(self, dtype: Any, ndim: int, nb_images: int) -> np.dtype[Any]:
        """The type of the result; raises what the function raises for its arguments."""
        image = np.ones((1,) * ndim, dtype)
        found: np.dtype[Any] = self.compute((image,) * nb_images, threads=1).dtype
        return found

    @property
    def is_difference(self) -> bool:
        return self.name in _DIFFERENCES

    @property
    def nb_temporaries(self) -> int:
        """Images of the size of a window that the operator may need besides its input and output.

        One for passes, or for rows that a step in place holds back; a gradient has an image of its own as well.
        """
        return 2 if self.name in ("gradient", "Gradient") else 0 if self.name.lower().startswith("logical") else 1

    @property
    def nb_written_plans(self) -> int:
        return _core.written_plans(self.name) if self.function == "run" else 1 << 62

    def divide(self, count: int) -> list[Job]:
        """The same result in at most `count` steps for each dilation and erosion; one job if it can't be divided."""
        if self.name in _PASSES:
            iterations = int(self.arguments.get("numberOfIterations", 1))
            return [self._with(numberOfIterations=one) for one in _split(iterations, count)]
        steps = {
            "dilation": ["dilation"],
            "erosion": ["erosion"],
            "opening": ["erosion", "dilation"],
            "closing": ["dilation", "erosion"],
        }.get(self.function, [])
        footprint = self.arguments.get("footprint")
        match = _CONNECTIVITY.fullmatch(footprint.text) if isinstance(footprint, Footprint) else None
        if not match:
            return [self]
        parts = [Footprint(f"connectivity({match[1]}, {one})") for one in _split(int(match[2]), count)]
        if len(parts) < 2 and len(steps) < 2:
            return [self]
        divided = [Job(step, {**self.arguments, "footprint": part}) for step in steps for part in parts]
        return divided or [self]

    def _with(self, **changes: Any) -> Job:
        return Job(self.function, {**self.arguments, **changes})


def _split(iterations: int, count: int) -> list[int]:
    """About equal parts, none of which is 0."""
    count = max(1, min(count, iterations))
    return [iterations // count + (one < iterations % count) for one in range(count)]


def make_job(function: Function, args: Tuple[Any, ...], keywords: dict[str, Any]) -> Tuple[Job, list[Store]]:
    """The job, and the stores of images besides the first one. Arguments are those of the function without images."""
    name = function if isinstance(function, str) else getattr(function, "__name__", "")
    called = FUNCTIONS.get(name)
    if called is None or (called is not function and name != function):
        raise TypeError(f"{function!r} is no function of qorn that works on images")
    own = sorted(_OWN & set(keywords))
    if own:
        raise TypeError(f"{own[0]}= is none of the arguments that each tile gets")
    if name == "run":
        if not args:
            raise TypeError("run needs the name of an operator")
        if args[0] == "IntensityExtrema":
            raise TypeError("the extrema of tiles are found by qorn.extrema, not by qorn.run")
        return Job(name, {"name": str(args[0]), **keywords}), list(args[1:])
    bound = inspect.signature(called).bind(None, *args, **keywords).arguments
    first = next(iter(bound))
    arguments = {key: value for key, value in bound.items() if key != first}
    if set(arguments) & _OWN:
        raise TypeError(f"{sorted(set(arguments) & _OWN)[0]} is none of the arguments that each tile gets")
    others = []
    if name == "logical" and not isinstance(arguments["b"], (int, np.integer, np.bool_)):
        if isinstance(arguments["b"], np.ndarray):
            raise TypeError("the second image is a store as well, not an array")
        others.append(arguments.pop("b"))
        get_path(others[0])
    if "footprint" in arguments and not isinstance(arguments["footprint"], Footprint):
        arguments["footprint"] = mask(arguments["footprint"])
    if arguments.get("dtype") is not None:
        arguments["dtype"] = np.dtype(arguments["dtype"]).name
    return Job(name, arguments), others


def encode(value: Any) -> Any:
    """An argument as JSON has it."""
    if isinstance(value, Footprint):
        return {"footprint": value.text}
    if isinstance(value, dict):
        return {key: encode(one) for key, one in value.items()}
    if isinstance(value, np.ndarray):
        return {"array": value.tolist(), "type": value.dtype.name}
    if isinstance(value, (list, tuple)):
        return {"list": [encode(one) for one in value], "is_tuple": isinstance(value, tuple)}
    if isinstance(value, np.generic):
        return value.item()
    if value is None or isinstance(value, (bool, int, float, str)):
        return value
    raise TypeError(f"an argument of the type {type(value).__name__} can't be kept in a file")


def decode(value: Any) -> Any:
    """The argument of its JSON."""
    if not isinstance(value, dict):
        return value
    if "footprint" in value and isinstance(value["footprint"], str):
        return Footprint(value["footprint"])
    if "array" in value and "type" in value:
        return np.array(value["array"], value["type"])
    if "list" in value and "is_tuple" in value:
        items = [decode(one) for one in value["list"]]
        return tuple(items) if value["is_tuple"] else items
    return {key: decode(one) for key, one in value.items()}
