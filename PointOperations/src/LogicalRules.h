#pragma once

#include "Core/private/Helper/SSE41Runner.h"
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
  return type == concrete->outputImage.get()->getVoxelType() && helper::hasSSE() &&
         helper::isIntegerVoxelType(type) && helper::hasSSE41Level();
}

/** Casts the algorithm, and calls `Dispatcher::run<T>` for the voxel type of its leading image. */
template <class Algo, class Dispatcher>
void dispatchOnLeadingImage(BaseAlgorithm* algorithm) {
  Algo* const concrete = helper::safe_cast<Algo*>(algorithm);
  int const type = getLeadingImage(*concrete)->getVoxelType();
  tmpl_dispatch::Visitor1Args<tmpl_dispatch::IntegerTypes, Dispatcher, Algo*>()(type, concrete);
}

/** The runner of the logical operations. */
template <class Algo, class Dispatcher>
class LogicalRunner : public helper::SSE41Runner {
 public:
  void run(BaseAlgorithm* algorithm) const override { dispatchOnLeadingImage<Algo, Dispatcher>(algorithm); }
  bool isRunnable(BaseAlgorithm* algorithm) const override { return isLogicalRunnable<Algo>(algorithm); }
};

}  // namespace pxl::point_operations
