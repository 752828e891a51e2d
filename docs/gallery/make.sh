#!/bin/bash
# Makes the pictures of the gallery anew from images that Debian packages carry: camera.png (public domain, CC0) and
# coins.png of python3-skimage, which is only unpacked, not installed.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$root/build/gallery
mkdir -p "$work"
cd "$work"
if ! compgen -G 'python3-skimage_*.deb' >/dev/null; then
  apt-get download -o APT::Sandbox::User=root python3-skimage
fi
[[ -d unpacked ]] || dpkg-deb -x python3-skimage_*.deb unpacked
data=unpacked/usr/lib/python3/dist-packages/skimage/data
gallery=$root/docs/gallery

qorn() { "$root/run" "$@"; }
cp "$data/camera.png" "$data/coins.png" "$gallery"
for operator in Dilation2d Erosion2d; do
  qorn run "$operator" "$work/$data/camera.png" "$gallery/camera-$operator.png" numberOfIterations=4
  qorn run "$operator" "$work/$data/coins.png" "$gallery/coins-$operator-cross.png" neighborhood=0 numberOfIterations=5
  qorn run "$operator" "$work/$data/coins.png" "$gallery/coins-$operator-square.png" neighborhood=1 numberOfIterations=5
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
