#!/bin/bash
# Runs clang-tidy by .clang-tidy over the product's translation units. Argument: a build folder.
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build/release}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# GCC's commands, without the option that clang doesn't know and doesn't need.
sed 's/ -fno-gnu-unique//g' "$build/compile_commands.json" >"$work/compile_commands.json"
mapfile -t units < <(python3 -c '
import json, os, sys
root = os.getcwd()
names = {os.path.relpath(unit["file"], root) for unit in json.load(open(sys.argv[1]))}
print("\n".join(sorted(name for name in names if not name.startswith(("tests/", "bench/")))))' \
  "$work/compile_commands.json")
((${#units[@]} > 0))

# Each unit separately, so that all cores are used; xargs fails if one fails. Findings in headers of other projects
# are only counted and not shown.
printf '%s\0' "${units[@]}" |
  xargs -0 -n 1 -P "${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}" clang-tidy --quiet --warnings-as-errors='*' -p "$work" \
    2> >(grep -v ' warnings\? generated\.$' >&2)
echo "${#units[@]} units without findings"
