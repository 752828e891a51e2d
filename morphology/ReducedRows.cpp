// Row memos for the eight voxel types, compiled once.
#include "morphology/ReducedRows.h"

namespace pxl::morphology {

#define PXL_COMPILE(T)                                   \
  template struct ReducedRows<T, SimdVec::arch_128_tag>; \
  template struct PlanStarts<T>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::morphology
