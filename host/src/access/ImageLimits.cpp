#include "access/ImageLimits.h"

#include <string>

#include "Raise.h"
#include "pxl/Limits.h"

namespace pxl::access {

void setKeyStrides(StorageKey& key, ImageSizes const& sizes, ImageStrides const& strides) {
  for (std::size_t i = 0; i < cNbComponents; ++i) key.strides[i] = sizes[i] == 1 ? 0 : strides[i];
}

unsigned long checkLimits(VoxelTypes type, ImageSizes const& sizes) {
  if (!helper::isImageType(type))
    PXL_RAISE(InvalidCall, std::string("there are no images of type ") + helper::getNameOf(type));
  bool isEmpty = false;
  for (unsigned long size : sizes) {
    if (size > limits::cMaxSize)
      PXL_RAISE(InvalidCall,
                "an image has at most " + std::to_string(limits::cMaxSize) + " voxels in each dimension");
    isEmpty = isEmpty || size == 0;
  }
  if (isEmpty) return 0;
  unsigned long nbVoxels = 1;
  for (unsigned long size : sizes) {
    if (nbVoxels > limits::cMaxNbVoxels / size) PXL_RAISE(InvalidCall, "an image has at most 2^40 voxels");
    nbVoxels *= size;
  }
  return nbVoxels * helper::getSizeOf(type);
}

}  // namespace pxl::access
