#pragma once

#include "morphology/Passes2d.h"
#include "pxl/morphology/Morphology.h"

namespace pxl::morphology {

/** The passes of Dilation2d and Erosion2d. `Functor` is DilationFunctor or ErosionFunctor. */
template <class Algo, class Functor>
struct IteratedDispatcher2d {
  template <class T>
  static void run(Algo* algorithm) {
    if (algorithm->neighborhood == cCross) {
      CrossKernel<Functor> cross;
      runRecursive<Filter2dTag, SimdVec::arch_128_tag, Functor, T>(algorithm, cross, algorithm->numberOfIterations);
    } else {
      SquareKernel<Functor, T> square;
      runRecursive<Filter2dTag, SimdVec::arch_128_tag, Functor, T>(algorithm, square, algorithm->numberOfIterations);
    }
  }
};

}  // namespace pxl::morphology
