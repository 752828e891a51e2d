#!/bin/bash
# Instructions per voxel of an operator on one thread, for each voxel type, counted by callgrind:
#   bench/count_instructions.sh QORN OPERATOR [name=value ...]
# "kernel" is the count of the innermost functions of the plug-in (computeRow, reduce and scan), "all" that of the
# whole run from file to file. Both are slopes between two large image sizes, so that one-time costs cancel. An
# operator with two input images gets the same image twice.
set -euo pipefail
qorn=$(realpath "$1")
operator=$2
shift 2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
inputs=$("$qorn" operators "$operator" --json | grep -c '"input image"')

cat >make.py <<'EOF'
import random, sys
descr, rows, path = sys.argv[1], int(sys.argv[2]), sys.argv[3]
size = int(descr[2])
random.seed(1)
header = "{'descr': '%s', 'fortran_order': False, 'shape': (%d, 1024), }" % (descr, rows)
header += ' ' * (63 - (10 + len(header)) % 64) + '\n'
voxels = random.randbytes(rows * 1024 * size)
if descr[1] == 'f':  # the same exponent everywhere: neither NaN nor denormal
    top = bytes([0, 63]) if size == 4 else bytes([240, 63])
    voxels = b''.join(voxels[i:i + size - 2] + top for i in range(0, len(voxels), size))
open(path, 'wb').write(b'\x93NUMPY\x01\x00' + len(header).to_bytes(2, 'little') + header.encode() + voxels)
EOF

# count ROWS: instructions of the kernel and of all
count() {
  python3 make.py "$descr" "$1" in.npy
  local images=(in.npy)
  [ "$inputs" = 2 ] && images+=(in.npy)
  valgrind --tool=callgrind --callgrind-out-file=out.prof "$qorn" run "$operator" "${images[@]}" out.npy "${@:2}" \
    --threads=1 --quiet >log 2>&1 || { grep '^qorn: ' log >&2 || cat log >&2; exit 1; }
  callgrind_annotate --threshold=100 --auto=no out.prof | awk '
    { gsub(",", ""); sub(/^ +/, "") }
    /PROGRAM TOTALS/ { all = $1 }
    /(computeRow|::reduce|::scan)/ { kernel += $1 }
    END { printf "%.0f %.0f\n", kernel, all }'
}

printf '%s %s\n%-8s %8s %8s\n' "$operator" "$*" type kernel all
for descr in '|u1' '<u2' '<u4' '|i1' '<i2' '<i4' '<f4' '<f8'; do
  small=$(count 1024 "$@") || { echo "${descr#?}: not accepted"; continue; }
  large=$(count 2048 "$@")
  echo "$small $large ${descr#?}" | awk '{ v = 1024 * 1024; printf "%-8s %8.3f %8.3f\n", $5, ($3 - $1) / v, ($4 - $2) / v }'
done
