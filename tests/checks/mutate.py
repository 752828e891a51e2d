#!/usr/bin/env -S python3 -B
"""Mutation tests: breaks the plug-in and the host on purpose, in a private copy, and expects a test to fail.

One small change after the other, as listed in the folder beside this, is compiled and linked in a folder of its own
beside an up-to-date build of the project, and the tests that touch it are run. A mutant that no test fails on has
survived: a test is missing, unless the list explains why none can tell. A hang and a crash are failures."""

import argparse
import fcntl
import fnmatch
import hashlib
import json
import os
import random
import subprocess
import sys
import time

import mutation_list
import tree
from mutant_build import BudgetIsSpent, DoesNotBuild, MutantBuild

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
MAX_SECONDS = 60
# So many of the tests that failed most often are run first.
NB_FIRST_TESTS = 5


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--build", default=os.path.join(ROOT, "build", "release"), help="a build folder, up to date")
    parser.add_argument("--work", help="the folder for mutants; default: mutants in the build folder")
    parser.add_argument("--root", default=ROOT, help="the project's folder, for --check and --list")
    parser.add_argument("--compiler", help="default: clang++, which is fast, or c++")
    parser.add_argument("--only", action="append", metavar="ID", help="an id or a pattern; may be repeated")
    parser.add_argument("--sample", type=int, metavar="N", help="so many, drawn at random")
    parser.add_argument("--seed", type=int, help="of the draw; default: another one each time")
    parser.add_argument("--budget", type=float, metavar="SECONDS", help="no more than that, for all of it")
    parser.add_argument("--patience", type=float, default=MAX_SECONDS, metavar="SECONDS",
                        help="a test that uses more processor time hangs")
    parser.add_argument("--results", metavar="FILE", help="append to it: name, state, seconds, what was seen")
    parser.add_argument("--list", action="store_true", help="list the mutations and stop")
    parser.add_argument("--check", action="store_true", help="check that the lists fit the sources and stop")
    return parser.parse_args()


class Controls:
    """Whether a test that fails with a mutation passes without it, with the same units compiled the same way. What is
    known is kept as long as no source changes. So is what has failed with mutations."""

    def __init__(self, builder, max_seconds):
        self.builder = builder
        self.max_seconds = max_seconds
        self.path = os.path.join(builder.work, "controls.json")
        digest = hashlib.sha256(builder.compiler.encode())
        for name in tree.source_files(builder.root):
            digest.update(name.encode() + b"\0" + tree.read(builder.root, name).encode() + b"\0")
        self.state = {"sources": digest.hexdigest(), "results": {}, "failures": {}}
        if os.path.exists(self.path):
            with open(self.path, encoding="utf-8") as file:
                known = json.load(file)
            if known["sources"] == self.state["sources"]:
                self.state = known

    def get(self, objects, program, pattern):
        """What is to be said of it, or "" when all passed."""
        results = self.state["results"].setdefault(" ".join(objects), {})
        test = f"{program} {pattern}"
        if test not in results:
            build = self.builder.make(objects, [program], "control")
            results[test] = self.builder.run_test(build, program, pattern, self.max_seconds)[1]
            self.keep()
        return results[test]

    def keep(self):
        with open(self.path, "w", encoding="utf-8") as file:
            json.dump(self.state, file)

    def add_failure(self, program, pattern, failed):
        failures = self.state["failures"].setdefault(f"{program} {pattern}", {})
        failures[failed] = failures.get(failed, 0) + 1
        self.keep()

    def first_tests(self, program, pattern):
        """Those that failed most often, as a list of filters of one or none."""
        failures = self.state["failures"].get(f"{program} {pattern}", {})
        names = sorted(failures, key=failures.get, reverse=True)[:NB_FIRST_TESTS]
        return [":".join(names)] if names else []


def run_tests(builder, build, controls, mutation, max_seconds):
    """(program, test or filter, what is to be said of it) of the first that failed, or None"""
    for program, everything in mutation.tests:
        for pattern in [*controls.first_tests(program, everything), everything]:
            test, failed = builder.run_test(build, program, pattern, max_seconds)
            if failed:
                if test:
                    controls.add_failure(program, everything, test)
                return program, test or pattern, failed
    return None


def stages_of(builder, mutation):
    """The objects to compile, as lists to be tried one after the other. To compile all shared units takes long, and a
    test mostly fails without them where the list names what the tests' programs are linked with."""
    units, shared = builder.objects_of(mutation)
    programs = [program for program, _ in mutation.tests]
    everything = [units + shared]
    is_linked = all(builder.is_in_programs(unit, programs) for unit in units)
    return [units, *everything] if shared and is_linked else everything


