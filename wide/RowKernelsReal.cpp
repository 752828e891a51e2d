// Compiled once for each target, see hwy/foreach_target.h.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "wide/RowKernelsReal.cpp"
#include <hwy/foreach_target.h>
// after it
#include "wide/RowKernels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pxl::wide::HWY_NAMESPACE {

RowKernels const* getRowKernelsReal(VoxelTypes type, Polarities polarity) {
  return type == cFloat ? kernelsOf<float>(polarity) : kernelsOf<double>(polarity);
}

}  // namespace pxl::wide::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "wide/TargetTable.h"
PXL_WIDE_TARGET_TABLE(getRowKernelsReal)
#endif
