"""Builds a mutant beside a build folder of the project, which is only read.

Only the named units are compiled, and of the units that the plug-in and all tests share those that hold the mutated
file, from a private copy of the sources and without optimisation. Only the libraries and programs that hold them are
linked, with everything else as the build folder has it. Tests are run with these libraries in place of the folder's
own.
"""

import json
import os
import re
import resource
import shlex
import shutil
import signal
import subprocess
import time

import tree

HERE = os.path.dirname(os.path.abspath(__file__))
# Where the targets that a unit may belong to are built; of the two hosts the tests use the instrumented one.
LIBRARIES = {"pxlworks_pxl_qorn": "lib/libpxlworks_pxl_qorn.so",
             "pxlworks_pxl_instrumented": "instrumented/libpxlworks_pxl.so",
             "pxlworks_object_model": "lib/libpxlworks_object_model.so"}
PLUGIN = "pxlworks_pxl_qorn"
# Object libraries that the plug-in and every test program are linked with.
SHARED = ("pxlworks_plugin_bodies", "pxlworks_qorn_passes")
MAX_BYTES = 8 << 30


class BudgetIsSpent(Exception):
    pass


class DoesNotBuild(Exception):
    pass


def run_limited(command, folder, seconds, environment=None):
    """(return code or None when the time was up, output)"""
    def limit():
        resource.setrlimit(resource.RLIMIT_DATA, (MAX_BYTES, MAX_BYTES))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    with subprocess.Popen(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, errors="replace", start_new_session=True,
                          preexec_fn=limit) as process:
        try:
            output, _ = process.communicate(timeout=max(seconds, 0.1))
            return process.returncode, output
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return None, process.communicate()[0]


