#pragma once

#include "wide/RowKernels.h"

/** The smallest and the largest voxel of rows, for one voxel type and set of instructions. */
namespace pxl::wide {

/** What is known of voxels; exact for all types with kernels. */
struct Extrema {
  double minimum;
  double maximum;
  bool hasNaN;
  // Looked for where the smallest or the largest voxel is zero.
  bool hasPlusZero;
  bool hasMinusZero;
};

struct ExtremaKernel {
  /** Of no voxels: the largest and the lowest finite value, so that an infinity is a result only where it differs. */
  Extrema none;
  bool isOfIntegers;
  /**
   * The extrema of rows of adjacent voxels. A NaN is skipped.
   * @param stride  bytes from one row to the next
   */
  Extrema (*scan)(char const* rows, long stride, long nbRows, long nbVoxels);
};

/** Null for a type without kernels. */
ExtremaKernel const* getExtremaKernel(Targets target, VoxelTypes type);

}  // namespace pxl::wide
