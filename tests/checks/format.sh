#!/bin/bash
# Whether all C++ sources are formatted as .clang-format says; with --fix, formats them. 77 without a formatter.
set -euo pipefail
cd "$(dirname "$0")/../.."

command -v clang-format >/dev/null || { echo "skipped: clang-format isn't installed"; exit 77; }
mapfile -t files < <(python3 -B -c '
import sys
sys.path.insert(0, "tests/checks")
import tree
print("\n".join(tree.source_files(".")))')
((${#files[@]} > 0))
if [[ ${1-} == --fix ]]; then
  clang-format -i "${files[@]}"
else
  clang-format --dry-run -Werror "${files[@]}"
fi
