#pragma once

#include <cstring>
#include <memory>

#include "oracle/Oracle.h"
#include "pxl/Image.h"

/** From the oracle's images to those of the host. */
namespace oracle {

inline pxl::ImageSizes toHostSizes(Five const& sizes) {
  pxl::ImageSizes result;
  for (unsigned long d = 0; d < 5; ++d) result[d] = static_cast<unsigned long>(sizes[d]);
  return result;
}

template <class T>
constexpr pxl::VoxelTypes cHostType = pxl::helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;

/** An image of the host with voxels of its own. */
template <class T>
std::shared_ptr<pxl::Image> toHost(Image<T> const& image, int interpretation = pxl::cGrey) {
  auto const result = pxl::Image::New(cHostType<T>, toHostSizes(image.sizes), interpretation);
  if (!image.voxels.empty()) std::memcpy(result->getVoxels(), image.voxels.data(), image.voxels.size() * sizeof(T));
  return result;
}

}  // namespace oracle
