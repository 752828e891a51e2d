// Passes over a volume in place, block by block in any order: no block may see what a pass has already written.
#include <algorithm>
#include <functional>
#include <random>

#include "oracle/Shapes.h"
#include "support/Kernels3d.h"
#include "support/WriteWatch.h"

namespace morphology_test {
namespace {

template <class T>
class LeafOrder3d : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  oracle::Random m_random{321};
  oracle::Image<T> const m_image = m_random.image<T>({L + 5, 6, 5, 1, 1});

  // Blocks in their own order, from the end, and at random.
  std::vector<std::vector<Block3d>> orderOf(std::vector<Block3d> const& blocks) {
    std::vector<std::vector<Block3d>> orders(3, blocks);
    std::reverse(orders[1].begin(), orders[1].end());
    std::shuffle(orders[2].begin(), orders[2].end(), m_random.engine());
    return orders;
  }

  // A kernel of any type with the value beyond the edge: what the tests do with it is compiled once.
  struct AnyKernel {
    std::function<void(Block3d const&, typename HandRun<T>::Context&)> run;
    T beyond;
  };
  template <class Functor, class Kernel>
  static AnyKernel toAny(Kernel kernel) {
    return {[kernel](Block3d const& block, typename HandRun<T>::Context& context) { kernel.run(block, context); },
            Functor::template cNeutral<T>};
  }

  void expectRight(AnyKernel const& kernel, oracle::Image<T> const& expected, std::vector<Block3d> const& blocks,
                   bool isInPlace) {
    HandRun<T> pass(m_image, isInPlace, kernel.beyond);
    WriteWatch watch(m_image.sizes);
    for (Block3d const& block : blocks) kernel.run(block, pass.context);
    if (isInPlace) {
      ASSERT_EQ(watch.countWrittenRead(), 0) << blocks.size() << " blocks";
    }
    // What is held back isn't written before all blocks are done, and then everything is.
    long const nbVoxels = static_cast<long>(m_image.voxels.size());
    if (!isInPlace || blocks.size() == 1) {
      ASSERT_EQ(watch.countWritten(), nbVoxels);
    }
    pass.context.output->writeAllTemporizedRows();
    ASSERT_EQ(watch.countWritten(), nbVoxels);
    ASSERT_TRUE(areEqual(pass.getOutput(), expected)) << blocks.size() << " blocks" << (isInPlace ? " in place" : "");
  }

  void expectRightInAnyOrder(AnyKernel const& kernel, oracle::Image<T> const& expected) {
    for (std::array<long, 3> const& largest :
         {std::array<long, 3>{1, 1, 1}, {5, 3, 2}, {99, 2, 1}, {3, 99, 2}, {99, 1, 99}, {99, 99, 99}})
      for (auto const& blocks : orderOf(cutVolume(m_image.sizes, largest)))
        for (bool isInPlace : {true, false}) {
          expectRight(kernel, expected, blocks, isInPlace);
          if (this->HasFatalFailure()) return;
        }
  }