def attempt(builder, controls, mutation, max_seconds):
    """(state, what was seen)"""
    text = tree.read(builder.root, mutation.file)
    try:
        builder.write(mutation.file, mutation.apply(text))
        for objects in stages_of(builder, mutation):
            build = builder.make(objects, sorted({program for program, _ in mutation.tests}), "mutant")
            failure = run_tests(builder, build, controls, mutation, max_seconds)
            if failure:
                break
    except DoesNotBuild as error:
        return "broken", f"does not compile:\n{error}"
    finally:
        builder.write(mutation.file, text)
    if not failure:
        return "survived", f"{mutation.survives and 'explained: '}{mutation.survives or mutation.why}"
    program, test, seen = failure
    try:
        failed = controls.get(objects, program, test)
    except DoesNotBuild as error:
        return "broken", f"its units don't build without it: {error}"
    return ("broken", f"fails without it: {failed}") if failed else ("killed", seen)


def choose(arguments, mutations):
    if arguments.only:
        mutations = [mutation for mutation in mutations
                     if any(fnmatch.fnmatchcase(mutation.name, pattern) for pattern in arguments.only)]
    if arguments.sample is not None:
        seed = arguments.seed if arguments.seed is not None else random.SystemRandom().randrange(10**6)
        print(f"sample of {arguments.sample} with --seed {seed}")
        mutations = random.Random(seed).sample(mutations, min(arguments.sample, len(mutations)))
    return mutations


def is_up_to_date(build, mutations):
    programs = sorted({program for mutation in mutations for program, _ in mutation.tests})
    result = subprocess.run(["ninja", "-C", build, "-n", *programs], text=True, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, check=False)
    if "no work to do" not in result.stdout:
        print(f"{build} isn't built, or not up to date: ninja -C {build} {' '.join(programs)}")
        return False
    return True


def run(arguments, mutations):
    deadline = time.monotonic() + arguments.budget if arguments.budget else None
    if not is_up_to_date(arguments.build, mutations):
        return 2
    work = os.path.realpath(arguments.work or os.path.join(arguments.build, "mutants"))
    os.makedirs(work, exist_ok=True)
    with open(os.path.join(work, "lock"), "w", encoding="utf-8") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            print(f"{work} is in use")
            return 2
        builder = MutantBuild(arguments.root, arguments.build, work, arguments.compiler, deadline)
        controls = Controls(builder, arguments.patience)
        results = []
        try:
            for mutation in mutations:
                begin = time.monotonic()
                state, seen = attempt(builder, controls, mutation, arguments.patience)
                results.append((mutation, state))
                report(arguments.results, state, mutation.name, time.monotonic() - begin, seen)
        except BudgetIsSpent:
            print(f"the budget of {arguments.budget:g} s is spent: {len(results)} of {len(mutations)} tried")
    return summarise(results)


def report(results, state, name, seconds, seen):
    print(f"{state:8}  {name}  ({seconds:.0f} s)  {seen}", flush=True)
    if results:
        line = seen.split("\n", maxsplit=1)[0]
        with open(results, "a", encoding="utf-8") as file:
            file.write(f"{name}\t{state}\t{seconds:.0f}\t{line}\n")


def summarise(results):
    states = [state for _, state in results]
    explained = sum(1 for mutation, state in results if state == "survived" and mutation.survives)
    for mutation, state in results:
        if state == "killed" and mutation.survives:
            print(f"{mutation.name} is killed by now; its explanation can go")
    broken = f", {states.count('broken')} broken" if "broken" in states else ""
    print(f"{len(results)} mutations: {states.count('killed')} killed, {states.count('survived')} survived "
          f"({explained} explained){broken}")
    return 1 if broken or states.count("survived") > explained else 0


def main():
    arguments = parse_arguments()
    arguments.root = os.path.realpath(arguments.root)
    mutations = mutation_list.read(arguments.root)
    found = list(mutation_list.findings(arguments.root, mutations))
    if found or arguments.check:
        print("\n".join(found))
        print(f"{len(mutations)} mutations, {len(found)} findings")
        return 1 if found or not mutations else 0
    mutations = choose(arguments, mutations)
    if arguments.list:
        for mutation in mutations:
            print(f"{mutation.name}  {mutation.file}  {mutation.why}")
        return 0
    return run(arguments, mutations)


if __name__ == "__main__":
    sys.exit(main())
