#pragma once

#include "Core/private/Morphology/Neighborhood2dToValueSimd.h"
#include "Core/private/Morphology/RunRecursive.h"
#include "morphology/Neighborhood8ColumnsReductionSimd.h"

/** The passes of dilations and erosions of plans, compiled once for the operators that share them. */
namespace pxl::morphology {

template <class Functor, class T>
using SquareKernel = Neighborhood8ColumnsReductionSimd<Functor, T, SimdVec::arch_128_tag>;

#define PXL_COMPILED_ONCE(T)                                                          \
  extern template struct MorphologyFilter<Filter2dTag, details::DilationFunctor, T,   \
                                          CrossKernel<details::DilationFunctor>>;     \
  extern template struct MorphologyFilter<Filter2dTag, details::ErosionFunctor, T,    \
                                          CrossKernel<details::ErosionFunctor>>;      \
  extern template struct MorphologyFilter<Filter2dTag, details::DilationFunctor, T,   \
                                          SquareKernel<details::DilationFunctor, T>>; \
  extern template struct MorphologyFilter<Filter2dTag, details::ErosionFunctor, T,    \
                                          SquareKernel<details::ErosionFunctor, T>>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILED_ONCE)
#undef PXL_COMPILED_ONCE

}  // namespace pxl::morphology
