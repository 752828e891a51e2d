"""Reads the lists of mutations in the folder beside it, and reports errors in them.

    # comment
    units: files to compile, until another line says otherwise
    tests: program filter | program filter, likewise
    @ id file
    = why it matters
    - a piece of the file, which occurs once in it
    + its replacement
    ! why no test can detect it, for a mutation that is known to survive
"""

import glob
import os
import re

import tree

FOLDER = os.path.join("tests", "checks", "mutations")


class Mutation:
    def __init__(self, name, file, units, tests):
        self.name = name
        self.file = file
        self.units = units
        self.tests = tests
        self.why = ""
        self.survives = ""
        self.old = None
        self.new = None

    def apply(self, text):
        return text.replace(self.old, self.new, 1)


def parse_tests(value):
    """[(program, filter), ...]"""
    return [tuple(part.split()) for part in value.split("|")]


def append(text, line):
    return line if text is None else text + "\n" + line


def parse(path):
    units, tests, mutations = [], [], []
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file.read().split("\n"), 1):
            kind, _, value = line.partition(" ")
            if kind in ("", "#"):
                continue
            if kind == "units:":
                units = value.split()
            elif kind == "tests:":
                tests = parse_tests(value)
            elif kind == "@":
                mutations.append(Mutation(*value.split(), units, tests))
            elif kind == "=":
                mutations[-1].why = append(mutations[-1].why or None, value)
            elif kind == "!":
                mutations[-1].survives = append(mutations[-1].survives or None, value)
            elif kind == "-":
                mutations[-1].old = append(mutations[-1].old, value)
            elif kind == "+":
                mutations[-1].new = append(mutations[-1].new, value)
            else:
                raise ValueError(f"{path}:{number}: {line}")
    return mutations


def read(root):
    mutations = []
    for path in sorted(glob.glob(os.path.join(root, FOLDER, "*.txt"))):
        mutations += parse(path)
    return mutations


def programs(root):
    """The test programs that CMake knows."""
    names = set()
    for path in glob.glob(os.path.join(root, "tests", "*", "CMakeLists.txt")):
        names.update(re.findall(r"pxlworks_add(?:_wide)?_test\((test_\w+)", tree.read(root, os.path.relpath(path, root))))
    return names


def findings(root, mutations):
    known_programs = programs(root)
    seen = set()
    for mutation in mutations:
        place = f"{mutation.name}: {mutation.file}"
        if mutation.name in seen:
            yield f"{place}: the name is taken"
        seen.add(mutation.name)
        for name in [mutation.file, *mutation.units]:
            if not os.path.isfile(os.path.join(root, name)):
                yield f"{place}: there is no {name}"
                return
        count = tree.read(root, mutation.file).count(mutation.old or "")
        if mutation.old is None or count != 1:
            yield f"{place}: the old text occurs {count} times: {mutation.old}"
        if mutation.new is None or mutation.new == mutation.old:
            yield f"{place}: nothing is changed"
        if not mutation.why or not mutation.units or not mutation.tests:
            yield f"{place}: no reason, no unit or no test"
        for test in mutation.tests:
            if len(test) != 2 or test[0] not in known_programs:
                yield f"{place}: no test program and filter: {' '.join(test)}"
