#pragma once

#include <hwy/highway.h>

#include "wide/RowKernels.h"

/**
 * PXL_WIDE_TARGET_TABLE(name) defines pxl::wide::name(target, type, polarity), which calls name(type, polarity) of
 * the target's namespace. Highway's own choice of a target is made once for a process, in a library of its own.
 */
#define PXL_WIDE_TARGET_TABLE(name)                                              \
  namespace pxl::wide {                                                          \
  RowKernels const* name(Targets target, VoxelTypes type, Polarities polarity) { \
    return target == Targets::cSse4   ? N_SSE4::name(type, polarity)             \
           : target == Targets::cAvx2 ? N_AVX2::name(type, polarity)             \
                                      : N_AVX3::name(type, polarity);            \
  }                                                                              \
  }
