#!/bin/bash
# Compares results of the program for 64-bit ARM, under emulation, with those of the program for x86 and its runners
# `sse41`, bit by bit: compare.sh QORN_FOR_X86 QORN_FOR_ARM
set -euo pipefail
x86=$1
arm=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# nan.npy has NaN of both signs, infinities and zeros of both signs.
/usr/bin/python3 - "$folder" <<'END'
import sys

import numpy

random = numpy.random.default_rng(7)
shape = (3, 201, 305)
for name in ("uint8", "uint16", "int32", "float32", "float64"):
    numpy.save(f"{sys.argv[1]}/{name}.npy", (random.random(shape) * 250).astype(name))
    numpy.save(f"{sys.argv[1]}/other_{name}.npy", (random.random(shape) * 250).astype(name))
special = (random.random(shape) * 250).astype("float32")
for value in (numpy.nan, -numpy.nan, numpy.inf, -numpy.inf, 0.0, -0.0):
    special[random.random(shape) < 0.01] = value
numpy.save(f"{sys.argv[1]}/nan.npy", special)
END

# Where a sum of infinities makes a NaN, its sign is the processor's: with compare=compare_numbers one NaN equals another.
compare_bits() { cmp -s "$@"; }
compare_numbers() {
  /usr/bin/python3 - "$@" <<'END'
import sys

import numpy

first, second = (numpy.load(name) for name in sys.argv[1:])
numbers = ~numpy.isnan(first)
same = first[numbers].tobytes() == second[numbers].tobytes() and (numpy.isnan(second) == ~numbers).all()
sys.exit(not same)
END
}
compare=compare_bits
nbDifferent=0
# same INPUT... -- OPERATOR ARGUMENTS...: the same output file or, of a measure, text
same() {
  local inputs=()
  while [[ $1 != -- ]]; do inputs+=("$folder/$1.npy") && shift; done
  shift
  local operator=$1 outputs=("$folder/x86.npy" "$folder/arm.npy")
  shift
  [[ $operator != IntensityExtrema ]] || outputs=("" "")
  "$x86" run "$operator" "${inputs[@]}" ${outputs[0]:+"${outputs[0]}"} "$@" --quiet --runner sse41 >"$folder/x86.txt"
  qemu-aarch64 "$arm" run "$operator" "${inputs[@]}" ${outputs[1]:+"${outputs[1]}"} "$@" --quiet >"$folder/arm.txt"
  local result=same
  cmp -s "$folder/x86.txt" "$folder/arm.txt" || result=DIFFERENT
  [[ -z ${outputs[0]} ]] || $compare "${outputs[@]}" || result=DIFFERENT
  [[ $result == same ]] || nbDifferent=$((nbDifferent + 1))
  echo "$result: $operator $* (${inputs[*]##*/})"
}

box="0.2 0.3 0.1 0.2 0.3; 0.1 0.3 0.7 0.1 0.1; 0.4 0.2 0.3 0.1 0.9; 0.1 0.3 0.7 0.1 0.1; 0.3 0.1 0.3 0.9 0.1"
for image in uint8 uint16 int32 float32 float64 nan; do
  for neighborhood in cross square; do
    same $image -- Dilation2d neighborhood=$neighborhood numberOfIterations=10
    same $image -- Erosion2d neighborhood=$neighborhood
  done
  same $image -- Dilation3d neighborhood=18 numberOfIterations=2
  same $image -- DilationDisk2d radius=10 shapeMode=exact
  same $image -- ErosionDisk2d radius=9 shapeMode=fast
  same $image -- DilationBall3d radius=3 shapeMode=exact
  same $image -- ErosionLine2d lineSize=21 lineAngle=30
  same $image -- Open "element=ball(2)"
  [[ $image != nan ]] || compare=compare_numbers
  same $image -- FiniteImpulseResponseFilter2D kernel="$box"
  same $image -- FiniteImpulseResponseFilter2D "kernel=gauss(0.8)"
  same $image -- FiniteImpulseResponseFilter3D "kernel=box(3)"
  compare=compare_bits
  # With NaN the extrema depend on how the work is split.
  [[ $image == nan ]] || same $image -- IntensityExtrema analysisDimensions=plans
done
for type in uint8 uint16 int32; do
  same $type other_$type -- LogicalOperationWithImage logicalOperator=xor
  same $type -- LogicalOperationWithValue logicalOperator=nand value=99
done
echo "$nbDifferent different"
((nbDifferent == 0))
