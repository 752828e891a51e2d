#pragma once

#include "morphology/FastMorphoDisk2DSimd.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"
#include "pxl/morphology/Morphology.h"

namespace pxl::morphology {

/** Runs DilationDisk2d and ErosionDisk2d. `Functor` is DilationFunctor or ErosionFunctor. */
template <class Algo, class Functor>
struct Disk2dDispatcher {
  template <class T>
  static void run(Algo* algorithm) {
    if (algorithm->shapeMode == cFastShape)
      details::FastMorphoDisk2DSimd<Functor, SimdVec::arch_128_tag, T>(algorithm, algorithm->inputImage,
                                                                       algorithm->radius, algorithm->outputImage);
    else
      runOnOffsets<Functor, T>(algorithm, kernel::generateDiskOffset2DCollection(algorithm->radius.get()));
  }
};

}  // namespace pxl::morphology
