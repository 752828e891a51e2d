#pragma once

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "Core/private/Morphology/MinMaxFunctors.h"
#include "Core/private/Morphology/OneTypeRunner.h"
#include "Core/private/Morphology/RunRecursive.h"
#include "elements/ElementFoldSimd.h"
#include "pxl/ImageModel.h"
#include "pxl/morphology/ElementMorphology.h"

namespace pxl::morphology {

/**
 * The offsets of an element, limited to an image. An offset that leads out of the image from every voxel is replaced
 * by the nearest offset that also does: it still reads the value beyond the edge, but no rows are kept for it.
 */
inline std::vector<kernel::Offset3D> limitOffsets(std::vector<kernel::Offset3D> offsets, ImageModel const& image) {
  long const nbCols = static_cast<long>(image.getNumOf(cColumns)), nbRows = static_cast<long>(image.getNumOf(cRows)),
             nbPlans = static_cast<long>(image.getNumOf(cPlans));
  for (kernel::Offset3D& offset : offsets)
    if (std::labs(offset.col) >= nbCols || std::labs(offset.row) >= nbRows || std::labs(offset.plan) >= nbPlans)
      offset = {nbCols, 0, 0};
  // The same offset twice in a row equals once.
  offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
  return offsets;
}

/** The dispatcher of an operator with any element: one pass in a volume, whatever the element's dimension. */
template <class Algo, class Functor>
struct ElementDispatcher {
  template <class T>
  static void run(Algo* algorithm) {
    ElementFoldSimd<Functor> kernel(
        limitOffsets(algorithm->element.get().getOffsets(), *algorithm->inputImage.get()));
    runRecursive<Filter3dTag, SimdVec::arch_128_tag, Functor, T>(algorithm, kernel, 1);
  }
};

template <class Algo, class Functor>
using SSE41ElementRunner = SSE41OneTypeMinMaxRunner<Algo, ElementDispatcher<Algo, Functor>>;

}  // namespace pxl::morphology
