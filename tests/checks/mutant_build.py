"""Builds a mutant beside a build folder of the project, which is only read.

Only the named units are compiled, and of the units that plug-ins and all tests share those that hold the mutated
file, from a private copy of the sources and without optimisation. Only the libraries and programs that hold them are
linked, with everything else as the build folder has it. Tests are run with these libraries in place of the folder's
own.
"""

import glob
import json
import os
import re
import resource
import shlex
import shutil
import signal
import subprocess
import threading
import time

import tree

HERE = os.path.dirname(os.path.abspath(__file__))
# Where the targets that a unit may belong to are built; of the two hosts the tests use the instrumented one.
LIBRARIES = {"pxlworks_pxl_qorn": "lib/libpxlworks_pxl_qorn.so",
             "pxlworks_pxl_elements": "lib/libpxlworks_pxl_elements.so",
             "pxlworks_pxl_wide": "lib/libpxlworks_pxl_wide.so",
             "pxlworks_pxl_instrumented": "instrumented/libpxlworks_pxl.so",
             "pxlworks_object_model": "lib/libpxlworks_object_model.so"}
PLUGINS = ("pxlworks_pxl_qorn", "pxlworks_pxl_elements", "pxlworks_pxl_wide")
# Object libraries that every test program is linked with, and the plug-ins that are, too.
SHARED = {"pxlworks_plugin_bodies": PLUGINS, "pxlworks_qorn_passes": PLUGINS[:1]}
MAX_BYTES = 8 << 30
MAX_IDLE_SECONDS = 60


class BudgetIsSpent(Exception):
    pass


class DoesNotBuild(Exception):
    pass


def start(command, folder, environment=None):
    def limit():
        resource.setrlimit(resource.RLIMIT_DATA, (MAX_BYTES, MAX_BYTES))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    return subprocess.Popen(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, errors="replace", start_new_session=True,
                            preexec_fn=limit)


def run_limited(command, folder, seconds):
    """(return code or None when the time was up, output)"""
    with start(command, folder) as process:
        try:
            output, _ = process.communicate(timeout=max(seconds, 0.1))
            return process.returncode, output
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return None, process.communicate()[0]


def cpu_seconds(session):
    """What all processes of a session have used so far, those that have ended included."""
    ticks = 0
    for stat in glob.glob("/proc/[0-9]*/stat"):
        try:
            with open(stat, encoding="utf-8", errors="replace") as file:
                fields = file.read().rpartition(")")[2].split()
        except OSError:
            continue
        if fields[3] == str(session):
            ticks += sum(int(field) for field in fields[11:15])
    return ticks / os.sysconf("SC_CLK_TCK")


