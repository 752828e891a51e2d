#pragma once

#include "pxl/Image.h"
#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

/** The strides as they identify a place: those of dimensions of size 1 play no part. */
void setKeyStrides(StorageKey& key, ImageSizes const& sizes, ImageStrides const& strides);

/** Voxels times bytes per voxel. @throws InvalidCall a limit of the host is exceeded or the type has no images */
unsigned long checkLimits(VoxelTypes type, ImageSizes const& sizes);

}  // namespace pxl::access
