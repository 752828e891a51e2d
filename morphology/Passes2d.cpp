#include "morphology/Passes2d.h"

namespace pxl::morphology {

#define PXL_COMPILE(T)                                                                                               \
  template struct MorphologyFilter<Filter2dTag, details::DilationFunctor, T, CrossKernel<details::DilationFunctor>>; \
  template struct MorphologyFilter<Filter2dTag, details::ErosionFunctor, T, CrossKernel<details::ErosionFunctor>>;   \
  template struct MorphologyFilter<Filter2dTag, details::DilationFunctor, T,                                         \
                                   SquareKernel<details::DilationFunctor, T>>;                                       \
  template struct MorphologyFilter<Filter2dTag, details::ErosionFunctor, T, SquareKernel<details::ErosionFunctor, T>>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::morphology
