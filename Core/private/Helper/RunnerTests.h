#pragma once

#include "pxl/VoxelTypes.h"

/** The tests of which the acceptance rules of runners consist. */
namespace pxl::helper {

/** Whether a type is one of the integers for which there are kernels: up to 32 bits. */
inline bool isIntegerVoxelType(int type) {
  switch (type) {
    case cUnsignedInteger8:
    case cUnsignedInteger16:
    case cUnsignedInteger32:
    case cInteger8:
    case cInteger16:
    case cInteger32:
      return true;
    default:
      return false;
  }
}

inline bool isRealVoxelType(int type) { return type == cFloat || type == cDouble; }

/** Whether float holds every voxel of a type exactly. As a mask of the numbers of the types: 0x133. */
inline bool isExactInFloat(int type) {
  switch (type) {
    case cUnsignedInteger8:
    case cUnsignedInteger16:
    case cInteger8:
    case cInteger16:
    case cFloat:
      return true;
    default:
      return false;
  }
}

/** One of the eight types for which there are kernels. */
inline bool isKernelVoxelType(int type) { return isIntegerVoxelType(type) || isRealVoxelType(type); }

}  // namespace pxl::helper
