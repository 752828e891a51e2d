// A dilation that runs out of memory.
#include <tbb/task_arena.h>

#include <new>

#include "Core/private/Morphology/Neighborhood2dToValueSimd.h"
#include "Core/private/Morphology/RunRecursive.h"
#include "access/memory/MallocHook.h"
#include "morphology/Neighborhood8ColumnsReductionSimd.h"
#include "morphology/support/MorphologyOracle.h"
#include "oracle/HostImages.h"
#include "oracle/VoxelTypeTests.h"
#include "pxl/Exception.h"
#include "pxl/morphology/Morphology.h"

namespace access_test {
namespace {

using Functor = pxl::morphology::details::DilationFunctor;
using Cross =
    pxl::morphology::Neighborhood2dToValueSimd<Functor, pxl::access::Neighborhood2D_4Tag, pxl::access::NoDataType>;
template <class T>
using Square = pxl::morphology::Neighborhood8ColumnsReductionSimd<Functor, T, pxl::SimdVec::arch_128_tag>;

template <class T>
class DilationAllocationOf : public testing::Test {
 protected:
  void SetUp() override {
    if (!isMallocHooked()) GTEST_SKIP() << "the sanitizer has the allocator";
    m_algorithm.inputImage = m_input.get();
    m_algorithm.outputImage = m_output.get();
  }

  // A run of two passes, the second one in place if there is no temporary. With the memory of the kernel.
  template <class Kernel>
  void run() {
    Kernel kernel;
    pxl::morphology::runRecursive<pxl::Filter2dTag, pxl::SimdVec::arch_128_tag, Functor, T>(&m_algorithm, kernel, 2U);
  }

  void expectRight(int neighborhood) const {
    auto const expected = oracle::applyTimes(m_image, oracle::Operation::cDilation, neighborhood, 2);
    EXPECT_EQ(std::memcmp(m_output->getVoxels(), expected.voxels.data(), expected.voxels.size() * sizeof(T)), 0);
  }

  // The 1st, 2nd, 3rd ... allocation fails, until none fails any more; the run after each failure is right.
  template <class Kernel>
  void failEachAllocation(int neighborhood, unsigned long extraMemory) {
    m_algorithm.setMaximumExtraMemoryUsageInBytes(extraMemory);
    tbb::task_arena arena(1);
    arena.execute([&] {
      run<Kernel>();  // what threads and the host allocate on first use isn't counted
      expectRight(neighborhood);
      long nbFailing = 0;
      for (;; ++nbFailing) {
        bool isExpected = false, isOther = false;
        MallocWatch watch;
        watch.failAt = nbFailing;
        try {
          run<Kernel>();
        } catch (std::bad_alloc const&) {
          isExpected = true;
        } catch (pxl::Exception const&) {
          isExpected = true;
        } catch (...) {
          isOther = true;
        }
        watch.stop();
        ASSERT_FALSE(isOther) << nbFailing;
        ASSERT_EQ(isExpected, watch.nbFailed == 1) << nbFailing;
        ASSERT_EQ(watch.countLiving(), 0) << nbFailing;
        run<Kernel>();
        expectRight(neighborhood);
        ASSERT_FALSE(HasFailure()) << nbFailing;
        if (watch.nbFailed == 0) break;
      }
      // The views, the borders, the caches with their rows.
      EXPECT_GT(nbFailing, 12);
    });
  }

  oracle::Random m_random{811};
  oracle::Image<T> const m_image = m_random.image<T>({2 * oracle::cLanes<T> + 3, 7, 2, 1, 1});
  std::shared_ptr<pxl::Image> const m_input = oracle::toHost(m_image);
  std::shared_ptr<pxl::Image> const m_output = oracle::toHost(oracle::Image<T>(m_image.sizes));
  pxl::morphology::Dilation2d m_algorithm;
};
TEST_TYPES(DilationAllocationOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(DilationAllocationOf, FailuresOfTheCrossLeaveNothingBehind) {
  for (unsigned long extraMemory : {0UL, 1UL << 30}) this->template failEachAllocation<Cross>(0, extraMemory);
}

TEST_OF_TYPES(DilationAllocationOf, FailuresOfTheSquareLeaveNothingBehind) {
  for (unsigned long extraMemory : {0UL, 1UL << 30})
    this->template failEachAllocation<Square<TypeParam>>(1, extraMemory);
}

}  // namespace
}  // namespace access_test
