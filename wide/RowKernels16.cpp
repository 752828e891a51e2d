// Compiled once for each target, see hwy/foreach_target.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "wide/RowKernels16.cpp"
#include <hwy/foreach_target.h>
// after it
#include "wide/RowKernels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

RowKernels const* getRowKernels16(VoxelTypes type, Polarities polarity) {
  return type == cUnsignedInteger16 ? kernelsOf<unsigned short>(polarity) : kernelsOf<short>(polarity);
}

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "wide/TargetTable.h"
PXL_WIDE_TARGET_TABLE(getRowKernels16)
#endif
