#pragma once

#include <algorithm>

namespace qorn::io {

/** Reverses the bytes of each voxel. */
inline void swapBytes(char* voxels, unsigned long count, unsigned long voxelBytes) {
  for (unsigned long i = 0; i < count; ++i, voxels += voxelBytes) std::reverse(voxels, voxels + voxelBytes);
}

}  // namespace qorn::io
