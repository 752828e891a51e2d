#pragma once

#include "morphology/Passes2d.h"
#include "pxl/algorithms/AbstractPrivateImplementation.h"

namespace pxl::morphology::details {

/**
 * Dilation or erosion of each plan with an octagon, in `radius` passes: squares first, then crosses, one more of them
 * if the radius is odd. The octagon reaches `radius` voxels along rows and columns, and h + (radius - h) / 2 along
 * the diagonals, h being radius / 2. With radius 0 the output is left unchanged. See Soille, Morphological Image
 * Analysis, 2003, on the decomposition of structuring elements.
 */
template <class Functor, class Arch, class T>
void FastMorphoDisk2DSimd(BaseAlgorithm* algorithm, ImageModel const* input, unsigned int radius,
                          ImageModel* output) {
  unsigned int const nbSquares = radius >> 1;
  algorithms::AbstractPrivateImplementation parent(algorithm);
  parent.setNumberOfSteps(nbSquares != 0 ? 2 : 1);
  if (nbSquares != 0) {
    Neighborhood8ColumnsReductionSimd<Functor, T, Arch> square;
    runStage<Filter2dTag, Arch, Functor, T>(parent, square, input, output, nbSquares);
  }
  CrossKernel<Functor> cross;
  runStage<Filter2dTag, Arch, Functor, T>(parent, cross, nbSquares != 0 ? output : input, output, radius - nbSquares);
}

}  // namespace pxl::morphology::details
