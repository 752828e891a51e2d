#include "morphology/RunOnOffsets.h"

namespace pxl::morphology {

#define PXL_COMPILE(T)                               \
  PXL_PASSES_OF_LISTS(, details::DilationFunctor, T) \
  PXL_PASSES_OF_LISTS(, details::ErosionFunctor, T)
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::morphology
