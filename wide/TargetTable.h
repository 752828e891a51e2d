#pragma once

#include <hwy/highway.h>

#include "wide/RowKernels.h"

namespace pxl::wide {

/** A set of instructions, by the name that users give it. */
struct NamedTarget {
  Targets target;
  char const* name;
  int level;  ///< that the processor must have, by the host's scale
};

}  // namespace pxl::wide

/**
 * cTargets are the sets that this unit is compiled for. PXL_WIDE_OF_TARGET is a call of a function of a target's
 * namespace.
 */
#if HWY_ARCH_X86
namespace pxl::wide {
inline constexpr NamedTarget cTargets[] = {
    {Targets::cSse4, "sse4", 96}, {Targets::cAvx2, "avx2", 128}, {Targets::cAvx512, "avx512", 144}};
}  // namespace pxl::wide
#define PXL_WIDE_OF_TARGET(target, call) \
  (target == Targets::cSse4 ? N_SSE4::call : target == Targets::cAvx2 ? N_AVX2::call : N_AVX3::call)
#else
// All processors of 64-bit ARM have it.
namespace pxl::wide {
inline constexpr NamedTarget cTargets[] = {{Targets::cNeon, "neon", 0}};
}  // namespace pxl::wide
#define PXL_WIDE_OF_TARGET(target, call) ((void)(target), HWY_STATIC_DISPATCH(call))
#endif

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
