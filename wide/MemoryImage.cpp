#include "wide/MemoryImage.h"

namespace pxl::wide {

char const* findObstacle(ImageModel const& image) {
  access::VoxelSource const source = image.getSource();
  char const* const memory = source.storage->getMemory();
  if (!memory || source.storage->isOnDisk()) return "an image isn't in memory";
  VoxelTypes const type = image.getVoxelType();
  auto const size = static_cast<long>(helper::getSizeOf(type));
  if (source.storage->getVoxelType() != type) return "an image is converted";
  bool isAligned = reinterpret_cast<unsigned long>(memory) % static_cast<unsigned long>(size) == 0;
  for (int i = cRows; i < cNbComponents; ++i)
    isAligned = isAligned && (source.size[i] <= 1 || source.storage->getStrides()[i] % size == 0);
  return isAligned ? nullptr : "the voxels of an image aren't aligned";
}

MemoryImage getMemoryImage(ImageModel const& image) {
  access::VoxelSource const source = image.getSource();
  MemoryImage result{};
  // Whether an image may be written was asked when the view on it was made.
  result.voxels = const_cast<char*>(source.storage->getMemory());
  for (int i = 0; i < cNbComponents; ++i) {
    // The stride of a single voxel may be anything.
    long const stride = source.storage->getSizes()[i] <= 1 ? 0 : source.storage->getStrides()[i];
    result.strides[i] = i == cColumns ? static_cast<long>(helper::getSizeOf(image.getVoxelType())) : stride;
    result.sizes[i] = static_cast<long>(source.size[i]);
    result.voxels += static_cast<long>(source.begin[i]) * result.strides[i];
  }
  return result;
}

}  // namespace pxl::wide
