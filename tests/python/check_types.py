"""Static types: check_types.py PROJECT BUILD. The package and the examples are strict, the stubs are those of the
modules, and wrong calls are found. Exits with 77, which ctest counts as skipped, where mypy is missing."""

import importlib.util
import os
import re
import subprocess
import sys
import tempfile

# A wrong line each, and what is said of it.
WRONG = [
    ("q.dilation(np.zeros((3, 3), np.int64), q.disk(1))", "int64|signedinteger"),
    ("q.dilation(np.zeros((3, 3), np.uint8), q.disk(1), out=np.zeros((3, 3), np.uint16))", "Voxel|dilation"),
    ("q.disk('3')", "expected .int."),
    ("q.dilation(np.zeros((3, 3), np.uint8), q.disk(1), thread=3)", "thread"),
    ("q.extrema(np.zeros((3, 3), np.uint8)).middle", "middle"),
    ("x: int = q.gradient(np.zeros((3, 3), np.int8), q.disk(1))", "uint8|unsignedinteger"),
]
# Classes of C++, whose metaclass is another one. Their members are compared all the same.
CLASSES = ["_core.Call", "_core.CancelToken", "_core.Element", "_files.Header", "_files.Voxels", "_files.Windows"]


def run(*arguments: str) -> "tuple[int, str]":
    result = subprocess.run([sys.executable, "-B", *arguments], capture_output=True, text=True, check=False)
    print(result.stdout[-3000:], result.stderr[-3000:])
    return result.returncode, result.stdout


def main() -> int:
    if importlib.util.find_spec("mypy") is None or importlib.util.find_spec("numpy") is None:
        print("not installed: mypy or numpy")
        return 77
    project, build = map(os.path.abspath, sys.argv[1:])
    config = ["--config-file", os.path.join(project, "pyproject.toml"), "--cache-dir", os.path.join(build, "mypy")]
    failed = 0
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)  # where no other module is found
        strict = ["-m", "mypy", "--strict", *config]
        examples = [os.path.join(project, "docs", name) for name in ("first_look.py",)]
        failed += run(*strict, os.path.join(project, "python/qorn"), *examples)[0] != 0
        with open("metaclass", "w", encoding="utf-8") as file:
            file.write("\n".join(f"qorn\\.{name}" for name in CLASSES))
        stubs = ["-m", "mypy.stubtest", "qorn._core", "qorn._files", "--mypy-config-file", config[1]]
        stubs += ["--allowlist", "metaclass"]
        failed += run(*stubs)[0] != 0
        with open("wrong.py", "w", encoding="utf-8") as file:
            file.write("import numpy as np\nimport qorn as q\n" + "".join(f"{line}\n" for line, _ in WRONG))
        _, output = run(*strict, "wrong.py")
        for number, (line, pattern) in enumerate(WRONG, 3):
            said = "".join(one for one in output.splitlines() if one.startswith(f"wrong.py:{number}:"))
            if not re.search(pattern, said):
                print(f"not found: {line}")
                failed += 1
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
