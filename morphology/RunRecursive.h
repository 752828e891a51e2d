#pragma once

#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/RecursiveImageFilters.h"

namespace pxl::morphology {

/**
 * Applies a kernel `nbIterations` times to the images of an algorithm, in the filter of the given dimension. Voxels
 * beyond the edge have the functor's neutral value, in the images and in the temporary.
 */
template <class Tag, class Functor, class T, class Kernel, class Algo, class Count>
void runRecursive(Algo* algorithm, Kernel& kernel, Count const& nbIterations) {
  using Filter = std::conditional_t<std::is_same_v<Tag, Filter2dTag>,
                                    RecursiveImageFilter2d<T, T, SimdVec::arch_128_tag, Kernel>,
                                    RecursiveImageFilter3d<T, T, SimdVec::arch_128_tag, Kernel>>;
  using Border = access::FixedBorderCondition<T>;
  Filter filter(algorithm, &kernel);
  filter.setInput(algorithm->inputImage, Border::New(Functor::template cNeutral<T>));
  filter.setOutput(algorithm->outputImage, Border::New(Functor::template cNeutral<T>));
  filter.setNbIterations(static_cast<unsigned int>(nbIterations));
  DoRunRecursiveImage<Tag>::run(&filter);
}

}  // namespace pxl::morphology
