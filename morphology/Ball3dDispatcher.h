#pragma once

#include "morphology/FastMorphoBall3DSimd.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"
#include "pxl/morphology/Morphology.h"

namespace pxl::morphology {

/** Runs DilationBall3d and ErosionBall3d. `Functor` is DilationFunctor or ErosionFunctor. */
template <class Algo, class Functor>
struct Ball3dDispatcher {
  template <class T>
  static void run(Algo* algorithm) {
    if (algorithm->shapeMode == cFastShape)
      details::FastMorphoBall3DSimd<Functor, SimdVec::arch_128_tag, T>(algorithm, algorithm->inputImage,
                                                                       algorithm->radius, algorithm->outputImage);
    else
      runOnOffsets<Functor, T>(algorithm, kernel::generateSphereOffset3DCollection(algorithm->radius.get()));
  }
};

}  // namespace pxl::morphology
