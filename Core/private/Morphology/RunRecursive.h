#pragma once

#include "Core/private/Filters/RecursiveImageFilters.h"

namespace pxl::morphology {

/**
 * The filter of the given dimension that applies a kernel `nbIterations` times. Voxels beyond the edge have the
 * functor's neutral value, in the images and in the temporary image. `algorithm` is null for a stage that another
 * frame runs.
 */
template <class Tag, class Arch, class Functor, class T, class Kernel>
struct MorphologyFilter {
  using Filter = std::conditional_t<std::is_same_v<Tag, Filter2dTag>, RecursiveImageFilter2d<T, T, Arch, Kernel>,
                                    RecursiveImageFilter3d<T, T, Arch, Kernel>>;

  MorphologyFilter(BaseAlgorithm* algorithm, Kernel& kernel, ImageModel const* input, ImageModel* output,
                   unsigned int nbIterations);
  ~MorphologyFilter();

  void run();

  Filter filter;
};

template <class Tag, class Arch, class Functor, class T, class Kernel>
MorphologyFilter<Tag, Arch, Functor, T, Kernel>::MorphologyFilter(BaseAlgorithm* algorithm, Kernel& kernel,
                                                                  ImageModel const* input, ImageModel* output,
                                                                  unsigned int nbIterations)
    : filter(algorithm, &kernel) {
  using Border = access::FixedBorderCondition<T>;
  filter.setInput(input, Border::New(Functor::template cNeutral<T>));
  filter.setOutput(output, Border::New(Functor::template cNeutral<T>));
  filter.setNbIterations(nbIterations);
}

template <class Tag, class Arch, class Functor, class T, class Kernel>
MorphologyFilter<Tag, Arch, Functor, T, Kernel>::~MorphologyFilter() = default;

template <class Tag, class Arch, class Functor, class T, class Kernel>
void MorphologyFilter<Tag, Arch, Functor, T, Kernel>::run() {
  filter.run();
}

/** Applies a kernel to the images of an algorithm. */
template <class Tag, class Arch, class Functor, class T, class Kernel, class Algo>
void runRecursive(Algo* algorithm, Kernel& kernel, unsigned int nbIterations) {
  MorphologyFilter<Tag, Arch, Functor, T, Kernel>(algorithm, kernel, algorithm->inputImage, algorithm->outputImage,
                                                  nbIterations)
      .run();
}

/** Applies a kernel as the current step of `parent`. */
template <class Tag, class Arch, class Functor, class T, class Kernel>
void runStage(algorithms::AbstractPrivateImplementation& parent, Kernel& kernel, ImageModel const* input,
              ImageModel* output, unsigned int nbIterations) {
  MorphologyFilter<Tag, Arch, Functor, T, Kernel> stage(nullptr, kernel, input, output, nbIterations);
  parent.runChildAlgo(&stage.filter);
}

}  // namespace pxl::morphology
