"""The files of the project, for the checks."""

import os
import subprocess

SOURCE_SUFFIXES = (".h", ".cpp", ".impl")


def git(root, *arguments):
    # The clone may belong to somebody else than the one who tests.
    command = ["git", "-C", root, "-c", "safe.directory=*", *arguments]
    return subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout.decode("utf-8", "replace")


def all_files(root):
    """Relative paths of all files, tracked or not, but for ignored ones."""
    if os.path.exists(os.path.join(root, ".git")):
        names = git(root, "ls-files", "-z", "-co", "--exclude-standard").split("\0")
    else:
        names = []
        for folder, subfolders, files in os.walk(root):
            relative = os.path.relpath(folder, root)
            if relative == ".":
                subfolders[:] = [name for name in subfolders if name != "build"]
            names += [os.path.normpath(os.path.join(relative, name)) for name in files]
    return sorted(name for name in names if name and os.path.isfile(os.path.join(root, name)))


def source_files(root):
    return [name for name in all_files(root) if name.endswith(SOURCE_SUFFIXES)]


def read(root, name):
    with open(os.path.join(root, name), encoding="utf-8", errors="replace") as file:
        return file.read()
