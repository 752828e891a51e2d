#include "morphology/Passes3d.h"

namespace pxl::morphology {

#define PXL_COMPILE(T)                                                                                               \
  template struct MorphologyFilter<Filter3dTag, details::DilationFunctor, T, FacesKernel<details::DilationFunctor>>; \
  template struct MorphologyFilter<Filter3dTag, details::ErosionFunctor, T, FacesKernel<details::ErosionFunctor>>;   \
  template struct MorphologyFilter<Filter3dTag, details::DilationFunctor, T, EdgesKernel<details::DilationFunctor>>; \
  template struct MorphologyFilter<Filter3dTag, details::ErosionFunctor, T, EdgesKernel<details::ErosionFunctor>>;   \
  template struct MorphologyFilter<Filter3dTag, details::DilationFunctor, T,                                         \
                                   CubeKernel<details::DilationFunctor, T>>;                                         \
  template struct MorphologyFilter<Filter3dTag, details::ErosionFunctor, T, CubeKernel<details::ErosionFunctor, T>>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::morphology