class MutantBuild:
    def __init__(self, root, build, work, compiler, deadline):
        self.root = root
        self.build = os.path.realpath(build)
        self.copy = os.path.join(work, "tree")
        self.work = work
        self.deadline = deadline
        self.environment = {}
        self.programs = {}
        self.units = {}
        self.read_units()
        self.shared = {}
        self.read_shared()
        self.compiler = compiler or shutil.which("clang++") or "c++"
        self.redirect = os.path.join(work, "redirect.so")
        self.copy_tree()
        subprocess.run(["cc", "-shared", "-fPIC", os.path.join(HERE, "redirect.c"), "-o", self.redirect, "-ldl"],
                       check=True)

    def copy_tree(self):
        """Makes the copy equal to the sources."""
        shutil.rmtree(self.copy, ignore_errors=True)
        for name in tree.source_files(self.root):
            path = os.path.join(self.copy, name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            shutil.copy(os.path.join(self.root, name), path)

    def write(self, name, text):
        with open(os.path.join(self.copy, name), "w", encoding="utf-8") as file:
            file.write(text)

    def seconds_left(self):
        left = self.deadline - time.monotonic() if self.deadline else 1e6
        if left <= 0:
            raise BudgetIsSpent
        return left

    def call(self, command):
        status, output = run_limited(command, self.build, self.seconds_left())
        if status is None:
            raise BudgetIsSpent
        if status != 0:
            raise DoesNotBuild(output)

    def read_units(self):
        """{object: (target, source, words of its command)} of all objects that a mutation may be compiled into."""
        with open(os.path.join(self.build, "compile_commands.json"), encoding="utf-8") as file:
            entries = json.load(file)
        for entry in entries:
            words = shlex.split(entry["command"])
            made = words[words.index("-o") + 1]
            target = re.search(r"CMakeFiles/([^/]+)\.dir/", made).group(1)
            if target in LIBRARIES or target in SHARED or target.startswith("test_"):
                self.units[made] = target, os.path.realpath(entry["file"]), words

    def read_shared(self):
        """{object: files it is made of, as ninja knows them} of what is shared, and of its copies in the host."""
        sources = {source for target, source, _ in self.units.values() if target in SHARED}
        objects = [made for made, (_, source, _) in self.units.items() if source in sources]
        for record in self.ninja("deps", *objects).strip().split("\n\n"):
            made, *files = record.split("\n")
            self.shared[made.split(":")[0]] = {os.path.realpath(os.path.join(self.build, file.strip()))
                                               for file in files}

    def ninja(self, tool, *names):
        return subprocess.run(["ninja", "-C", self.build, "-t", tool, *names], check=True, text=True,
                              stdout=subprocess.PIPE).stdout

    def objects_of(self, mutation):
        """The objects to compile for a mutation."""
        objects = []
        for unit in mutation.units:
            made = next((made for made, (_, source, _) in self.units.items()
                         if source == os.path.join(self.root, unit)), None)
            if not made:
                raise DoesNotBuild(f"{unit} belongs to no library or test program of {self.build}")
            objects.append(made)
        mutated = os.path.join(self.root, mutation.file)
        return objects + [made for made, files in self.shared.items() if mutated in files and made not in objects]

    def compile(self, replaced):
        """Compiles an object's unit; gives the object made in its place."""
        _, source, words = self.units[replaced]
        made = os.path.join(self.work, "objects", replaced)
        os.makedirs(os.path.dirname(made), exist_ok=True)
        first = next(i for i, word in enumerate(words) if word.startswith("-"))
        options = [word.replace(self.root, self.copy) if word.startswith("-I") else word
                   for word in words[first:words.index("-o")]]
        options = [word for word in options if not re.match(r"-O|-W|-fno-gnu-unique$", word)]
        # words[:first - 1] is a compiler cache, if the folder is built with one.
        self.call([*words[:first - 1], self.compiler, *options, "-O0", "-w", "-o", made, "-c",
                   source.replace(self.root, self.copy)])
        return made

    def link(self, target, objects):
        """Links a target with objects in place of its own: {replaced: made}. Gives the path of what was made."""
        output = LIBRARIES.get(target, f"bin/{target}")
        lines = self.ninja("commands", output).strip().split("\n")
        command = next(part for part in lines[-1].split(" && ") if " -o " in part)
        words = shlex.split(command)
        made = os.path.join(self.work, output)
        os.makedirs(os.path.dirname(made), exist_ok=True)
        words[words.index("-o") + 1] = made
        # The mutants come first: of functions that several objects have, the linker takes those of the first one.
        first = next(i for i, word in enumerate(words) if word.endswith(".o"))
        words = [word for word in words if word not in objects]
        words[first:first] = objects.values()
        self.call(words)
        return made

    def make(self, objects, programs):
        """Compiles, and links what holds the objects: libraries, and of test programs those named; raises
        DoesNotBuild."""
        targets = {}
        for replaced in objects:
            target, made = self.units[replaced][0], self.compile(replaced)
            for holder in [PLUGIN, *programs] if target in SHARED else [target]:
                targets.setdefault(holder, {})[replaced] = made
        self.environment = dict(os.environ)
        preload = [self.redirect]
        self.programs = {}
        for target, objects in targets.items():
            made = self.link(target, objects)
            if target == PLUGIN:
                self.environment["MUTANT_FROM"] = os.path.join(self.build, LIBRARIES[target])
                self.environment["MUTANT_TO"] = made
            elif target in LIBRARIES:
                preload.append(made)
            else:
                self.programs[target] = made
        self.environment["LD_PRELOAD"] = ":".join(preload)

    def run_test(self, program, pattern, seconds):
        """(what failed, or "" when all passed; seconds)"""
        path = self.programs.get(program, os.path.join(self.build, "bin", program))
        begin = time.monotonic()
        command = [path, f"--gtest_filter={pattern}", "--gtest_fail_fast", "--gtest_brief=1"]
        status, output = run_limited(command, self.work, min(seconds, self.seconds_left()), self.environment)
        took = time.monotonic() - begin
        self.seconds_left()
        if status == 0:
            return ("" if re.search(r"\[  PASSED  \] [1-9]", output) else f"no test of {program} {pattern}"), took
        failed = re.search(r"\[  FAILED  \] ([\w/]+\.[\w/]+)", output)
        if failed:
            return failed.group(1), took
        return (f"{program} hangs" if status is None else f"{program} ends with {status}"), took
