#pragma once

#include "morphology/Passes3d.h"
#include "pxl/morphology/Morphology.h"

namespace pxl::morphology {

/** The passes of Dilation3d and Erosion3d. `Functor` is DilationFunctor or ErosionFunctor. */
template <class Algo, class Functor>
struct IteratedDispatcher3d {
  template <class T>
  static void run(Algo* algorithm) {
    switch (algorithm->neighborhood.get()) {
      case cFaces: {
        FacesKernel<Functor> faces;
        return runRecursive<Filter3dTag, SimdVec::arch_128_tag, Functor, T>(algorithm, faces,
                                                                            algorithm->numberOfIterations);
      }
      case cEdges: {
        EdgesKernel<Functor> edges;
        return runRecursive<Filter3dTag, SimdVec::arch_128_tag, Functor, T>(algorithm, edges,
                                                                            algorithm->numberOfIterations);
      }
      default: {
        CubeKernel<Functor, T> cube;
        return runRecursive<Filter3dTag, SimdVec::arch_128_tag, Functor, T>(algorithm, cube,
                                                                            algorithm->numberOfIterations);
      }
    }
  }
};

}  // namespace pxl::morphology
