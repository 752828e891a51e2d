#!/bin/bash
# Installs a build, then configures, builds and runs the project in this folder with what was installed.
# run.sh CMAKE BUILD_FOLDER LIBRARY_FOLDER CMAKE_ARGUMENTS...
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
cmake=$1 build=$2 library_folder=$3
shift 3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

"$cmake" --install "$build" --prefix "$prefix" >"$work/log" || { cat "$work/log"; exit 1; }
# Away from the sources, so that no path into them works by chance.
cp -r "$here" "$work/source"
"$cmake" -S "$work/source" -B "$work/build" -Dpxlworks_DIR="$prefix/$library_folder/cmake/pxlworks" "$@"
"$cmake" --build "$work/build"

python3 -B "$here/../checks/check_run_paths.py" "$prefix"

# The package must not lead back into the build folder or the sources.
if grep -rlF "$build" "$prefix/$library_folder/cmake"; then
  echo "the files above of the package name the build folder"
  exit 1
fi

for library in object_model pxl pxl_qorn pxl_elements; do
  file=$prefix/$library_folder/libpxlworks_$library.so
  readelf -d "$file" | grep -qE "R(UN)?PATH.*\[[$]ORIGIN[]:]" || { echo "$file doesn't search beside itself"; exit 1; }
done

"$work/build/consumer" "$work/build/libpxlworks_pxl_consumer.so"
[[ ! -x $prefix/bin/qorn ]] || "$prefix/bin/qorn" --version
