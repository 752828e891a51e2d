#pragma once

#include <algorithm>

namespace qorn::io {

/** Turns the bytes of each voxel round. */
inline void swapBytes(char* voxels, unsigned long count, unsigned long voxelBytes) {
  for (unsigned long i = 0; i < count; ++i, voxels += voxelBytes) std::reverse(voxels, voxels + voxelBytes);
}

}  // namespace qorn::io
