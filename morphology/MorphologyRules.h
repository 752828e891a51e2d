#pragma once

#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/Morphology/OneTypeRunner.h"
#include "pxl/ImageModel.h"
#include "pxl/morphology/Morphology.h"

namespace pxl::morphology {

/** The largest number of iterations that a runner accepts on a binary image, for one neighbourhood. */
struct IterationLimit {
  int neighborhood;
  unsigned int maxNbIterations;
};

/** The limits of an operator. They are independent numbers; a neighbourhood without a row has no limit. */
template <class Algo>
struct IterationLimits;
template <>
struct IterationLimits<Dilation2d> {
  static constexpr IterationLimit cRows[] = {{0, 41}, {1, 34}};
};
template <>
struct IterationLimits<Erosion2d> {
  static constexpr IterationLimit cRows[] = {{0, 50}, {1, 37}};
};
template <>
struct IterationLimits<Dilation3d> {
  static constexpr IterationLimit cRows[] = {{0, 64}, {1, 47}, {2, 70}};
};
template <>
struct IterationLimits<Erosion3d> {
  static constexpr IterationLimit cRows[] = {{0, 97}, {1, 66}, {2, 121}};
};

/** What the runners of Dilation2d, Erosion2d, Dilation3d and Erosion3d accept. The output image doesn't matter. */
template <class Algo>
bool isIteratedRunnable(BaseAlgorithm* algorithm) {
  Algo* const concrete = dynamic_cast<Algo*>(algorithm);
  ImageModel const* const image = concrete->inputImage;
  int const type = image->getVoxelType();
  if (image->getInterpretation() == cBinary)
    for (IterationLimit const& limit : IterationLimits<Algo>::cRows)
      if (concrete->neighborhood == limit.neighborhood && concrete->numberOfIterations > limit.maxNbIterations)
        return false;
  return helper::hasSSE() && helper::isKernelVoxelType(type) && helper::hasSSE41Level();
}

/** The runner of these operators. */
template <class Algo, class Dispatcher>
class IteratedRunner : public helper::SSE41Runner {
 public:
  void run(BaseAlgorithm* algorithm) const override { dispatchOnInput<Algo, Dispatcher>(algorithm); }
  bool isRunnable(BaseAlgorithm* algorithm) const override { return isIteratedRunnable<Algo>(algorithm); }
};

}  // namespace pxl::morphology
