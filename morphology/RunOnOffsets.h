#pragma once

#include <utility>
#include <vector>

#include "morphology/Neighborhood2dToValueSimd.h"
#include "morphology/Neighborhood3dToValueSimd.h"
#include "morphology/RunRecursive.h"

namespace pxl::morphology {

/** One pass over the images of an algorithm with a list of offsets, plan by plan. */
template <class Functor, class T, class Algo>
void runOnOffsets(Algo* algorithm, std::vector<kernel::Offset2D> offsets) {
  Neighborhood2dToValueSimd<Functor, access::Neighborhood2D_GenTag, std::vector<kernel::Offset2D>> element(
      std::move(offsets));
  runRecursive<Filter2dTag, Functor, T>(algorithm, element, 1);
}

/** The same in the volume. */
template <class Functor, class T, class Algo>
void runOnOffsets(Algo* algorithm, std::vector<kernel::Offset3D> offsets) {
  Neighborhood3dToValueSimd<Functor, access::Neighborhood3D_GenTag, std::vector<kernel::Offset3D>> element(
      std::move(offsets));
  runRecursive<Filter3dTag, Functor, T>(algorithm, element, 1);
}

}  // namespace pxl::morphology
