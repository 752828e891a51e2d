#pragma once

#include <utility>
#include <vector>

#include "Core/private/Morphology/Neighborhood2dToValueSimd.h"
#include "Core/private/Morphology/Neighborhood3dToValueSimd.h"
#include "Core/private/Morphology/RunRecursive.h"

namespace pxl::morphology {

/** One pass over the images of an algorithm with a list of offsets, plan by plan. */
template <class Functor, class T, class Algo>
void runOnOffsets(Algo* algorithm, std::vector<kernel::Offset2D> offsets) {
  ListKernel2d<Functor> element(std::move(offsets));
  runRecursive<Filter2dTag, SimdVec::arch_128_tag, Functor, T>(algorithm, element, 1);
}

/** The same in the volume. */
template <class Functor, class T, class Algo>
void runOnOffsets(Algo* algorithm, std::vector<kernel::Offset3D> offsets) {
  ListKernel3d<Functor> element(std::move(offsets));
  runRecursive<Filter3dTag, SimdVec::arch_128_tag, Functor, T>(algorithm, element, 1);
}

// Compiled once for the operators that share them, in RunOnOffsets.cpp.
#define PXL_PASSES_OF_LISTS(EXTERN, Functor, T)                                                                   \
  EXTERN template struct MorphologyFilter<Filter2dTag, SimdVec::arch_128_tag, Functor, T, ListKernel2d<Functor>>; \
  EXTERN template struct MorphologyFilter<Filter3dTag, SimdVec::arch_128_tag, Functor, T, ListKernel3d<Functor>>;
#define PXL_COMPILED_ONCE(T)                               \
  PXL_PASSES_OF_LISTS(extern, details::DilationFunctor, T) \
  PXL_PASSES_OF_LISTS(extern, details::ErosionFunctor, T)
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILED_ONCE)
#undef PXL_COMPILED_ONCE

}  // namespace pxl::morphology
