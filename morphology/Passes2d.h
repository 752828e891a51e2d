#pragma once

#include "Core/private/Morphology/Neighborhood2dToValueSimd.h"
#include "Core/private/Morphology/RunRecursive.h"
#include "morphology/Neighborhood8ColumnsReductionSimd.h"

/** The passes of dilations and erosions of plans, compiled once for the operators that share them. */
namespace pxl::morphology {

template <class Functor, class T>
using SquareKernel = Neighborhood8ColumnsReductionSimd<Functor, T, SimdVec::arch_128_tag>;

#define PXL_PASSES_2D(EXTERN, Functor, T)                                                                        \
  EXTERN template struct MorphologyFilter<Filter2dTag, SimdVec::arch_128_tag, Functor, T, CrossKernel<Functor>>; \
  EXTERN template struct MorphologyFilter<Filter2dTag, SimdVec::arch_128_tag, Functor, T, SquareKernel<Functor, T>>;
#define PXL_COMPILED_ONCE(T)                         \
  PXL_PASSES_2D(extern, details::DilationFunctor, T) \
  PXL_PASSES_2D(extern, details::ErosionFunctor, T)
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILED_ONCE)
#undef PXL_COMPILED_ONCE

}  // namespace pxl::morphology
