#!/bin/bash
# Builds Debian's TBB with the thread sanitizer into build/tsan-tbb: with the packaged library, the sanitizer can't
# see TBB's synchronisation and reports false races. Does nothing if this version has been built before.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake/install-packages.sh g++ cmake ninja-build libtbb-dev dpkg-dev
# The source of the version that the other builds use; the package may be installed for cross-compilation, too.
source=$(dpkg-query -W -f '${source:Package}=${source:Version}' "libtbb-dev:$(dpkg --print-architecture)")
prefix=$PWD/build/tsan-tbb
stamp="$source, $(g++ -dumpfullversion)"
[[ -f $prefix/version && $(<"$prefix/version") == "$stamp" ]] && exit 0

echo "building $source with the thread sanitizer ..." >&2
work=$PWD/build/tsan-tbb-work
rm -rf "$work" "$prefix"
mkdir -p "$work"/{sources,lists/partial,cache/archives/partial}
# From here on all output goes to a log, which is shown only on failure.
exec 3>&2 >"$work/log" 2>&1
trap '(($? == 0)) || tail -n 40 "$work/log" >&3' EXIT

# The machine's package sources as sources of source packages, with lists and caches of our own: nothing of the
# machine's package management changes, and no rights are needed.
shopt -s nullglob
for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.{list,sources}; do
  [[ -f $file ]] || continue
  sed -E 's/^deb([[:space:]])/deb-src\1/; s/^Types:.*/Types: deb-src/' "$file" >"$work/sources/$(basename "$file")"
done
apt=(apt-get -q -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$work/sources"
  -o Dir::State::lists="$work/lists" -o Dir::Cache="$work/cache" -o APT::Sandbox::User="$(id -un)")
# A third-party source may have no source packages; the next step shows whether ours was found.
"${apt[@]}" update || true
(cd "$work" && "${apt[@]}" source "$source")

folders=("$work"/*/CMakeLists.txt)
cmake -G Ninja -S "$(dirname "${folders[0]}")" -B "$work/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_FLAGS="-fsanitize=thread -fno-omit-frame-pointer" -DCMAKE_INSTALL_PREFIX="$prefix" \
  -DCMAKE_INSTALL_LIBDIR=lib -DTBB_TEST=OFF -DTBBMALLOC_BUILD=OFF -DTBB_STRICT=OFF
cmake --build "$work/build" -j "$(nproc)"
cmake --install "$work/build"
rm -rf "$work"/{cache,lists,build}
echo "$stamp" >"$prefix/version"
