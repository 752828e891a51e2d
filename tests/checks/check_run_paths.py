#!/usr/bin/env -S python3 -B
"""Where binaries look for libraries. Argument: a folder; every program and library in its folders bin, lib*,
python and instrumented is read. A path that isn't absolute depends on the working directory, and an empty one is that."""

import os
import re
import subprocess
import sys

FOLDERS = re.compile(r"bin|lib\w*|python|instrumented")


def binaries(root):
    for top in sorted(os.listdir(root)):
        if not FOLDERS.fullmatch(top):
            continue
        for folder, _, files in os.walk(os.path.join(root, top)):
            for name in sorted(files):
                path = os.path.join(folder, name)
                with open(path, "rb") as file:
                    if file.read(4) == b"\x7fELF":
                        yield path


def findings(path):
    dynamic = subprocess.run(["readelf", "-dW", path], check=True, stdout=subprocess.PIPE, text=True).stdout
    for text in re.findall(r"\((?:RPATH|RUNPATH)\).*\[(.*)\]", dynamic):
        for element in text.split(":"):
            if not re.match(r"/|\$(ORIGIN|\{ORIGIN\})(/|$)", element):
                yield f"{path}: '{element}' in the run path {text}"


def main():
    found = []
    count = 0
    for path in binaries(sys.argv[1]):
        count += 1
        found += findings(path)
    if count == 0:
        found.append("no binaries found")
    print("\n".join(found[:50]))
    print(f"{count} binaries, {len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
