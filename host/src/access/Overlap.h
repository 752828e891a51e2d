#pragma once

#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

/** How the voxels of two windows lie to each other. */
enum class Overlaps { cNone, cSame, cPartial };

/**
 * cSame when a view on one shows the same voxels as a view on the other, cNone when they share no byte. Exact for
 * windows with equal strides, such as two halves of one image; for others ranges of bytes are compared, so that
 * interleaved images of different layout count as overlapping. So do layouts whose dimensions interleave so much that
 * the search would take long.
 */
Overlaps getOverlap(VoxelSource const& a, VoxelSource const& b);

/** Whether different voxels of a window share bytes, as rows with a stride of 0 do. The same layouts count as such.
 */
bool isOnItself(VoxelSource const& source);

}  // namespace pxl::access
