#pragma once

#include "Core/private/Morphology/Neighborhood3dToValueSimd.h"
#include "Core/private/Morphology/RunRecursive.h"
#include "morphology/Neighborhood26PlansReductionSimd.h"

/** The passes of dilations and erosions of volumes, compiled once for the operators that share them. */
namespace pxl::morphology {

template <class Functor, class T>
using CubeKernel = Neighborhood26PlansReductionSimd<Functor, T, SimdVec::arch_128_tag>;

#define PXL_COMPILED_ONCE(T)                                                        \
  extern template struct MorphologyFilter<Filter3dTag, details::DilationFunctor, T, \
                                          FacesKernel<details::DilationFunctor>>;   \
  extern template struct MorphologyFilter<Filter3dTag, details::ErosionFunctor, T,  \
                                          FacesKernel<details::ErosionFunctor>>;    \
  extern template struct MorphologyFilter<Filter3dTag, details::DilationFunctor, T, \
                                          EdgesKernel<details::DilationFunctor>>;   \
  extern template struct MorphologyFilter<Filter3dTag, details::ErosionFunctor, T,  \
                                          EdgesKernel<details::ErosionFunctor>>;    \
  extern template struct MorphologyFilter<Filter3dTag, details::DilationFunctor, T, \
                                          CubeKernel<details::DilationFunctor, T>>; \
  extern template struct MorphologyFilter<Filter3dTag, details::ErosionFunctor, T,  \
                                          CubeKernel<details::ErosionFunctor, T>>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILED_ONCE)
#undef PXL_COMPILED_ONCE

}  // namespace pxl::morphology
