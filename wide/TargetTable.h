#pragma once

#include <hwy/highway.h>

#include "wide/RowKernels.h"

/** A call of a function of a target's namespace. */
#define PXL_WIDE_OF_TARGET(target, call) \
  (target == Targets::cSse4 ? N_SSE4::call : target == Targets::cAvx2 ? N_AVX2::call : N_AVX3::call)

/**
 * PXL_WIDE_TARGET_TABLE(name) defines pxl::wide::name(target, type, polarity), which calls name(type, polarity) of
 * the target's namespace. Highway's own choice of a target is made once for a process, in a library of its own.
 */
#define PXL_WIDE_TARGET_TABLE(name)                                              \
  namespace pxl::wide {                                                          \
  RowKernels const* name(Targets target, VoxelTypes type, Polarities polarity) { \
    return PXL_WIDE_OF_TARGET(target, name(type, polarity));                     \
  }                                                                              \
  }
