#pragma once

#include "pxl/VoxelTypes.h"

namespace pxl::access {

/**
 * Converts `count` voxels to another place: integers saturate, reals round half to even and saturate, NaN becomes 0.
 */
using Converter = void (*)(void* to, void const* from, long count);

/** The converter between two types of images; null when they are equal. */
Converter getConverter(VoxelTypes to, VoxelTypes from);

}  // namespace pxl::access
