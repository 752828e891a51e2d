#pragma once

#include "pxl/VoxelTypes.h"

namespace pxl::access {

/** A C++ voxel type as an argument. */
template <class T>
struct VoxelTypeTag {
  using Type = T;
};

/**
 * Turns a run-time voxel type into a type: returns visit(VoxelTypeTag<T>()), or otherwise() for a value of which
 * there are no images.
 */
template <class Visit, class Otherwise>
auto visitVoxelType(VoxelTypes type, Visit&& visit, Otherwise&& otherwise) {
  switch (type) {
#define PXL_CASE(T)                                    \
  case helper::DataTypeToVoxelTypeEnum<T>::cVoxelType: \
    return visit(VoxelTypeTag<T>());
    PXL_FOR_EACH_VOXEL_TYPE(PXL_CASE)
#undef PXL_CASE
    default:
      return otherwise();
  }
}

}  // namespace pxl::access
