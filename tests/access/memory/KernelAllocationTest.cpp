// The allocations of kernels: once per thread, whatever the number of blocks, and nothing unused.
#include "access/memory/MallocHook.h"
#include "morphology/support/Kernels3d.h"
#include "pxl/AlgoInfo.h"
#include "pxl/Runnable.h"

namespace access_test {
namespace {

using morphology_test::DilationFunctor;
using morphology_test::Way;
using pxl::access::Block2d;
using pxl::access::Block3d;

template <class T>
class KernelAllocationOf : public testing::Test {
 protected:
  void SetUp() override {
    if (!isMallocHooked()) GTEST_SKIP() << "the sanitizer has the allocator";
  }

  // Runs a first block, and then others within a watch.
  template <class Kernel, class AnyBlock>
  long countInLaterBlocks(Kernel const& kernel, std::vector<AnyBlock> const& blocks) {
    morphology_test::HandRun<T> run(m_image, false, T(3));
    kernel.run(blocks[0], run.context);
    MallocWatch watch;
    for (AnyBlock const& block : blocks) kernel.run(block, run.context);
    watch.stop();
    return watch.nbRequests;
  }

  oracle::Random m_random{921};
  oracle::Image<T> const m_image = m_random.image<T>({4 * oracle::cLanes<T> + 3, 9, 6, 1, 1});
};
TEST_TYPES(KernelAllocationOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

// The rows of the cache and the memos exist; blocks of the same or a smaller size need no more.
TEST_OF_TYPES(KernelAllocationOf, OfTheSquareIsThatOfItsFirstBlock) {
  std::vector<Block2d> const blocks{{0, 5, 1, 0, 40, 1, 0, 0, 0},
                                    {4, 9, 1, 3, 43, 1, 1, 0, 0},
                                    {2, 3, 1, 7, 8, 1, 0, 0, 0},
                                    {0, 9, 1, 0, 40, 1, 2, 0, 0}};
  EXPECT_EQ(this->countInLaterBlocks(morphology_test::Square<DilationFunctor, TypeParam>(), blocks), 0);
}

TEST_OF_TYPES(KernelAllocationOf, OfTheCubeIsThatOfItsFirstBlock) {
  std::vector<Block3d> const blocks{{0, 3, 1, 0, 5, 1, 0, 40, 1, 0, 0},
                                    {3, 6, 1, 4, 9, 1, 3, 43, 1, 0, 0},
                                    {1, 2, 1, 2, 3, 1, 7, 8, 1, 0, 0},
                                    {0, 6, 1, 1, 6, 1, 0, 40, 1, 0, 0}};
  EXPECT_EQ(this->countInLaterBlocks(morphology_test::Cube<DilationFunctor, TypeParam>(), blocks), 0);
}

class ShippedAllocation : public morphology_test::PluginTest {
 protected:
  void SetUp() override {
    if (!isMallocHooked()) GTEST_SKIP() << "the sanitizer has the allocator";
  }

  // What std::make_shared asks for: the container and its count of owners.
  static std::size_t getSizeOfMemos() {
    using Memos = pxl::morphology::ReducedRows<unsigned char, pxl::SimdVec::arch_128_tag>::Memos;
    MallocWatch watch;
    auto const memos = std::make_shared<Memos>();
    watch.stop();
    std::size_t size = sizeof(Memos);
    while (watch.countOfSize(size) == 0) ++size;
    return size;
  }

  // How many of the containers of memos a run of the shipped plug-in makes. They are made on the caller's thread.
  long countMemos(Way const& way) {
    std::size_t const size = getSizeOfMemos();
    auto const algorithm = morphology_test::makeAlgorithm(way, m_input.get(), m_output.get());
    pxl::Runnable const* const runner = algorithm->getAlgoInfo()->getRunners().at(0);
    long count = 0;
    pxl::instrument::withThreads(1, [&] {
      runner->run(algorithm.get());  // what threads and the host make on first use
      MallocWatch watch;
      runner->run(algorithm.get());
      watch.stop();
      count = watch.countOfSize(size);
    });
    return count;
  }

  std::shared_ptr<pxl::Image> m_input = pxl::Image::New(pxl::cUnsignedInteger8, {20, 9, 3, 1, 1});
  std::shared_ptr<pxl::Image> m_output = pxl::Image::New(pxl::cUnsignedInteger8, {20, 9, 3, 1, 1});
};

TEST_F(ShippedAllocation, OfMemosIsForKernelsThatRemember) {
  using morphology_test::Operation;
  for (Operation operation : {Operation::cDilation, Operation::cErosion}) {
    EXPECT_EQ(countMemos(Way{operation, 0, 1, false, 0, 2}), 0) << "the cross";
    EXPECT_GE(countMemos(Way{operation, 1, 1, false, 0, 2}), 2) << "the square";
    EXPECT_EQ(countMemos(Way{operation, 0, 1, false, 0, 3}), 0) << "the faces";
    EXPECT_EQ(countMemos(Way{operation, 1, 1, false, 0, 3}), 0) << "the edges";
    EXPECT_GE(countMemos(Way{operation, 2, 1, false, 0, 3}), 2) << "the cube";
  }
}

}  // namespace
}  // namespace access_test
