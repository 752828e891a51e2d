#!/bin/bash
# Makes the pictures of the gallery from images that Debian packages carry: camera.png (public domain, CC0) and
# coins.png of python3-skimage, and a head of insighttoolkit5-examples (Apache-2.0). The packages are only unpacked,
# not installed.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$root/build/gallery
mkdir -p "$work"
cd "$work"
for package in python3-skimage insighttoolkit5-examples; do
  compgen -G "${package}_*.deb" >/dev/null || apt-get download -o APT::Sandbox::User=root "$package"
  [[ -d unpacked/usr/share/doc/$package ]] || dpkg-deb -x "$package"_*.deb unpacked
done
data=$work/unpacked/usr/lib/python3/dist-packages/skimage/data
gallery=$root/docs/gallery

qorn() { "$root/run" "$@"; }
cp "$data/camera.png" "$data/coins.png" "$gallery"
for operator in Dilation2d Erosion2d; do
  qorn run "$operator" "$data/camera.png" "$gallery/camera-$operator.png" numberOfIterations=4
  qorn run "$operator" "$data/coins.png" "$gallery/coins-$operator-cross.png" neighborhood=0 numberOfIterations=5
  qorn run "$operator" "$data/coins.png" "$gallery/coins-$operator-square.png" neighborhood=1 numberOfIterations=5
done

# A mask of the bright voxels, its outline, and the outline drawn into the image.
qorn run LogicalOperationWithValue "$gallery/coins.png" "$gallery/coins-mask.png" value=128 logicalOperator=0
qorn run Dilation2d "$gallery/coins-mask.png" "$work/grown.png" numberOfIterations=2
qorn run LogicalOperationWithImage "$work/grown.png" "$gallery/coins-mask.png" "$gallery/coins-outline.png" \
  logicalOperator=6
qorn run LogicalOperationWithImage "$gallery/coins.png" "$gallery/coins-outline.png" "$gallery/coins-or.png" \
  logicalOperator=1
qorn run LogicalOperationWithImage "$gallery/coins.png" "$gallery/coins-outline.png" "$gallery/coins-sub.png" \
  logicalOperator=6

# Three cuts through the middle of a volume, side by side. An "or" with 0 turns the .npy file into a PNG.
cut() {
  /usr/bin/python3 "$root/docs/gallery/cuts.py" "$1" cuts.npy
  qorn run LogicalOperationWithValue cuts.npy "$2" value=0 logicalOperator=1
}
head=unpacked/usr/share/doc/insighttoolkit5-examples/examples/Data/KmeansTest_T1UCharRaw.nii.gz
qorn run LogicalOperationWithValue "$head" head.npy value=0 logicalOperator=1
cut head.npy "$gallery/head.png"
for operator in Dilation3d Erosion3d; do
  for neighborhood in 0 2; do
    qorn run "$operator" "$head" "$operator.npy" neighborhood=$neighborhood numberOfIterations=3
    cut "$operator.npy" "$gallery/head-$operator-$neighborhood.png"
  done
done

# Structuring elements: draw NAME ELEMENT..., where an element is "OPERATOR name=value ...".
draw() {
  local name=$1 masks=() element
  shift
  for element in "$@"; do
    # shellcheck disable=SC2086
    qorn element $element --output "mask-${#masks[@]}.npy" >&2
    masks+=("mask-${#masks[@]}.npy")
  done
  /usr/bin/python3 "$root/docs/gallery/elements.py" drawn.npy "${masks[@]}"
  qorn run LogicalOperationWithValue drawn.npy "$gallery/elements-$name.png" value=0 logicalOperator=1
}
for mode in 0 1; do
  draw "disks-$mode" "DilationDisk2d radius="{1,2,3,5,10,15}" shapeMode=$mode"
  draw "ball-$mode" "DilationBall3d radius=10 shapeMode=$mode"
done
draw lines "DilationLine2d lineSize=15 lineAngle="{0,20,45,70,90,135}
draw oriented "DilationDisk3d radius=10 firstAngle=30 secondAngle=45"

# What they make of an image and of a volume.
qorn run DilationLine2d "$data/camera.png" "$gallery/camera-DilationLine2d.png" lineSize=21 lineAngle=30
qorn run ErosionLine2d "$data/camera.png" "$gallery/camera-ErosionLine2d.png" lineSize=21 lineAngle=90
for kind in Dilation Erosion; do
  for mode in 0 1; do
    qorn run ${kind}Disk2d "$data/coins.png" "$gallery/coins-${kind}Disk2d-$mode.png" radius=10 shapeMode=$mode
    qorn run ${kind}Ball3d "$head" ball.npy radius=6 shapeMode=$mode
    cut ball.npy "$gallery/head-${kind}Ball3d-$mode.png"
  done
  qorn run ${kind}Disk3d "$head" disk.npy radius=8 firstAngle=30 secondAngle=45
  cut disk.npy "$gallery/head-${kind}Disk3d.png"
  qorn run ${kind}Line3d "$head" line.npy lineSize=15 firstAngle=30 secondAngle=45
  cut line.npy "$gallery/head-${kind}Line3d.png"
done

# Compositions, and an element on voxels that are longer from plan to plan.
draw ellipsoid "ellipsoid(10,1,1,1)" "ellipsoid(10,2.5,1,1)"
qorn open "$data/coins.png" "$gallery/coins-open.png" --element "disk(12)"
qorn white-tophat "$data/camera.png" "$gallery/camera-white-tophat.png" --element "disk(5)"
qorn gradient "$head" gradient.npy --element "ball(1)"
cut gradient.npy "$gallery/head-gradient.png"

# Correlations. gauss DIMENSIONS SIGMA REACH prints a kernel whose coefficients sum up to 1.
gauss() {
  /usr/bin/python3 -c '
import math, sys
dimensions, sigma, reach = int(sys.argv[1]), float(sys.argv[2]), int(sys.argv[3])
line = [math.exp(-i * i / (2 * sigma * sigma)) for i in range(-reach, reach + 1)]
line = [value / sum(line) for value in line]
rows = lambda scale: "; ".join(" ".join(repr(scale * a * b) for b in line) for a in line)
print(rows(1) if dimensions == 2 else " | ".join(rows(a) for a in line))' "$@"
}
fir2d() { qorn run FiniteImpulseResponseFilter2D "$data/camera.png" "$gallery/camera-$1.png" kernel="$2"; }
fir2d gauss "$(gauss 2 2.5 7)"
fir2d sobel "-1 0 1; -2 0 2; -1 0 1"
fir2d laplace "1 1 1; 1 -8 1; 1 1 1"
fir2d motion "0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04 0.04"
qorn run FiniteImpulseResponseFilter3D "$head" gauss.npy kernel="$(gauss 3 1.5 4)"
cut gauss.npy "$gallery/head-gauss.png"

/usr/bin/python3 -B "$gallery/program.py"

# The ground that "./run" measures, each 5 m of height one step of grey.
"$root/run" >/dev/null
qorn run FiniteImpulseResponseFilter2D "$root/build/run/elevation.npy" "$gallery/elevation.png" kernel=0.2 \
  --output-type uint8
