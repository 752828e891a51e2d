#pragma once

#include <algorithm>

#include "wide/MemoryImage.h"
#include "wide/Slabs.h"

/** Images as slices that are computed one by one: planes of two-dimensional operators, else volumes. */
namespace pxl::wide {

inline long countSlices(bool isVolume, MemoryImage const& image) {
  return (isVolume ? 1 : image.sizes[cPlans]) * image.sizes[cSequence] * image.sizes[cSpectralSeries];
}

inline SlabImage getSlice(bool isVolume, MemoryImage const& image, long slice) {
  long const nbPlans = isVolume ? 1 : image.sizes[cPlans];
  long const plan = slice % nbPlans, sequence = slice / nbPlans % image.sizes[cSequence];
  long const spectral = slice / nbPlans / image.sizes[cSequence];
  char* const voxels = image.voxels + plan * image.strides[cPlans] + sequence * image.strides[cSequence] +
                       spectral * image.strides[cSpectralSeries];
  if (isVolume) return {voxels, image.strides[cRows], image.strides[cPlans]};
  return {voxels, 0, image.strides[cRows]};
}

/** What a slice consists of. */
inline SlabBox getSliceBox(bool isVolume, MemoryImage const& image) {
  long const* const sizes = image.sizes;
  return {0, sizes[cColumns], 0, isVolume ? sizes[cRows] : 1, 0, isVolume ? sizes[cPlans] : sizes[cRows]};
}

inline unsigned long countVoxels(MemoryImage const& image) {
  unsigned long nbVoxels = 1;
  for (long size : image.sizes) nbVoxels *= static_cast<unsigned long>(size);
  return nbVoxels;
}

inline bool isEmpty(MemoryImage const& image) {
  return std::any_of(image.sizes, image.sizes + cNbComponents, [](long size) { return size == 0; });
}

}  // namespace pxl::wide
