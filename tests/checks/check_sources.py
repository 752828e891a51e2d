#!/usr/bin/env -S python3 -B
"""Rules on the text of the sources. Argument: the project's folder."""

import os
import re
import statistics
import sys

import tree
from check_layers import HOST_SIMD, PLUGIN_FOLDERS

PLUGIN = tuple(folder + "/" for folder in PLUGIN_FOLDERS)
CORE = ("Core/private/",)
HOST = ("host/",)
SIMD = ("Core/private/Access/simd/", HOST_SIMD)
PRODUCT = HOST + PLUGIN + CORE
# A permutation that Highway doesn't have.
WIDE_SIMD = "wide/ColumnWindows-inl.h"

# (what it means, files, except, pattern in the code without comments and texts)
RULES = [
    (f"intrinsics belong into Core/private/Access/simd, {HOST_SIMD} and {WIDE_SIMD}", PRODUCT, (*SIMD, WIDE_SIMD),
     r"\b_mm\d*_\w+|\b__m\d+\w*|\b\w+intrin\.h"),
    # Voxels stand at any address, so aligned and streaming accesses would fault.
    ("only unaligned vector loads and stores", SIMD, (),
     r"\b_mm_(?!loadu_|storeu_|load_s[sd]\b|loaddup_pd\b)(?:mask)?(?:load|store|stream)\w*"),
    ("host and plug-in don't print", PRODUCT, (), r"\bstd\s*::\s*(?:cout|cerr|clog)\b|\bv?f?printf\b|\bf?puts\b|\bperror\b"),
    ("plug-in code is free of handlers, locks, threads and logging", PLUGIN + CORE, (),
     r"\bcatch\b|\b(?!_mm)\w*mutex\w*|\bstd\s*::\s*j?thread\b|<thread>|\bthread_local\b|\bpthread_\w+|\bsyslog\b|\b\w*[lL]ogger\w*"),
]
BODIES_LIST = "cmake/PxlworksPlugin.cmake"
MAX_LINES = 500
MAX_MEDIAN = 150

COMMENT_OR_TEXT = re.compile(
    r"//[^\n]*|/\*.*?\*/"
    r'|"(?:\\.|[^"\\\n])*"'
    # Between digits it is a separator.
    r"|(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'", re.DOTALL)


def code_of(text):
    """The text with comments and literals blanked, its lines kept; the names of included files stay."""
    def blank(match):
        line_start = text.rfind("\n", 0, match.start()) + 1
        if match.group().startswith('"') and re.match(r"\s*#\s*include", text[line_start:match.start()]):
            return match.group()
        return "\n" * match.group().count("\n") or " "
    return COMMENT_OR_TEXT.sub(blank, text)


def rule_findings(name, code):
    for meaning, files, exceptions, pattern in RULES:
        if name.startswith(files) and not (exceptions and name.startswith(exceptions)):
            for match in re.finditer(pattern, code):
                line = code.count("\n", 0, match.start()) + 1
                yield f"{name}:{line}: {match.group()}: {meaning}"


def listing_findings(root, names):
    """Every translation unit is named in CMake, by its path from a folder above it; nothing is globbed."""
    lists = {name: re.sub(r"#[^\n]*", "", tree.read(root, name)) for name in tree.all_files(root)
             if os.path.basename(name) == "CMakeLists.txt" or name.endswith(".cmake")}
    words = {name: set(re.split(r"[\s()\"']+", text)) for name, text in lists.items()}
    for name, text in lists.items():
        if re.search(r"\bfile\s*\(\s*GLOB|\baux_source_directory\b", text, re.IGNORECASE):
            yield f"{name}: sources are listed, not globbed"
    for name in names:
        if not name.endswith(".cpp"):
            continue
        folders = [name.rsplit("/", count)[0] for count in range(1, name.count("/") + 1)] + [""]
        paths = {folder: os.path.relpath(name, folder or ".") for folder in folders}
        # The files in cmake/ are included by the list at the root.
        listed = any({paths[folder], paths[folder][:-len(".cpp")]} & words[entry] for folder in folders
                     for entry in lists if os.path.dirname(entry) == folder or (not folder and entry[:6] == "cmake/"))
        if not listed:
            yield f"{name}: not listed in CMake"


def main():
    root = sys.argv[1]
    names = tree.source_files(root)
    found = []
    lengths = {}
    for name in names:
        text = tree.read(root, name)
        lengths[name] = text.count("\n")
        found += rule_findings(name, code_of(text))
        if name.startswith(CORE) and name.endswith(".cpp"):
            if os.path.relpath(name, CORE[0]) not in tree.read(root, BODIES_LIST):
                found.append(f"{name}: the units of Core/private are those that {BODIES_LIST} gives to each plug-in")
        if lengths[name] > MAX_LINES and not name.startswith("tests/"):
            found.append(f"{name}: {lengths[name]} lines, more than {MAX_LINES}")
    for name in tree.all_files(root):
        if name.startswith("python/") and name.endswith((".py", ".pyi")):
            lengths[name] = tree.read(root, name).count("\n")
            if lengths[name] > MAX_LINES:
                found.append(f"{name}: {lengths[name]} lines, more than {MAX_LINES}")
    found += listing_findings(root, [name for name in names if not name.startswith(CORE)])
    median = statistics.median(lengths.values())
    if median >= MAX_MEDIAN:
        found.append(f"median length {median}, not below {MAX_MEDIAN}")
    print("\n".join(found))
    longest = max(lengths, key=lengths.get)
    print(f"{len(names)} files, median {median:g} lines, longest {lengths[longest]} ({longest}); {len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
