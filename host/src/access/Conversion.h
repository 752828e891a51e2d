#pragma once

#include "pxl/VoxelTypes.h"

namespace pxl::access {

/**
 * Converts `count` voxels from one buffer to another. Integers saturate; reals round half to even and saturate, and
 * NaN becomes 0.
 */
using Converter = void (*)(void* to, void const* from, long count);

/** The converter between two types of images; null if they are equal. */
Converter getConverter(VoxelTypes to, VoxelTypes from);

}  // namespace pxl::access
