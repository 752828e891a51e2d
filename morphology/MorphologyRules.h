#pragma once

#include <string>

#include "Core/private/Helper/InstructionSet.h"
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

/** The limit that an algorithm on a binary image exceeds; null if there is none. */
template <class Algo>
IterationLimit const* findExceededLimit(Algo const& algorithm, ImageModel const& image) {
  if (image.getInterpretation() == cBinary)
    for (IterationLimit const& limit : IterationLimits<Algo>::cRows)
      if (algorithm.neighborhood == limit.neighborhood && algorithm.numberOfIterations > limit.maxNbIterations)
        return &limit;
  return nullptr;
}

/** What the runners of Dilation2d, Erosion2d, Dilation3d and Erosion3d accept. The output image doesn't matter. */
template <class Algo>
bool isIteratedRunnable(BaseAlgorithm* algorithm) {
  Algo* const concrete = dynamic_cast<Algo*>(algorithm);
  ImageModel const* const image = concrete->inputImage;
  int const type = image->getVoxelType();
  if (findExceededLimit(*concrete, *image)) return false;
  return helper::cSSE41.hasSSE() && helper::isKernelVoxelType(type) && helper::cSSE41.hasLevel();
}

/** Why they refuse an algorithm, for users: the processor, or the limit. Empty for other reasons. */
template <class Algo>
String explainIteratedRefusal(BaseAlgorithm* algorithm) {
  String const lack = helper::cSSE41.explainProcessor();
  if (!lack.empty()) return lack;
  Algo const& concrete = dynamic_cast<Algo const&>(*algorithm);
  IterationLimit const* const limit = findExceededLimit(concrete, *concrete.inputImage.get());
  if (!limit) return String();
  return "with a binary image numberOfIterations can be at most " + std::to_string(limit->maxNbIterations) +
         " (neighborhood=" + std::to_string(limit->neighborhood) + "), and is " +
         std::to_string(concrete.numberOfIterations.get());
}

}  // namespace pxl::morphology

/** The class of the runner of one of these operators. */
#define PXL_ITERATED_RUNNER(Runner, Algo, Dispatcher)                                                        \
  class Runner final : public Runnable {                                                                     \
   public:                                                                                                   \
    void run(BaseAlgorithm* algorithm) const override { dispatchOnInput<Algo, Dispatcher>(algorithm); }      \
    bool isRunnable(BaseAlgorithm* algorithm) const override { return isIteratedRunnable<Algo>(algorithm); } \
    String explainRefusal(BaseAlgorithm* algorithm) const override {                                         \
      return explainIteratedRefusal<Algo>(algorithm);                                                        \
    }                                                                                                        \
    PXL_RUNS_ON(helper::cSSE41)                                                                              \
  };
