#!/usr/bin/env -S python3 -B
"""Whether the paths, commands, options and names in the documents exist.
Arguments: the project's folder, the program qorn.

Looked at are code spans, console blocks and links of README.md, ARCHITECTURE.md, CONTRIBUTING.md and docs. Words in
capitals, such as IN or NAME, stand for anything; so do the folders that a build makes."""

import fnmatch
import functools
import json
import os
import re
import shlex
import subprocess
import sys

import tree

DOCUMENTS = re.compile(r"(README|ARCHITECTURE|CONTRIBUTING)\.md|docs/.*\.md")
FILE_SUFFIXES = (".h", ".cpp", ".impl", ".py", ".sh", ".c", ".map", ".cmake", ".md", ".txt")
SCRIPTS = (".py", ".sh", "run", "test")
NAMING_SUFFIXES = (*tree.SOURCE_SUFFIXES, ".c", ".cmake", ".in", ".map", "CMakeLists.txt", "CMakePresets.json")
# Their own words must not make a name known.
THEMSELVES = ("tests/checks/check_docs.py", "tests/checks/checks_can_fail.py")
# Names of other projects that no source here calls.
FOREIGN = {"grey_dilation", "grey_erosion", "grey_closing"}
# Parts of names, and names of no file in particular.
PLACEHOLDER = re.compile(r"[A-Z0-9_]+(\.\.\.)?|\.\.\.|name=value|NAME=VALUE")
PATH = re.compile(r"\.?[\w.*<>-]+(/[\w.*<>-]+)*/?")
IDENTIFIER = re.compile(r"~?[A-Za-z_]\w*(::~?\w+)*(\(\))?")


class Program:
    """What qorn says of itself."""

    def __init__(self, path):
        self.path = path
        self.commands = set(re.findall(r"^  ([a-z][\w-]*)  +\S", self.ask("--help").split("Subcommands:")[1], re.M))
        self.operators = {}
        for record in json.loads(self.ask("operators", "--json"))["operators"]:
            self.operators[record["name"]] = {one["name"]: one for one in record["properties"]}
        self.of_command = {name.lower(): name for name in self.operators}

    @functools.lru_cache(maxsize=None)
    def ask(self, *arguments):
        return subprocess.run([self.path, *arguments], check=True, capture_output=True, text=True).stdout

    def options(self, command):
        return set(re.findall(r"^ +(?:-\w,)?(--[\w-]+)", self.ask(*[command] if command else [], "--help"), re.M))

    def all_options(self):
        return set().union(*(self.options(command) for command in ["", *self.commands]))

    def property_finding(self, operator, name, value):
        """What is wrong with name=value; without an operator, whether any operator takes it."""
        known = [self.operators[operator]] if operator else self.operators.values()
        found = [properties[name] for properties in known if name in properties]
        if not found:
            return f"no property {name}" + (f" of {operator}" if operator else "")
        for one in found:
            choices = {choice["name"] for choice in one.get("choices", [])}
            words = value.split(",") if one.get("combinable") else [value]
            if not choices or all(word in choices or re.fullmatch(r"\d*|[A-Z]+", word) for word in words):
                return ""
        return f"no value {value} of {name}"

    def command_findings(self, words):
        """What is wrong with the arguments of a call of qorn."""
        if not words:
            return
        command = "" if words[0].startswith("-") else words.pop(0)
        if command and command not in self.commands:
            if not PLACEHOLDER.fullmatch(command):
                yield f"no subcommand {command}"
            return
        operator = self.of_command.get(command.replace("-", ""))
        takes_operator = command in ("run", "operators", "element")
        for word in words:
            if word.startswith("--"):
                if word.split("=")[0] not in self.options(command):
                    yield f"no option {word} of qorn {command}"
            elif takes_operator:
                takes_operator = False
                operator = word if word in self.operators else None
                if not operator and not PLACEHOLDER.fullmatch(word) and "(" not in word:
                    yield f"no operator {word}"
            elif re.match(r"\w+=", word) and not PLACEHOLDER.fullmatch(word):
                finding = self.property_finding(operator, *word.split("=", 1))
                if finding:
                    yield finding


