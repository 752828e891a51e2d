#pragma once

#include "Core/private/Morphology/Neighborhood3dToValueSimd.h"
#include "Core/private/Morphology/RunRecursive.h"
#include "morphology/Neighborhood26PlansReductionSimd.h"

/** The passes of dilations and erosions of volumes, compiled once for the operators that share them. */
namespace pxl::morphology {

template <class Functor, class T>
using CubeKernel = Neighborhood26PlansReductionSimd<Functor, T, SimdVec::arch_128_tag>;

#define PXL_PASSES_3D(EXTERN, Functor, T)                                                                        \
  EXTERN template struct MorphologyFilter<Filter3dTag, SimdVec::arch_128_tag, Functor, T, FacesKernel<Functor>>; \
  EXTERN template struct MorphologyFilter<Filter3dTag, SimdVec::arch_128_tag, Functor, T, EdgesKernel<Functor>>; \
  EXTERN template struct MorphologyFilter<Filter3dTag, SimdVec::arch_128_tag, Functor, T, CubeKernel<Functor, T>>;
#define PXL_COMPILED_ONCE(T)                         \
  PXL_PASSES_3D(extern, details::DilationFunctor, T) \
  PXL_PASSES_3D(extern, details::ErosionFunctor, T)
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILED_ONCE)
#undef PXL_COMPILED_ONCE

}  // namespace pxl::morphology
