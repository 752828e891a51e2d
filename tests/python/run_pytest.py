"""Runs test files by pytest: run_pytest.py MODULES FILE... Exits with 77, which ctest counts as skipped, where one of
the modules, with commas between them, is missing."""

import importlib.util
import sys


def main() -> int:
    missing = [name for name in sys.argv[1].split(",") if importlib.util.find_spec(name) is None]
    if missing:
        print(f"not installed: {', '.join(missing)}")
        return 77
    import pytest

    return int(pytest.main(sys.argv[2:]))


if __name__ == "__main__":  # processes that tests start import this file
    sys.exit(main())
