#pragma once

#include "Core/private/Helper/InstructionSet.h"
#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/Helper/safe_cast.h"
#include "Core/private/TmplDispatch/Visitor1Args.h"
#include "pxl/ImageModel.h"

namespace pxl::morphology {

/** Casts the algorithm, and calls `Dispatcher::run<T>` for the voxel type of its input image. */
template <class Algo, class Dispatcher>
void dispatchOnInput(BaseAlgorithm* algorithm) {
  Algo* const concrete = helper::safe_cast<Algo*>(algorithm);
  int const type = concrete->inputImage.get()->getVoxelType();
  tmpl_dispatch::Visitor1Args<tmpl_dispatch::AllTypes, Dispatcher, Algo*>()(type, concrete);
}

/** The runner of operators with a shape or an element, which require an output of the input's type. */
template <class Algo, class Dispatcher>
class SSE41OneTypeMinMaxRunner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override { dispatchOnInput<Algo, Dispatcher>(algorithm); }

  bool isRunnable(BaseAlgorithm* algorithm) const override {
    Algo* const concrete = dynamic_cast<Algo*>(algorithm);
    int const type = concrete->inputImage.get()->getVoxelType();
    return type == concrete->outputImage.get()->getVoxelType() && helper::cSSE41.hasSSE() &&
           helper::isKernelVoxelType(type) && helper::cSSE41.hasLevel();
  }
  String explainRefusal(BaseAlgorithm*) const override { return helper::cSSE41.explainProcessor(); }
  PXL_RUNS_ON(helper::cSSE41)
};

}  // namespace pxl::morphology
