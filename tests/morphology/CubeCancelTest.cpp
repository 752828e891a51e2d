// A cancel of the task group at every single operation of a block of the cube.
#include <tbb/parallel_for.h>

#include "support/Kernels3d.h"

namespace morphology_test {
namespace {

/** The dilation, whose operations are counted; one of them cancels a task group. */
struct CancellingFunctor {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    if (++nbOperations == cancelAt) group->cancel_group_execution();
    return DilationFunctor::apply<Vec>(a, b);
  }
  template <class T>
  static constexpr T cNeutral = DilationFunctor::cNeutral<T>;

  static inline long nbOperations = 0;
  static inline long cancelAt = 0;
  static inline tbb::task_group_context* group = nullptr;
};

TEST(CubeCancel, IsSeenTwiceInAPlanAndLeavesItUnwritten) {
  constexpr long cNbRows = 4, cNbPlans = 3;
  // Rows of one vector: nine voxels of each of the first two rows, then those of each row and two more operations.
  constexpr long cNbReducing = 2 * 8, cNbFolding = cNbRows * (8 + 2), cNbOfPlan = cNbReducing + cNbFolding;
  oracle::Image<short> const image({8, cNbRows, cNbPlans, 1, 1});
  pxl::instrument::Recorder recorder;
  for (long cancelAt = 0; cancelAt <= cNbPlans * cNbOfPlan; ++cancelAt) {
    HandRun<short> pass(image, false, DilationFunctor::cNeutral<short>);
    Cube<CancellingFunctor, short> const kernel;
    tbb::task_group_context group(tbb::task_group_context::isolated);
    CancellingFunctor::group = &group;
    CancellingFunctor::nbOperations = 0;
    CancellingFunctor::cancelAt = cancelAt;
    recorder.clear();
    tbb::parallel_for(
        0, 1, [&](int) { kernel.run(Block3d(0, cNbPlans, 1, 0, cNbRows, 1, 0, 8, 1, 0, 0), pass.context); }, group);
    bool const isCancelled = cancelAt > 0;
    long const nbWritten = isCancelled ? (cancelAt - 1) / cNbOfPlan : cNbPlans;
    EXPECT_EQ(recorder.count("writeRowAt"), static_cast<unsigned long>(nbWritten * cNbRows)) << cancelAt;
    // The plan ends after the reduction of its first rows, or as a whole.
    bool const isEarly = isCancelled && (cancelAt - 1) % cNbOfPlan < cNbReducing;
    long const nbInPlan = isEarly ? cNbReducing : isCancelled ? cNbOfPlan : 0;
    EXPECT_EQ(CancellingFunctor::nbOperations, nbWritten * cNbOfPlan + nbInPlan) << cancelAt;
  }
}

}  // namespace
}  // namespace morphology_test
