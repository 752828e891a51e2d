#pragma once

#include "pxl/Image.h"
#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

/** The strides that identify a place: 0 in dimensions of size 1. */
void setKeyStrides(StorageKey& key, ImageSizes const& sizes, ImageStrides const& strides);

/**
 * Number of voxels * bytes per voxel. @throws InvalidCall a limit of the host is exceeded or the type has no images
 */
unsigned long checkLimits(VoxelTypes type, ImageSizes const& sizes);

}  // namespace pxl::access
