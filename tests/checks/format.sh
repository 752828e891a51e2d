#!/bin/bash
# Whether all C++ sources are formatted as .clang-format says, and the Python package as black does where that is
# installed; with --fix, formats them. 77 without a formatter.
set -euo pipefail
cd "$(dirname "$0")/../.."

command -v clang-format >/dev/null || { echo "skipped: clang-format isn't installed"; exit 77; }
mapfile -t files < <(python3 -B -c '
import sys
sys.path.insert(0, "tests/checks")
import tree
print("\n".join(tree.source_files(".")))')
((${#files[@]} > 0))
package=(python tests/python bench/python docs/gallery/python.py)
if ! command -v black >/dev/null; then
  echo "black isn't installed"
elif [[ ${1-} == --fix ]]; then
  black --quiet "${package[@]}"
else
  black --check "${package[@]}"
fi
if [[ ${1-} == --fix ]]; then
  clang-format -i "${files[@]}"
else
  clang-format --dry-run -Werror "${files[@]}"
fi