  template <class Functor>
  void expectFixedKernelsRight() {
    constexpr Operation cOperation = cOperationOf<Functor>;
    expectRightInAnyOrder(toAny<Functor>(Faces<Functor>()), oracle::applyVolumeTimes(m_image, cOperation, 0, 1));
    expectRightInAnyOrder(toAny<Functor>(Edges<Functor>()), oracle::applyVolumeTimes(m_image, cOperation, 1, 1));
    expectRightInAnyOrder(toAny<Functor>(Cube<Functor, T>()), oracle::applyVolumeTimes(m_image, cOperation, 2, 1));
  }
  template <class Functor>
  void expectListsRight() {
    for (Offsets3d const& offsets : makeVolumeLists())
      expectRightInAnyOrder(toAny<Functor>(General3d<Functor>(offsets)),
                            applyListTimes(m_image, cOperationOf<Functor>, offsets, 1));
  }
};
TEST_TYPES(LeafOrder3d, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(LeafOrder3d, DoesNotMatterForDilations) { this->template expectFixedKernelsRight<DilationFunctor>(); }

TEST_OF_TYPES(LeafOrder3d, DoesNotMatterForErosions) { this->template expectFixedKernelsRight<ErosionFunctor>(); }

TEST_OF_TYPES(LeafOrder3d, DoesNotMatterForListsOfDilations) { this->template expectListsRight<DilationFunctor>(); }

TEST_OF_TYPES(LeafOrder3d, DoesNotMatterForListsOfErosions) { this->template expectListsRight<ErosionFunctor>(); }

TEST_OF_TYPES(LeafOrder3d, DoesNotMatterForLinesDisksAndBalls) {
  for (auto const& element : {oracle::makeLine(0, 0, 9), oracle::makeLine(-25, 200, 6),
                              oracle::makeFlatDisk(40, 70, 2), oracle::makeDisk(2), oracle::makeBall(2)}) {
    Offsets3d offsets;
    for (oracle::Offset const& o : element) offsets.push_back({o[0], o[1], o[2]});
    this->expectRightInAnyOrder(this->template toAny<ErosionFunctor>(General3d<ErosionFunctor>(offsets)),
                                oracle::applyVolumeList(this->m_image, Operation::cErosion, element));
  }
}

// Lists with all offsets in plans before: in blocks of a single plan nothing of the block itself is read.
TEST_OF_TYPES(LeafOrder3d, OfSinglePlansDoesNotMatterForListsFarBefore) {
  for (Offsets3d const& offsets : {Offsets3d{{0, 0, -1}}, {{0, 0, -2}}, {{-4, 3, -3}, {3, -1, -2}}, {{6, 0, -7}}})
    for (auto const& blocks : this->orderOf(cutVolume(this->m_image.sizes, {4, 3, 1}))) {
      auto const expected = applyListTimes(this->m_image, Operation::cDilation, offsets, 1);
      this->expectRight(this->template toAny<DilationFunctor>(General3d<DilationFunctor>(offsets)), expected, blocks,
                        true);
    }
}

// One kernel, and one cache for all blocks of a pass: what a larger block leaves behind doesn't disturb a smaller
// one.
TEST_OF_TYPES(LeafOrder3d, OfBlocksOfChangingSizesDoesNotMatterForOneCube) {
  using T = TypeParam;
  long const width = this->m_image.sizes[0];
  // Copies of a cube share its memory.
  auto const kernel = this->template toAny<ErosionFunctor>(Cube<ErosionFunctor, T>());
  auto const expected = oracle::applyCube(this->m_image, Operation::cErosion);
  for (auto const& cols : {std::vector<long>{0, 1, this->L + 1, width}, {0, width - 1, width}})
    for (auto const& rows : {std::vector<long>{0, 4, 5, 6}, {0, 1, 6}})
      for (auto const& plans : {std::vector<long>{0, 1, 4, 5}, {0, 3, 5}})
        for (auto const& blocks : this->orderOf(cutAt(cols, rows, plans)))
          for (bool isInPlace : {true, false}) this->expectRight(kernel, expected, blocks, isInPlace);
}

TEST_OF_TYPES(LeafOrder3d, LetsOneCubeGoFromOneImageToAnother) {
  using T = TypeParam;
  Cube<DilationFunctor, T> const kernel;
  for (Five const& sizes :
       {Five{1, 1, 1, 1, 1}, {3 * this->L + 1, 2, 3, 1, 1}, {2, 7, 1, 1, 1}, {this->L, 1, 2, 1, 1}}) {
    auto const image = this->m_random.template image<T>(sizes);
    HandRun<T> pass(image, true, DilationFunctor::cNeutral<T>);
    for (Block3d const& block : cutVolume(sizes, {99, 99, 99})) kernel.run(block, pass.context);
    EXPECT_TRUE(areEqual(pass.getOutput(), oracle::applyCube(image, Operation::cDilation))) << sizes[0];
  }
}

// How many voxels of a block lie where a neighbouring block reads.
TEST_OF_TYPES(LeafOrder3d, HoldsBackNoMoreThanNeighboursRead) {
  using T = TypeParam;
  Five const sizes{24, 18, 15, 1, 1};
  Block3d const inner(5, 10, 1, 6, 12, 1, 8, 16, 1, 0, 0), corner(0, 5, 1, 0, 6, 1, 0, 8, 1, 0, 0);
  auto const countAtOnce = [&](typename TestFixture::AnyKernel const& kernel, Block3d const& block) {
    HandRun<T> pass(oracle::Image<T>(sizes), true, T(0));
    WriteWatch watch(sizes);
    kernel.run(block, pass.context);
    return watch.countWritten();
  };
  struct {
    Offsets3d offsets;
    long nbOfInner, nbOfCorner;  // written at once, of 8 x 6 x 5
  } const cases[] = {{{{0, 0, 0}}, 240, 240},
                     {{{-1, -1, -1}, {1, 1, 1}}, 6 * 4 * 3, 7 * 5 * 4},
                     {{{3, 0, 0}}, 5 * 6 * 5, 240},  // the block to the left reads the first three columns
                     {{{0, -3, 0}}, 8 * 3 * 5, 8 * 3 * 5},
                     {{{0, 0, 2}}, 8 * 6 * 3, 240},         // the block before reads the first two plans
                     {{{0, 0, -2}}, 8 * 6 * 3, 8 * 6 * 3},  // the block behind reads the last two
                     {{{0, 0, -1}, {0, 0, 2}}, 8 * 6 * 2, 8 * 6 * 4}};
  for (auto const& [offsets, nbOfInner, nbOfCorner] : cases) {
    auto const kernel = this->template toAny<DilationFunctor>(General3d<DilationFunctor>(offsets));
    EXPECT_EQ(countAtOnce(kernel, inner), nbOfInner) << offsets[0].col << ", " << offsets[0].row;
    EXPECT_EQ(countAtOnce(kernel, corner), nbOfCorner) << offsets[0].col << ", " << offsets[0].row;
  }
  for (auto const& [block, nbExpected] : {std::pair{inner, 6L * 4 * 3}, {corner, 7L * 5 * 4}}) {
    EXPECT_EQ(countAtOnce(this->template toAny<DilationFunctor>(Faces<DilationFunctor>()), block), nbExpected);
    EXPECT_EQ(countAtOnce(this->template toAny<DilationFunctor>(Edges<DilationFunctor>()), block), nbExpected);
    EXPECT_EQ(countAtOnce(this->template toAny<DilationFunctor>(Cube<DilationFunctor, T>()), block), nbExpected);
  }
}

}  // namespace
}  // namespace morphology_test
