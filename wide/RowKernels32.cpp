// Compiled once for each target, see hwy/foreach_target.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "wide/RowKernels32.cpp"
#include <hwy/foreach_target.h>
// after it
#include "wide/RowKernels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

RowKernels const* getRowKernels32(VoxelTypes type, Polarities polarity) {
  return type == cUnsignedInteger32 ? kernelsOf<unsigned int>(polarity) : kernelsOf<int>(polarity);
}

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "wide/TargetTable.h"
PXL_WIDE_TARGET_TABLE(getRowKernels32)
#endif