class Project:
    """Names that the tree has."""

    def __init__(self, root):
        self.names = tree.all_files(root)
        folders = {name.rsplit("/", count)[0] for name in self.names for count in range(1, name.count("/") + 1)}
        self.paths = set(self.names) | folders
        self.top = {path for path in self.paths if "/" not in path}
        scripts = [name for name in self.names if name.endswith(SCRIPTS) and name not in THEMSELVES]
        # Tests use wrong names on purpose.
        sources = scripts + [name for name in self.names
                             if name.endswith(NAMING_SUFFIXES) and not re.match(r"tests/.*Test\.cpp", name)]
        self.words = FOREIGN.union(*(re.findall(r"\w+", tree.read(root, name)) for name in sources))
        # What functions of the Python package are told.
        self.keywords = set(re.findall(r"(\w+): [^=\n,()]+ = ", "".join(
            tree.read(root, name) for name in self.names if name.startswith("python/qorn/"))))
        self.script_options = set().union(*(re.findall(r"--[\w-]+", tree.read(root, name)) for name in scripts))
        presets = json.loads(tree.read(root, "CMakePresets.json"))
        self.presets = {preset["name"] for preset in presets["configurePresets"] if not preset.get("hidden")}

    def has(self, path):
        """Whether it is a path, or the end of one, with * and <any> for parts of it."""
        pattern = re.sub(r"<\w+>", "*", path[2:] if path.startswith("./") else path).rstrip("/")
        if pattern.split("/")[0] == "build":
            parts = pattern.split("/")
            return len(parts) < 2 or parts[1] in self.presets | {"run", "gallery", "PRESET", "tsan-tbb"}
        return any(fnmatch.fnmatchcase(name, pattern) or fnmatch.fnmatchcase(name, "*/" + pattern)
                   for name in self.paths)

    def is_meant_as_path(self, word):
        return bool(PATH.fullmatch(word)) and (
            word.startswith("./") or word.split("/")[0] in self.top | {"build"} and "/" in word)


def span_findings(span, project, program):
    first = span.split(" ")[0]
    if first in ("qorn", "./run", "build/release/bin/qorn"):
        yield from program.command_findings(shlex.split(span)[1:])
    elif first.startswith("--"):
        option = re.split(r"[ =]", first)[0]
        if option not in program.all_options() | project.script_options:
            yield f"no option {option}"
    elif PLACEHOLDER.fullmatch(span) and not span.startswith("PXL"):
        return
    elif re.fullmatch(r"[a-z]\w*=[\w,]*", span) and span.split("=")[0] not in project.keywords:
        finding = program.property_finding(None, *span.split("=", 1))
        if finding:
            yield finding
    elif PATH.fullmatch(span) and ("/" in span or span.endswith(FILE_SUFFIXES) and not span.startswith(".")):
        if not project.has(span) and not re.fullmatch(r"(Name|NAME|FILE)\.\w+", span):
            yield f"no path {span}"
    elif IDENTIFIER.fullmatch(span) and re.search(r"[A-Z_:(]", span):
        for word in re.findall(r"\w+", span):
            if word not in project.words:
                yield f"no name {word}"


def line_findings(line, project, program):
    """What is wrong with a line of a console block that begins with $."""
    words = shlex.split(line[2:].replace("&&", " ; "), comments=True)
    while ";" in words:
        yield from call_findings(words[:words.index(";")], project, program)
        del words[:words.index(";") + 1]
    yield from call_findings(words, project, program)


def call_findings(words, project, program):
    while words and re.match(r"[A-Z_]+=", words[0]):
        words = words[1:]
    for word in words:
        if project.is_meant_as_path(word) and not project.has(word):
            yield f"no path {word}"
    for option, preset in zip(words, words[1:]):
        if option == "--preset" and preset not in project.presets:
            yield f"no preset {preset}"
    if words and (words[0] in ("qorn", "./run") or words[0].endswith("/bin/qorn")):
        yield from program.command_findings(list(words[1:]))


def headings(text):
    titles = re.findall(r"^#+ (.*)$", text, re.M)
    return {re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-") for title in titles}


def link_findings(root, name, text):
    for target in re.findall(r"\]\(([^)\s]+)\)|(?:src|href)=\"([^\"]+)\"", text):
        path, _, anchor = "".join(target).partition("#")
        if re.match(r"https?:", path):
            continue
        file = os.path.normpath(os.path.join(os.path.dirname(name), path)) if path else name
        if not os.path.isfile(os.path.join(root, file)):
            yield f"no file {file}"
        elif anchor and anchor not in headings(tree.read(root, file)):
            yield f"no heading #{anchor} in {file}"


def document_findings(root, name, project, program):
    text = tree.read(root, name)
    fence = None
    for number, line in enumerate(text.split("\n"), 1):
        found = []
        if line.startswith("```"):
            fence = line[3:] or "text" if fence is None else None
        elif fence == "console" and line.startswith("$ "):
            found = line_findings(line, project, program)
        elif fence is None:
            prose = "".join(line.split("`")[::2])
            found = [finding for span in line.split("`")[1::2] for finding in span_findings(span, project, program)]
            found += link_findings(root, name, prose)
        elif fence == "text":
            found = [f"no path {word}" for word in re.findall(r"[\w./*]+", line)
                     if project.is_meant_as_path(word) and not project.has(word)]
        yield from (f"{name}:{number}: {finding}" for finding in found)


def main():
    root, program = sys.argv[1], Program(sys.argv[2])
    project = Project(root)
    documents = [name for name in project.names if DOCUMENTS.fullmatch(name)]
    found = [finding for name in documents for finding in document_findings(root, name, project, program)]
    print("\n".join(found))
    print(f"{len(documents)} documents, {len(found)} findings")
    return 1 if found or not documents else 0


if __name__ == "__main__":
    sys.exit(main())
