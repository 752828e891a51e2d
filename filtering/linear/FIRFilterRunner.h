#pragma once

#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/Helper/safe_cast.h"
#include "pxl/ImageModel.h"
#include "pxl/Runnable.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"

namespace pxl::filtering::linear {

/** Runs `Dispatcher` in the precision that holds every voxel of the output exactly. */
template <class Algo, class Dispatcher>
class AbstractFIRFilterRunner : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = helper::safe_cast<Algo*>(algorithm);
    unsigned int const type = static_cast<unsigned int>(concrete->outputImage.get()->getVoxelType());
    // The 8- and 16-bit integers and float.
    constexpr unsigned int cFloatTypes = 0x133;
    if (type < 32 && ((cFloatTypes >> type) & 1U))
      Dispatcher::template run<float>(concrete);
    else
      Dispatcher::template run<double>(concrete);
  }
};

/** Accepts every algorithm if the processor can run it. */
template <class Algo, class Dispatcher>
class FIRFilterSSE41Runner final : public AbstractFIRFilterRunner<Algo, Dispatcher> {
 public:
  bool isRunnable(BaseAlgorithm*) const override { return helper::hasSSE() && helper::hasSSE41Level(); }
  int getOptimType() const override { return helper::cOptimType; }
  String explainRefusal(BaseAlgorithm*) const override { return helper::explainProcessor(); }
  char const* getName() const override { return helper::cRunnerName; }
};

}  // namespace pxl::filtering::linear
