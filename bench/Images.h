#pragma once

#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "Paired.h"
#include "pxl/Image.h"

namespace bench {

template <class T>
constexpr pxl::VoxelTypes cType = pxl::helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;

using ImagePointer = std::shared_ptr<pxl::Image>;

/** Random voxels from 1 to 250: they never fill the range of their type, which would end a search for extrema. */
template <class T>
ImagePointer makeImage(pxl::ImageSizes const& sizes) {
  auto image = pxl::Image::New(cType<T>, sizes);
  T* const voxels = static_cast<T*>(image->getVoxels());
  std::mt19937 random(7);
  for (unsigned long i = 0; i < sizes[0] * sizes[1] * sizes[2]; ++i) voxels[i] = static_cast<T>(1 + random() % 250);
  return image;
}

template <class T>
T const* getVoxels(ImagePointer const& image) {
  return static_cast<T const*>(static_cast<pxl::Image const&>(*image).getVoxels());
}

inline long countCols(ImagePointer const& image) { return static_cast<long>(image->getNumOf(pxl::cColumns)); }
/** Rows of all plans. */
inline long countRows(ImagePointer const& image) {
  return static_cast<long>(image->getNumOf(pxl::cRows) * image->getNumOf(pxl::cPlans));
}

/** A plain copy of an image, on one thread. */
template <class T>
Side makeCopy(ImagePointer image) {
  auto target = std::make_shared<std::vector<T>>(static_cast<std::size_t>(countCols(image) * countRows(image)));
  return [image, target] { std::memcpy(target->data(), getVoxels<T>(image), target->size() * sizeof(T)); };
}

}  // namespace bench
