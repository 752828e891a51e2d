#pragma once

#include "Core/private/Helper/InstructionSet.h"
#include "Core/private/Helper/RunnerTests.h"
#include "Core/private/Helper/safe_cast.h"
#include "Core/private/TmplDispatch/Visitor1Args.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/ImageModel.h"
#include "pxl/algorithms/AbstractPrivateImplementation.h"
#include "pxl/analysis/IntensityExtrema.h"

namespace pxl::analysis {

/** What the runner of IntensityExtrema accepts, and how it calls `Dispatcher::run<T>`. */
template <class Dispatcher>
struct IntensityExtremaRule {
  using Argument = std::pair<IntensityExtrema*, algorithms::AbstractPrivateImplementation*>;

  static bool isRunnable(BaseAlgorithm* algorithm) {
    if (!helper::cSSE41.hasSSE()) return false;
    auto* const extrema = dynamic_cast<IntensityExtrema*>(algorithm);
    VoxelTypes const type = extrema->inputImage.get()->getVoxelType();
    bool const isSmallInteger = helper::isIntegerVoxelType(type) && helper::getSizeOf(type) <= 4;
    return (isSmallInteger || helper::isRealVoxelType(type)) && helper::cSSE41.hasLevel();
  }

  static void dispatch(Argument argument) {
    int const type = argument.first->inputImage.get()->getVoxelType();
    tmpl_dispatch::Visitor1Args<tmpl_dispatch::AllTypes, Dispatcher, Argument>()(type, argument);
  }
};

}  // namespace pxl::analysis
