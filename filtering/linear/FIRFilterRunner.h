#pragma once

#include "Core/private/Helper/InstructionSet.h"
#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/Helper/safe_cast.h"
#include "pxl/ImageModel.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"

namespace pxl::filtering::linear {

/** Runs `Dispatcher` in the precision that holds every voxel of the output exactly. */
template <class Algo, class Dispatcher>
class AbstractFIRFilterRunner : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = helper::safe_cast<Algo*>(algorithm);
    if (helper::isExactInFloat(concrete->outputImage.get()->getVoxelType()))
      Dispatcher::template run<float>(concrete);
    else
      Dispatcher::template run<double>(concrete);
  }
};

/** Accepts every algorithm if the processor can run it. */
template <class Algo, class Dispatcher>
class FIRFilterSSE41Runner final : public AbstractFIRFilterRunner<Algo, Dispatcher> {
 public:
  bool isRunnable(BaseAlgorithm*) const override { return helper::cSSE41.isAvailable(); }
  String explainRefusal(BaseAlgorithm*) const override { return helper::cSSE41.explainProcessor(); }
  PXL_RUNS_ON(helper::cSSE41)
};

}  // namespace pxl::filtering::linear
