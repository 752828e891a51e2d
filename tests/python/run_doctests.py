"""Runs the examples in the texts of the package and in the files given as arguments."""

import doctest
import importlib
import os
import pkgutil
import sys
import tempfile

import numpy as np

import qorn


def main() -> int:
    documents = [os.path.abspath(path) for path in sys.argv[1:]]
    names = {name: getattr(qorn, name) for name in qorn.__all__}
    nb_examples = nb_failed = 0
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for module in [
            qorn,
            *(importlib.import_module(f"qorn.{one.name}") for one in pkgutil.iter_modules(qorn.__path__)),
        ]:
            results = doctest.testmod(module, extraglobs={**names, "np": np, "qorn": qorn})
            nb_failed, nb_examples = nb_failed + results.failed, nb_examples + results.attempted
        for document in documents:
            results = doctest.testfile(document, module_relative=False, globs={"np": np, "qorn": qorn})
            print(f"{os.path.basename(document)}: {results.attempted} examples")
            nb_failed, nb_examples = nb_failed + results.failed, nb_examples + results.attempted
    documented = [name for name in qorn.__all__ if callable(getattr(qorn, name)) and name[0].islower()]
    for name in documented:
        if ">>>" not in (getattr(qorn, name).__doc__ or "") and name != "get_num_threads":
            print(f"{name} has no example")
            nb_failed += 1
    print(f"{nb_examples} examples, {nb_failed} failed")
    return 1 if nb_failed or nb_examples < 20 else 0


if __name__ == "__main__":
    sys.exit(main())
