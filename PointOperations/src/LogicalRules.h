#pragma once

#include "Core/private/Helper/InstructionSet.h"
#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/Helper/safe_cast.h"
#include "Core/private/TmplDispatch/Visitor1Args.h"
#include "pxl/ImageModel.h"
#include "pxl/point_operations/LogicalOperation.h"

namespace pxl::point_operations {

/** The image whose voxel type is that of the operation. */
inline ImageModel const* getLeadingImage(LogicalOperationWithImage const& algorithm) { return algorithm.inputImage1; }
inline ImageModel const* getLeadingImage(LogicalOperationWithValue const& algorithm) { return algorithm.inputImage; }

/** What the runners of the logical operations accept: integers, with an output of the same type. */
template <class Algo>
bool isLogicalRunnable(BaseAlgorithm* algorithm) {
  Algo* const concrete = dynamic_cast<Algo*>(algorithm);
  int const type = getLeadingImage(*concrete)->getVoxelType();
  return type == concrete->outputImage.get()->getVoxelType() && helper::cSSE41.hasSSE() &&
         helper::isIntegerVoxelType(type) && helper::cSSE41.hasLevel();
}

/** Casts the algorithm, and calls `Dispatcher::run<T>` for the voxel type of its leading image. */
template <class Algo, class Dispatcher>
void dispatchOnLeadingImage(BaseAlgorithm* algorithm) {
  Algo* const concrete = helper::safe_cast<Algo*>(algorithm);
  int const type = getLeadingImage(*concrete)->getVoxelType();
  tmpl_dispatch::Visitor1Args<tmpl_dispatch::IntegerTypes, Dispatcher, Algo*>()(type, concrete);
}

}  // namespace pxl::point_operations

/** The class of the runner of a logical operation. */
#define PXL_LOGICAL_RUNNER(Runner, Algo, Dispatcher)                                                           \
  class Runner final : public Runnable {                                                                       \
   public:                                                                                                     \
    void run(BaseAlgorithm* algorithm) const override { dispatchOnLeadingImage<Algo, Dispatcher>(algorithm); } \
    bool isRunnable(BaseAlgorithm* algorithm) const override { return isLogicalRunnable<Algo>(algorithm); }    \
    String explainRefusal(BaseAlgorithm*) const override { return helper::cSSE41.explainProcessor(); }         \
    PXL_RUNS_ON(helper::cSSE41)                                                                                \
  };
