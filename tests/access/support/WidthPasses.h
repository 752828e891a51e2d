#pragma once

#include "Core/private/Morphology/RunRecursive.h"
#include "access/support/Width.h"
#include "pxl/morphology/Morphology.h"

namespace access_test {

using Functor = pxl::morphology::details::DilationFunctor;

/** Two passes of a kernel in small blocks, so that rows are held back in place. */
template <class Tag, class T, class Arch, class Kernel>
void runPasses(Arch, Kernel&& kernel, pxl::ImageModel const* input, pxl::ImageModel* output) {
  pxl::instrument::Recorder recorder;
  recorder.grains = {static_cast<unsigned long>(pxl::SimdVec::cNbLanes<T, Arch> + 3), 2, 2};
  pxl::morphology::Dilation3d algorithm;
  algorithm.inputImage = input;
  algorithm.outputImage = output;
  pxl::morphology::runRecursive<Tag, Arch, Functor, T>(&algorithm, kernel, 2);
}

}  // namespace access_test
