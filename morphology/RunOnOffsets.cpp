#include "morphology/RunOnOffsets.h"

namespace pxl::morphology {

#define PXL_COMPILE(T)                                                                                              \
  template struct MorphologyFilter<Filter2dTag, details::DilationFunctor, T,                                        \
                                   ListKernel2d<details::DilationFunctor>>;                                         \
  template struct MorphologyFilter<Filter2dTag, details::ErosionFunctor, T, ListKernel2d<details::ErosionFunctor>>; \
  template struct MorphologyFilter<Filter3dTag, details::DilationFunctor, T,                                        \
                                   ListKernel3d<details::DilationFunctor>>;                                         \
  template struct MorphologyFilter<Filter3dTag, details::ErosionFunctor, T, ListKernel3d<details::ErosionFunctor>>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::morphology
