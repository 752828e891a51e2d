#pragma once

#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/RecursiveImageFilters.h"

namespace pxl::morphology {

/**
 * Makes the filter of the given dimension that applies a kernel `nbIterations` times, and hands it to run(filter).
 * Voxels beyond the edge have the functor's neutral value, in the images and in the temporary. `algorithm` is null
 * for a stage that another frame runs.
 */
template <class Tag, class Functor, class T, class Kernel, class Run>
void withRecursiveFilter(BaseAlgorithm* algorithm, Kernel& kernel, ImageModel const* input, ImageModel* output,
                         unsigned int nbIterations, Run const& run) {
  using Filter = std::conditional_t<std::is_same_v<Tag, Filter2dTag>,
                                    RecursiveImageFilter2d<T, T, SimdVec::arch_128_tag, Kernel>,
                                    RecursiveImageFilter3d<T, T, SimdVec::arch_128_tag, Kernel>>;
  using Border = access::FixedBorderCondition<T>;
  Filter filter(algorithm, &kernel);
  filter.setInput(input, Border::New(Functor::template cNeutral<T>));
  filter.setOutput(output, Border::New(Functor::template cNeutral<T>));
  filter.setNbIterations(nbIterations);
  run(filter);
}

/** Applies a kernel to the images of an algorithm. */
template <class Tag, class Functor, class T, class Kernel, class Algo>
void runRecursive(Algo* algorithm, Kernel& kernel, unsigned int nbIterations) {
  withRecursiveFilter<Tag, Functor, T>(algorithm, kernel, algorithm->inputImage, algorithm->outputImage, nbIterations,
                                       [](auto& filter) { filter.run(); });
}

/** Applies a kernel as the current step of `parent`. */
template <class Tag, class Functor, class T, class Kernel>
void runStage(algorithms::AbstractPrivateImplementation& parent, Kernel& kernel, ImageModel const* input,
              ImageModel* output, unsigned int nbIterations) {
  withRecursiveFilter<Tag, Functor, T>(nullptr, kernel, input, output, nbIterations,
                                       [&parent](auto& filter) { parent.runChildAlgo(&filter); });
}

}  // namespace pxl::morphology
