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
