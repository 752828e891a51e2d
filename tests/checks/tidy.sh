#!/bin/bash
# Runs clang-tidy with .clang-tidy over translation units of the product. Nothing needs to be compiled before.
# Arguments: a configured build folder, and the units relative to the root; without units all of them.
# The preset "tidy" runs it on all units.
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:?a build folder is expected, such as build/tidy}
shift

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# GCC's commands, without the option that clang doesn't know and doesn't need, and without errors of the compiler's own
# warnings, which are GCC's to give.
sed 's/ -fno-gnu-unique//g; s/ -Werror//g' "$build/compile_commands.json" >"$work/compile_commands.json"
mapfile -t units < <(python3 -c '
import json, os, sys
root = os.getcwd()
names = {os.path.relpath(unit["file"], root) for unit in json.load(open(sys.argv[1]))}
names = {name for name in names if not name.startswith(("tests/", "bench/", "build/"))}
asked = set(sys.argv[2:])
if asked - names: sys.exit("not a unit of this build: " + " ".join(sorted(asked - names)))
print("\n".join(sorted(asked or names)))' "$work/compile_commands.json" "$@")
wait $!
((${#units[@]} > 0))

# Each unit separately, so that all cores are used; xargs fails if one fails. Findings in headers of other projects
# are only counted and not shown.
printf '%s\0' "${units[@]}" |
  xargs -0 -n 1 -P "${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}" clang-tidy --quiet --warnings-as-errors='*' -p "$work" \
    2> >(grep -v ' warnings\? generated\.$' >&2)
echo "${#units[@]} units without findings"
