"""`python3 -m qorn tiles opening in.zarr out.zarr --element "ball(5)"`: tiles from the command line."""

from __future__ import annotations

import argparse
import sys
from typing import Any, Optional

import numpy as np

from . import _core
from .footprints import Footprint

_ELEMENT_FUNCTIONS = ("dilation", "erosion", "opening", "closing", "white_tophat", "black_tophat", "gradient")
_EPILOG = """FUNCTION is dilation, erosion, opening, closing, white_tophat, black_tophat, gradient, correlate,
logical, extrema, or the name of an operator, which has its properties as NAME=VALUE. A run that was ended goes on
if it is started again with the same arguments."""


def _parse_shard(text: str) -> tuple[int, int]:
    try:
        index, count = map(int, text.split("/"))
    except ValueError:
        raise argparse.ArgumentTypeError(f"{text}: a shard is INDEX/COUNT, such as 3/16") from None
    if not 0 <= index < count:
        raise argparse.ArgumentTypeError(f"{text}: shards have the numbers 0 to {count - 1}")
    return index, count


def _parse_sizes(text: str) -> tuple[int, ...]:
    try:
        return tuple(int(one) for one in text.split(","))
    except ValueError:
        raise argparse.ArgumentTypeError(f"{text}: sizes are numbers with commas, such as 64,256,256") from None


def _parse_value(text: str) -> Any:
    """The value of an operator's property."""
    for parse in (int, float):
        try:
            return parse(text)
        except ValueError:
            pass
    if "(" in text:
        return Footprint(text)
    return np.load(text) if text.endswith(".npy") else text


def _make_parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="python3 -m qorn", description="Image operators.")
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    tiles = commands.add_parser(
        "tiles", help="from store to store in tiles", description="Runs a function from store to store in tiles.",
        epilog=_EPILOG,
    )  # fmt: skip
    add = tiles.add_argument
    add("function", metavar="FUNCTION")
    add("source", metavar="SOURCE", help="zarr, .npy, .tif or .nii")
    add("target", metavar="TARGET", help="these or .nii.gz; .json for extrema")
    add("properties", metavar="NAME=VALUE", nargs="*", help="properties of an operator")
    add("--element", metavar="TEXT", help='such as "ball(5)"; docs/elements.md has all')
    add("--kind", help="of a gradient: full, outer or inner")
    add("--weights", metavar="FILE", help="of correlate: a .npy file")
    add("--dtype", help="of the result of correlate")
    add("--op", help="of logical: and, or, xor, nand, nor, nxor or andnot")
    add("--second", metavar="STORE", help="the second image of logical, or of an operator")
    add("--value", type=int, help="the number of logical")
    add("--per", help="axes of extrema, such as Z")
    add("--axes", help='names of the axes, such as "TZYX"')
    where = tiles.add_mutually_exclusive_group()
    where.add_argument("--workers", type=int, metavar="N", help="processes on this machine; 0 works in this one")
    where.add_argument("--scheduler", metavar="ADDRESS", help="of a cluster, such as tcp://host:8786")
    where.add_argument("--shard", type=_parse_shard, metavar="I/N", help="one of N jobs without a cluster, from 0")
    add("--memory", default="512MiB", metavar="SIZE", help="bytes that a tile may need (512MiB)")
    add("--chunks", type=_parse_sizes, metavar="SIZES", help="of a zarr target, such as 64,64,64")
    add("--tile", type=_parse_sizes, metavar="SIZES", help="the tiles, instead of planned ones")
    add("--threads", type=int, metavar="N", help="threads of each operator")
    add("--retries", type=int, default=3, metavar="N", help="how often a tile is tried again (3)")
    add("--restart", action="store_true", help="begin anew, and replace the target")
    add("--quiet", action="store_true", help="no progress")
    return parser


def _make_call(options: argparse.Namespace) -> tuple[str, list[Any], dict[str, Any]]:
    """The function, its arguments and its keywords."""
    args: list[Any] = []
    keywords: dict[str, Any] = {}
    if options.function in _ELEMENT_FUNCTIONS:
        if options.element is None:
            raise ValueError(f'{options.function} needs an element, such as --element "ball(5)"')
        args = [Footprint(options.element)]
    elif options.element is not None:
        raise ValueError(f"{options.function} takes no --element")
    if options.function == "correlate":
        if options.weights is None:
            raise ValueError("correlate needs --weights FILE")
        args = [np.load(options.weights)]
    if options.function == "logical":
        if (options.second is None) == (options.value is None):
            raise ValueError("logical needs either --second STORE or --value NUMBER")
        args = [options.value if options.second is None else options.second]
    for name in ("kind", "dtype", "op", "per", "axes"):
        if getattr(options, name) is not None:
            keywords[name] = getattr(options, name)
    name = options.function
    if not name[:1].islower():
        args = [name] + ([] if options.second is None else [options.second])
        for text in options.properties:
            key, equals, value = text.partition("=")
            if not equals:
                raise ValueError(f"{text}: a property is NAME=VALUE")
            keywords[key] = _parse_value(value)
        name = "run"
    elif options.properties:
        raise ValueError(f"{options.properties[0]}: {name} has no properties; operators have")
    return name, args, keywords


def _run_tiles(options: argparse.Namespace) -> None:
    from . import tiles

    name, args, keywords = _make_call(options)
    keywords.update(memory=options.memory, chunks=options.chunks, tile=options.tile, threads=options.threads)
    keywords.update(retries=options.retries, progress=None if options.quiet else True)
    if options.shard is not None:
        if options.restart:
            raise ValueError("shards can't --restart: each would remove the work of the others")
        index, count = options.shard
        report = tiles.run_shard(name, options.source, options.target, *args, index=index, count=count, **keywords)
    else:
        keywords.update(resume=not options.restart, workers=options.workers)
        if options.scheduler is None:
            report = tiles.run(name, options.source, options.target, *args, **keywords)
        else:
            from distributed import Client

            with Client(options.scheduler) as client:
                report = tiles.run(name, options.source, options.target, *args, client=client, **keywords)
    if options.quiet:
        return
    if report.result is not None:
        print(f"minimum {report.result.minimum}\nmaximum {report.result.maximum}")
    print(
        f"{report.done} of {report.tiles} tiles in {report.seconds:.1f} s, {report.retried} tried again; "
        f"the target is {'complete' if report.complete else 'not complete yet'}"
    )


def main(arguments: Optional[list[str]] = None) -> int:
    """Runs the command line; returns the exit code."""
    parser = _make_parser()
    options = parser.parse_args(arguments)
    try:
        _run_tiles(options)
    except KeyboardInterrupt:
        print("interrupted; the same command goes on", file=sys.stderr)
        return 130
    except (ValueError, TypeError, OSError, MemoryError, ImportError, _core.Error) as error:
        print(f"{parser.prog}: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
