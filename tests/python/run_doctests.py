"""Runs examples: run_doctests.py MODULES [FILE...]; those in the texts of the package, or in the files. Exits with
77, which ctest counts as skipped, where one of the modules, with commas between them, is missing."""

import doctest
import importlib
import importlib.util
import os
import pkgutil
import sys
import tempfile

missing = [name for name in sys.argv[1].split(",") if importlib.util.find_spec(name) is None]
if missing:
    print(f"not installed: {', '.join(missing)}")
    sys.exit(77)

import numpy as np  # noqa: E402

import qorn  # noqa: E402


NAMES = {name: getattr(qorn, name) for name in qorn.__all__}


def run_package() -> "tuple[int, int]":
    """The examples of all functions, each of which has some. Returns how many there are and how many fail."""
    nb_examples = nb_failed = 0
    names = ["qorn", *(one.name for one in pkgutil.walk_packages(qorn.__path__, "qorn."))]
    for name in names:
        if name == "qorn.dask" and importlib.util.find_spec("dask") is None:
            continue
        module = importlib.import_module(name)
        results = doctest.testmod(module, extraglobs={**NAMES, "np": np, "qorn": qorn, "tiles": qorn.tiles})
        nb_failed, nb_examples = nb_failed + results.failed, nb_examples + results.attempted
    for name, value in NAMES.items():
        if name[0].islower() and ">>>" not in (value.__doc__ or ""):
            print(f"{name} has no example")
            nb_failed += 1
    return nb_examples, nb_failed


def run_document(path: str) -> "tuple[int, int]":
    """The examples of a document, which finds the files of its folder."""
    if not os.path.exists("docs"):
        os.symlink(os.path.dirname(path), "docs")
    results = doctest.testfile(path, module_relative=False, globs={"np": np, "qorn": qorn})
    print(f"{os.path.basename(path)}: {results.attempted} examples")
    return results.attempted, results.failed


def main() -> int:
    documents = [os.path.abspath(path) for path in sys.argv[2:]]
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        counts = [run_document(path) for path in documents] if documents else [run_package()]
    nb_failed = sum(failed for _, failed in counts)
    print(f"{sum(examples for examples, _ in counts)} examples, {nb_failed} failed")
    return 1 if nb_failed or min(examples for examples, _ in counts) < 10 else 0


if __name__ == "__main__":
    sys.exit(main())
