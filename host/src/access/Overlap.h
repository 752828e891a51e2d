#pragma once

#include "pxl/access/VoxelStorage.h"

namespace pxl::access {

/** How the voxels of two windows overlap. */
enum class Overlaps { cNone, cSame, cPartial };

/**
 * cSame if views on both show the same voxels, cNone if they share no byte. Exact for windows with equal strides,
 * such as two halves of one image. For others, ranges of bytes are compared, so that interleaved images of different
 * layout count as overlapping. So do layouts whose dimensions interleave so much that the search would take too long.
 */
Overlaps getOverlap(VoxelSource const& a, VoxelSource const& b);

/**
 * Whether different voxels of a window share bytes, as rows with a stride of 0 do. Also true for layouts whose search
 * would take too long.
 */
bool isOnItself(VoxelSource const& source);

}  // namespace pxl::access
