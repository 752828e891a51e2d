#pragma once

#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

/** How the voxels of two windows lie to each other. */
enum class Overlaps { cNone, cSame, cPartial };

/**
 * cSame when a view on one shows the same voxels as a view on the other, cNone when they share no byte. Exact for
 * windows of one type with equal strides, each of which steps over all that the smaller ones reach, such as two
 * halves of one image; for others ranges of bytes are compared, so that interleaved images of different layout count
 * as overlapping.
 */
Overlaps getOverlap(VoxelSource const& a, VoxelSource const& b);

}  // namespace pxl::access
