#!/bin/bash
# Configures, builds and tests a preset of CMakePresets.json: test-preset.sh PRESET [arguments of ctest]
# PXLWORKS_TARGETS names what is built, and PXLWORKS_TESTS the test programs that are run under a sanitizer, if not all;
# without the latter, what is built is run. What the compiler says is shown only if something fails.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
shift
read -d "" -ra targets <<<"${PXLWORKS_TARGETS-}" || true
read -d "" -ra tests <<<"${PXLWORKS_TESTS-${PXLWORKS_TARGETS-}}" || true

quietly() {
  "$@" >"build/$preset/log" 2>&1 || { cat "build/$preset/log" >&2; exit 1; }
}
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}
mkdir -p "build/$preset"
echo "building $preset ..." >&2
quietly cmake --preset "$preset"
quietly cmake --build --preset "$preset" ${targets:+--target "${targets[@]}"}
ctest --preset "$preset" --no-tests=error --parallel "$(nproc)" \
  ${tests:+-R "^($(IFS='|'; echo "${tests[*]}"))\\."} "$@"
