#pragma once

#include <typeinfo>
#include <utility>

#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/FilterTags.h"
#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "Core/private/Helper/InstructionSet.h"
#include "PointOperations/src/LogicalRules.h"
#include "analysis/IntensityExtremaRule.h"
#include "filtering/linear/FIRFilterRunner.h"
#include "morphology/MorphologyRules.h"

/**
 * The runners of all operators under the names that they have in the product, on dispatchers that only report. One
 * program records the reports, the test plug-in answers with an exception.
 */
namespace frame_test {

void report(char const* dispatcher, std::type_info const& voxelType, pxl::BaseAlgorithm* algorithm);

}  // namespace frame_test

#define FRAME_TEST_DISPATCHER(Name, Algo)                \
  struct Name {                                          \
    template <class T>                                   \
    static void run(Algo* algorithm) {                   \
      ::frame_test::report(#Name, typeid(T), algorithm); \
    }                                                    \
  };

namespace pxl::analysis {

struct IntensityExtremaSSEDispatcher {
  template <class T>
  static void run(std::pair<IntensityExtrema*, algorithms::AbstractPrivateImplementation*> argument) {
    ::frame_test::report("IntensityExtremaSSEDispatcher", typeid(T), argument.first);
  }
};

class IntensityExtremaSSERunner final : public Runnable {
 public:
  void run(BaseAlgorithm* algorithm) const override {
    auto* const extrema = helper::safe_cast<IntensityExtrema*>(algorithm);
    algorithms::AbstractPrivateImplementation frame(extrema);
    IntensityExtremaRule<IntensityExtremaSSEDispatcher>::dispatch({extrema, &frame});
  }
  bool isRunnable(BaseAlgorithm* algorithm) const override {
    return IntensityExtremaRule<IntensityExtremaSSEDispatcher>::isRunnable(algorithm);
  }
  String explainRefusal(BaseAlgorithm*) const override { return helper::cSSE41.explainProcessor(); }
  PXL_RUNS_ON(helper::cSSE41)
};

}  // namespace pxl::analysis

namespace pxl::filtering::linear {

template <class Tag, class Arch>
struct FIRFilterDispatcher {
  template <class T, class Algo>
  static void run(Algo* algorithm) {
    ::frame_test::report("FIRFilterDispatcher", typeid(T), algorithm);
  }
};

using FIRFilter2DSSE41Runner =
    FIRFilterSSE41Runner<FiniteImpulseResponseFilter2D, FIRFilterDispatcher<Filter2dTag, SimdVec::arch_128_tag>>;
using FIRFilter3DSSE41Runner =
    FIRFilterSSE41Runner<FiniteImpulseResponseFilter3D, FIRFilterDispatcher<Filter3dTag, SimdVec::arch_128_tag>>;

}  // namespace pxl::filtering::linear

namespace pxl::morphology {

#define FRAME_TEST_ITERATED(Algo)                    \
  FRAME_TEST_DISPATCHER(Algo##SSE41Dispatcher, Algo) \
  PXL_ITERATED_RUNNER(Algo##SSE41Runner, Algo, Algo##SSE41Dispatcher)

#define FRAME_TEST_SHAPED(Algo)                      \
  FRAME_TEST_DISPATCHER(Algo##SSE41Dispatcher, Algo) \
  using Algo##SSE41Runner = SSE41OneTypeMinMaxRunner<Algo, Algo##SSE41Dispatcher>;

FRAME_TEST_ITERATED(Dilation2d)
FRAME_TEST_ITERATED(Dilation3d)
FRAME_TEST_SHAPED(DilationBall3d)
FRAME_TEST_SHAPED(DilationDisk2d)
FRAME_TEST_SHAPED(DilationDisk3d)
FRAME_TEST_SHAPED(DilationLine2d)
FRAME_TEST_SHAPED(DilationLine3d)
FRAME_TEST_ITERATED(Erosion2d)
FRAME_TEST_ITERATED(Erosion3d)
FRAME_TEST_SHAPED(ErosionBall3d)
FRAME_TEST_SHAPED(ErosionDisk2d)
FRAME_TEST_SHAPED(ErosionDisk3d)
FRAME_TEST_SHAPED(ErosionLine2d)
FRAME_TEST_SHAPED(ErosionLine3d)

#undef FRAME_TEST_ITERATED
#undef FRAME_TEST_SHAPED

}  // namespace pxl::morphology

namespace pxl::point_operations {

#define FRAME_TEST_LOGICAL(Algo, Runner, Dispatcher) \
  FRAME_TEST_DISPATCHER(Dispatcher, Algo)            \
  PXL_LOGICAL_RUNNER(Runner, Algo, Dispatcher)

FRAME_TEST_LOGICAL(LogicalOperationWithImage, SSE41LogicalOperationWithImageRunner,
                   LogicalOperationWithImageSSE41Dispatcher)
FRAME_TEST_LOGICAL(LogicalOperationWithValue, SSE41LogicalOperationWithValueRunner,
                   LogicalOperationWithValueScalarDispatcher)

#undef FRAME_TEST_LOGICAL

}  // namespace pxl::point_operations

#undef FRAME_TEST_DISPATCHER

/** MACRO(namespace below pxl, operator, runner) for each of the 19, in the order of their units. */
#define FRAME_TEST_FOR_EACH_RUNNER(MACRO)                                                  \
  MACRO(analysis, IntensityExtrema, IntensityExtremaSSERunner)                             \
  MACRO(filtering::linear, FiniteImpulseResponseFilter2D, FIRFilter2DSSE41Runner)          \
  MACRO(filtering::linear, FiniteImpulseResponseFilter3D, FIRFilter3DSSE41Runner)          \
  MACRO(morphology, Dilation2d, Dilation2dSSE41Runner)                                     \
  MACRO(morphology, Dilation3d, Dilation3dSSE41Runner)                                     \
  MACRO(morphology, DilationBall3d, DilationBall3dSSE41Runner)                             \
  MACRO(morphology, DilationDisk2d, DilationDisk2dSSE41Runner)                             \
  MACRO(morphology, DilationDisk3d, DilationDisk3dSSE41Runner)                             \
  MACRO(morphology, DilationLine2d, DilationLine2dSSE41Runner)                             \
  MACRO(morphology, DilationLine3d, DilationLine3dSSE41Runner)                             \
  MACRO(morphology, Erosion2d, Erosion2dSSE41Runner)                                       \
  MACRO(morphology, Erosion3d, Erosion3dSSE41Runner)                                       \
  MACRO(morphology, ErosionBall3d, ErosionBall3dSSE41Runner)                               \
  MACRO(morphology, ErosionDisk2d, ErosionDisk2dSSE41Runner)                               \
  MACRO(morphology, ErosionDisk3d, ErosionDisk3dSSE41Runner)                               \
  MACRO(morphology, ErosionLine2d, ErosionLine2dSSE41Runner)                               \
  MACRO(morphology, ErosionLine3d, ErosionLine3dSSE41Runner)                               \
  MACRO(point_operations, LogicalOperationWithImage, SSE41LogicalOperationWithImageRunner) \
  MACRO(point_operations, LogicalOperationWithValue, SSE41LogicalOperationWithValueRunner)