class TestRun:
    """A run of a test program. A test hangs when it uses too much processor time, or none for too long: other load on
    the machine doesn't count. A test that sleeps now and then isn't idle."""

    def __init__(self, command, folder, environment):
        self.process = start(command, folder, environment)
        self.lines = []
        self.reader = threading.Thread(target=self.read)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.lines.append(line)

    def wait(self, max_seconds, seconds_left):
        """The return code, or None when a test hangs."""
        nb_lines = -1
        try:
            while self.reader.is_alive():
                used, now = cpu_seconds(self.process.pid), time.monotonic()
                if len(self.lines) != nb_lines:
                    nb_lines, used_before, last_used, last_seen = len(self.lines), used, used, now
                if used > last_used:
                    last_used, last_seen = used, now
                if used - used_before > max_seconds or now - last_seen > MAX_IDLE_SECONDS:
                    return None
                seconds_left()
                self.reader.join(1)
            return self.process.wait()
        finally:
            try:
                os.killpg(self.process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            self.process.wait()
            self.reader.join()


class Build:
    """What was linked: {program: path}, and the environment in which the libraries are used."""

    def __init__(self, programs, environment):
        self.programs = programs
        self.environment = environment


class MutantBuild:
    def __init__(self, root, build, work, compiler, deadline):
        self.root = root
        self.build = os.path.realpath(build)
        self.copy = os.path.join(work, "tree")
        self.work = work
        self.deadline = deadline
        self.units = {}
        self.read_units()
        self.shared = {}
        self.read_shared()
        self.compiler = compiler or shutil.which("clang++") or "c++"
        self.launcher = self.find_launcher()
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

    def find_launcher(self):
        """The compiler cache, if the folder is built with one."""
        with open(os.path.join(self.build, "CMakeCache.txt"), encoding="utf-8") as file:
            return re.findall(r"^CMAKE_CXX_COMPILER_LAUNCHER:\w+=(.+)$", file.read(), re.MULTILINE)

    def read_units(self):
        """{object: (target, sources, words of its command)} of all objects that a mutation may be compiled into."""
        with open(os.path.join(self.build, "compile_commands.json"), encoding="utf-8") as file:
            entries = json.load(file)
        for entry in entries:
            if "cmake_pch" in entry["file"]:
                continue  # a precompiled header
            words = shlex.split(entry["command"])
            made = words[words.index("-o") + 1]
            # The bodies are named after their compile options, too.
            target = re.search(r"CMakeFiles/(pxlworks_plugin_bodies|[^/]+)\w*\.dir/", made).group(1)
            if target == "pxlworks_host_bodies":  # a part of both hosts
                target = "pxlworks_pxl_instrumented"
            if target in LIBRARIES or target in SHARED or target.startswith("test_"):
                self.units[made] = target, self.sources_of(os.path.realpath(entry["file"])), words

    def sources_of(self, unit):
        """Several where the unit is a file of CMake's that includes them."""
        if not unit.startswith(self.build):
            return [unit]
        with open(unit, encoding="utf-8") as file:
            return re.findall(r'^#include "(.+)"$', file.read(), re.MULTILINE)

    def read_shared(self):
        """{object: files it is made of, as ninja knows them} of what is shared, and of its copies in the host."""
        shared = {source for target, sources, _ in self.units.values() if target in SHARED for source in sources}
        objects = [made for made, (_, sources, _) in self.units.items() if shared.intersection(sources)]
        for record in self.ninja("deps", *objects).strip().split("\n\n"):
            made, *files = record.split("\n")
            made = made.split(":")[0]
            # A precompiled header stands for what it includes.
            for word in self.units[made][2]:
                if word.endswith("cmake_pch.hxx"):
                    files += self.ninja("deps", f"{os.path.relpath(word, self.build)}.gch").strip().split("\n")[1:]
            self.shared[made] = {os.path.realpath(os.path.join(self.build, file.strip()))
                                               for file in files}

    def ninja(self, tool, *names):
        return subprocess.run(["ninja", "-C", self.build, "-t", tool, *names], check=True, text=True,
                              stdout=subprocess.PIPE).stdout

    def objects_of(self, mutation):
        """The objects of a mutation's units, and those of shared units that hold the mutated file. A unit may belong
        to a library and, once more, to a test program."""
        objects = []
        holders = [*LIBRARIES, *SHARED, *(program for program, _ in mutation.tests)]
        for unit in mutation.units:
            path = os.path.join(self.root, unit)
            made = [made for made, (target, sources, _) in self.units.items() if path in sources and target in holders]
            if not made:
                raise DoesNotBuild(f"{unit} belongs to no library or test program of {self.build}")
            objects += [one for one in made if one not in objects]
        mutated = os.path.join(self.root, mutation.file)
        shared = [made for made, files in self.shared.items() if mutated in files and made not in objects]
        return objects, shared

    def is_in_programs(self, replaced, programs):
        return self.units[replaced][0] in [*SHARED, *programs]

    def loads(self, program, plugin):
        """Whether a program is built after the plug-in."""
        return LIBRARIES[plugin] in self.ninja("query", f"bin/{program}")

    def compile(self, replaced):
        """Compiles an object's unit; gives the object made in its place."""
        _, sources, words = self.units[replaced]
        made = os.path.join(self.work, "objects", replaced)
        os.makedirs(os.path.dirname(made), exist_ok=True)
        unit = made + ".cpp"
        with open(unit, "w", encoding="utf-8") as file:
            file.writelines(f'#include "{source.replace(self.root, self.copy)}"\n' for source in sources)
        first = next(i for i, word in enumerate(words) if word.startswith("-"))
        options = [word.replace(self.root, self.copy) if word.startswith("-I") else word
                   for word in words[first:words.index("-o")]]
        # Precompiled headers are of the folder's compiler. Units include what they use.
        options = [word for i, word in enumerate(options)
                   if not re.match(r"-O|-W|-fno-gnu-unique$", word) and "cmake_pch" not in "".join(options[i:i + 2])]
        self.call([*self.launcher, self.compiler, *options, "-O0", "-w", "-o", made, "-c", unit])
        return made

    def link(self, target, objects, folder):
        """Links a target with objects in place of its own: {replaced: made}. Gives the path of what was made."""
        output = LIBRARIES.get(target, f"bin/{target}")
        lines = self.ninja("commands", output).strip().split("\n")
        command = next(part for part in lines[-1].split(" && ") if " -o " in part)
        words = shlex.split(command)
        made = os.path.join(folder, output)
        os.makedirs(os.path.dirname(made), exist_ok=True)
        words[words.index("-o") + 1] = made
        # The mutants come first: of functions that several objects have, the linker takes those of the first one.
        first = next(i for i, word in enumerate(words) if word.endswith(".o"))
        words = [word for word in words if word not in objects]
        words[first:first] = objects.values()
        self.call(words)
        return made

    def make(self, objects, programs, folder):
        """Compiles, and links what holds the objects: libraries, and of test programs those named. Raises
        DoesNotBuild."""
        targets = {}
        for replaced in objects:
            target, made = self.units[replaced][0], self.compile(replaced)
            plugins = [plugin for plugin in SHARED.get(target, ())
                       if any(self.loads(program, plugin) for program in programs)]
            for holder in [*plugins, *programs] if target in SHARED else [target]:
                targets.setdefault(holder, {})[replaced] = made
        preload, redirected, linked = [self.redirect], [], {}
        for target, replacements in targets.items():
            made = self.link(target, replacements, os.path.join(self.work, folder))
            if target in PLUGINS:
                redirected += [os.path.join(self.build, LIBRARIES[target]), made]
            elif target in LIBRARIES:
                preload.append(made)
            else:
                linked[target] = made
        return Build(linked, {**os.environ, "LD_PRELOAD": ":".join(preload), "MUTANT_PATHS": ":".join(redirected)})

    def run_test(self, build, program, pattern, max_seconds):
        """(the test that failed or "", what is to be said of it, or "" when all passed)"""
        path = build.programs.get(program, os.path.join(self.build, "bin", program))
        run = TestRun([path, f"--gtest_filter={pattern}", "--gtest_fail_fast"], self.work, build.environment)
        status = run.wait(max_seconds, self.seconds_left)
        output = "".join(run.lines)
        if status == 0:
            return "", "" if re.search(r"\[  PASSED  \] [1-9]", output) else f"no test of {program} {pattern}"
        failed = re.search(r"\[  FAILED  \] ([\w/]+\.[\w/]+)", output)
        if failed:
            return failed.group(1), failed.group(1)
        begun = re.findall(r"\[ RUN      \] ([\w/]+\.[\w/]+)", output)
        last = begun[-1] if begun else ""
        return last, f"{last or program} {'hangs' if status is None else f'ends with {status}'}"
