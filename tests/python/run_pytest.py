"""Runs test files by pytest: run_pytest.py MODULES FILE... Exits with 77, which ctest counts as skipped, where one of
the modules, with commas between them, is missing."""

import importlib.util
import sys

missing = [name for name in sys.argv[1].split(",") if importlib.util.find_spec(name) is None]
if missing:
    print(f"not installed: {', '.join(missing)}")
    sys.exit(77)

import pytest  # noqa: E402

sys.exit(pytest.main(sys.argv[2:]))
