#pragma once

#include "pxl/ImageModel.h"
#include "pxl/VoxelTypes.h"

namespace pxl::wide {

/** The voxels of an image or of a window of one, where they are in memory. */
struct MemoryImage {
  char* voxels;                 ///< of voxel 0; of an input not to be written
  long strides[cNbComponents];  ///< bytes
  long sizes[cNbComponents];
};

/**
 * Why the rows of an image can't be read and written where they are, for users; null if they can: its voxels are in
 * memory, of its own type, and at addresses that are multiples of their size.
 */
char const* findObstacle(ImageModel const& image);

/** Of an image without obstacle, as long as it or a view on it lives. */
MemoryImage getMemoryImage(ImageModel const& image);

}  // namespace pxl::wide
