#!/usr/bin/env -S python3 -B
"""Words that don't belong into the project's files and history. Argument: the project's folder."""

import os
import re
import sys

import tree

# In pieces, lest this file trips over itself.
WORDS = {
    r"\bsp" r"ec\b": re.IGNORECASE,
    r"sp" r"ecification": re.IGNORECASE,
    r"\bPart" r"\s+[0-9]+(\.[0-9]+)*\b": 0,
    # Folders of one machine.
    r"(?<![\w.}/-])/wo" r"rk/": 0,
    r"(?<![\w.}/-])/fa" r"rm/": 0,
    # Package servers: the machine's own configuration knows them.
    r"deb\.de" r"bian\.org": re.IGNORECASE,
    r"np" r"mjs": re.IGNORECASE,
    r"\bregi" r"stry\.": re.IGNORECASE,
}
PATTERNS = [re.compile(word, flags) for word, flags in WORDS.items()]


def findings(place, text):
    for number, line in enumerate(text.split("\n"), 1):
        for pattern in PATTERNS:
            if pattern.search(line):
                yield f"{place}:{number}: {pattern.pattern} in: {line.strip()[:120]}"


def main():
    root = sys.argv[1]
    found = []
    names = tree.all_files(root)
    for name in names:
        found += findings(f"name of {name}", name)
        text = tree.read(root, name)
        if "\0" not in text:  # else it's binary
            found += findings(name, text)
    history = "no history"
    if os.path.exists(os.path.join(root, ".git")):
        messages = tree.git(root, "log", "--format=%B", "HEAD")
        found += findings("commit messages", messages)
        history = "the history"
    print("\n".join(found))
    print(f"{len(names)} files and {history} looked at, {len(found)} findings")
    return 1 if found or not names else 0


if __name__ == "__main__":
    sys.exit(main())
