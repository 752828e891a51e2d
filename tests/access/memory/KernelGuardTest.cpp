// Kernels and iterators on row buffers that end at an inaccessible page, where the last whole vector ends.
#include "Core/private/Access/IteratorPixel2Inputs1Output.h"
#include "Core/private/Access/IteratorPixelOutput.h"
#include "PointOperations/src/LogicalOperationWithImageSimdGeneric.h"
#include "PointOperations/src/LogicalOperationWithValueSimdGeneric.h"
#include "PointOperations/src/LogicalOperators.h"
#include "access/memory/MallocHook.h"
#include "filtering/linear/FIR2dToValueSimd.h"
#include "filtering/linear/FIR3dToValueSimd.h"
#include "morphology/support/Kernels3d.h"

namespace access_test {
namespace {

using morphology_test::DilationFunctor;
using morphology_test::Offsets;
using morphology_test::Offsets3d;
using pxl::access::Block2d;
using pxl::access::Block3d;
using pxl::access::NoDataType;
using pxl::access::OverlapBorder;
template <class T>
using Simd = pxl::SimdVec::Simd<T, pxl::SimdVec::arch_128_tag>;

/** What filters give to their kernels. */
template <class T>
struct FilterViews {
  using ArchType = pxl::SimdVec::arch_128_tag;
  using InputView = pxl::access::View<T>;
  using InputView1 = InputView;
  using InputView2 = InputView;
  using OutputView = InputView;
  std::shared_ptr<InputView const> input, input1, input2;
  std::shared_ptr<OutputView> output;
};

template <class T>
class KernelGuardOf : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  using View = pxl::access::View<T>;
  using Run = morphology_test::HandRun<T>;

  void SetUp() override {
    if (!isMallocHooked()) GTEST_SKIP() << "the sanitizer has the allocator";
  }

  static Block2d makePlan(long nbCols) { return Block2d(1, 4, 1, 2, 2 + nbCols, 1, 0, 0, 0); }
  static Block3d makeVolume(long nbCols) { return Block3d(1, 3, 1, 1, 4, 1, 2, 2 + nbCols, 1, 0, 0); }

  // A run in which `nbBuffers` buffers of `nbVoxels` may be used for `nbAccessible` voxels, and what fills up 16
  // bytes.
  template <class Work>
  void runGuarded(long nbVoxels, long nbAccessible, long nbBuffers, Work&& work) {
    for (Placement placement : {Placement::cGuarded16, Placement::cGuarded8}) {
      Run run(m_image, false, T(3));
      run.context.input->getBorderCondition();  // what a view makes on its first use by a thread
      run.context.output->getBorderCondition();
      MallocWatch watch;
      watch.placement = placement;
      watch.placedSize = static_cast<std::size_t>(nbVoxels) * sizeof(T) + 32;
      watch.accessibleSize = static_cast<std::size_t>(nbAccessible) * sizeof(T);
      work(run.context);
      watch.stop();
      ASSERT_EQ(watch.nbPlaced, nbBuffers) << "buffers of " << nbVoxels << " voxels";
    }
  }

  // Calls work(context, nbCols) for blocks of many widths. It uses `nbRead` buffers that are `margin` voxels longer
  // than the block, from all of which a vector is read for each vector of the block, and `nbOwn` of the block's
  // width.
  template <class Work>
  void expectNothingBeyond(long margin, long nbRead, long nbOwn, Work&& work) {
    std::vector<long> widths{8 * L - 1, 8 * L, 8 * L + 1, 12 * L + 1};
    for (long nbCols = 1; nbCols <= 3 * L + 1; ++nbCols) widths.push_back(nbCols);
    for (long nbCols : widths) {
      long const nbWhole = (nbCols + L - 1) / L * L;
      auto const run = [&](auto& context) { work(context, nbCols); };
      if (margin == 0) {
        runGuarded(nbCols, nbWhole, nbRead + nbOwn, run);
      } else {
        runGuarded(nbCols + margin, nbWhole + margin, nbRead, run);
        if (nbOwn > 0) runGuarded(nbCols, nbWhole, nbOwn, run);
      }
      ASSERT_FALSE(HasFatalFailure()) << nbCols << " columns";
    }
  }

  // Of a kernel without memory from one run to the next.
  template <class Kernel, class MakeBlock>
  void expectKernelStays(Kernel const& kernel, MakeBlock&& makeBlock, long margin, long nbRead, long nbOwn) {
    expectNothingBeyond(margin, nbRead, nbOwn,
                        [&](auto& context, long nbCols) { Kernel(kernel).run(makeBlock(nbCols), context); });
  }

  template <class Kernel, class MakeBlock>
  void expectFilterKernelStays(Kernel const& kernel, MakeBlock&& makeBlock, long margin, long nbRead, long nbOwn) {
    expectNothingBeyond(margin, nbRead, nbOwn, [&](auto& context, long nbCols) {
      FilterViews<T> filter{context.input, context.input, context.input, context.output};
      kernel.run(makeBlock(nbCols), filter);
    });
  }

  // Walks a block by advance() and loads a vector from each pointer of visit(iterator, load).
  template <class Iterator, class Data, class MakeBlock, class Visit>
  void expectWalkStays(Data const& data, MakeBlock&& makeBlock, long margin, long nbRead, Visit&& visit) {
    expectNothingBeyond(margin, nbRead, 0, [&](auto& context, long nbCols) {
      auto sum = Simd<T>::broadcast(T(0));
      auto const load = [&sum](T const* voxels) { sum = Simd<T>::max(sum, Simd<T>::load(voxels)); };
      Iterator iterator(context.input, data);
      auto const block = makeBlock(nbCols);
      iterator.init(block);
      for (long left = (nbCols + L - 1) / L * block.getNbRows() * block.getNbPlans(); left > 0; --left) {
        visit(iterator, load);
        iterator.advance();
      }
      Simd<T>::store(m_sink, sum);
    });
  }

  oracle::Random m_random{911};
  oracle::Image<T> const m_image = m_random.image<T>({13 * L, 6, 4, 1, 1});
  T m_sink[16];
};
TEST_TYPES(KernelGuardOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(KernelGuardOf, IsNotTouchedInPlans) {
  this->expectKernelStays(morphology_test::Cross<DilationFunctor>(), this->makePlan, 2, 3, 1);
  for (Offsets const& list : {Offsets{{-1, -2}, {3, 1}}, {{0, -1}, {2, 2}, {1, 0}}})
    this->expectKernelStays(morphology_test::General<DilationFunctor>(list), this->makePlan,
                            list[1].col - list[0].col, 4, 1);
  this->expectKernelStays(morphology_test::General<DilationFunctor>({{2, 1}}), this->makePlan, 0, 1, 1);
}

// One row that is read, the output's and two that are remembered.
TEST_OF_TYPES(KernelGuardOf, IsNotTouchedByTheMemosOfTheSquare) {
  this->expectNothingBeyond(2, 1, 3, [this](auto& context, long nbCols) {
    morphology_test::Square<DilationFunctor, TypeParam> const square;
    square.run(this->makePlan(nbCols), context);
  });
}

TEST_OF_TYPES(KernelGuardOf, IsNotTouchedInVolumes) {
  this->expectKernelStays(morphology_test::Faces<DilationFunctor>(), this->makeVolume, 2, 3 * 5, 1);
  this->expectKernelStays(morphology_test::Edges<DilationFunctor>(), this->makeVolume, 2, 3 * 5, 1);
  this->expectKernelStays(morphology_test::General3d<DilationFunctor>({{-1, -1, 0}, {2, 1, 1}}), this->makeVolume, 3,
                          2 * 5, 1);
}

// Three plans that are read, one of three rows that is written, and two rows that are remembered.
TEST_OF_TYPES(KernelGuardOf, IsNotTouchedByTheMemosOfTheCube) {
  this->expectNothingBeyond(2, 3 * 5, 3 + 2, [this](auto& context, long nbCols) {
    morphology_test::Cube<DilationFunctor, TypeParam> const cube;
    cube.run(this->makeVolume(nbCols), context);
  });
}

TEST_OF_TYPES(KernelGuardOf, IsNotTouchedByWeightedSums) {
  using T = TypeParam;
  if constexpr (std::is_floating_point_v<T>) {
    using namespace pxl::filtering::linear;
    this->expectFilterKernelStays(FIR2dToValueSimd<T>{{{-1, 0}, {1, 1}, {0, 0}}, {1, 2, 3}}, this->makePlan, 2, 2, 1);
    this->expectFilterKernelStays(FIR2dToValueSimd<T>{{{4, 0}}, {1}}, this->makePlan, 0, 1, 1);
    this->expectFilterKernelStays(FIR3dToValueSimd<T>{{{-2, 0, 0}, {1, 1, 1}}, {1, 2}}, this->makeVolume, 3, 2 * 4,
                                  1);
  }
}

TEST_OF_TYPES(KernelGuardOf, IsNotTouchedByLogicalOperations) {
  if constexpr (std::is_integral_v<TypeParam>) {
    using namespace pxl::point_operations;
    using Tag = pxl::BinaryLogicalOperator_NXorTag;
    this->expectFilterKernelStays(LogicalOperationWithImageSimdGeneric<Tag>(), this->makeVolume, 0, 2, 1);
    this->expectFilterKernelStays(LogicalOperationWithValueSimdGeneric<Tag>{5}, this->makeVolume, 0, 1, 1);
  }
}

TEST_OF_TYPES(KernelGuardOf, IsNotTouchedByIteratorsWithNeighbours) {
  using V = typename TestFixture::View;
  constexpr long cLanes = TestFixture::L;
  auto const visitList = [](auto& iterator, auto& load) {
    for (auto const* neighbour : iterator.neighbours) load(neighbour);
  };
  this->template expectWalkStays<pxl::access::IteratorNeighborhood2D_4<V, cLanes>>(
      NoDataType(), this->makePlan, 2, 3, [](auto& iterator, auto& load) {
        for (auto const* neighbour : {iterator.above, iterator.left, iterator.centre, iterator.right, iterator.below})
          load(neighbour);
      });
  this->template expectWalkStays<pxl::access::IteratorNeighborhood2D_Gen<V, cLanes>>(Offsets{{-2, 0}, {3, 1}},
                                                                                     this->makePlan, 5, 2, visitList);
  this->template expectWalkStays<pxl::access::IteratorNeighborhood3D_6<V, cLanes>>(NoDataType(), this->makeVolume, 2,
                                                                                   3 * 5, visitList);
  this->template expectWalkStays<pxl::access::IteratorNeighborhood3D_18<V, cLanes>>(NoDataType(), this->makeVolume, 2,
                                                                                    3 * 5, visitList);
  this->template expectWalkStays<pxl::access::IteratorNeighborhood3D_Gen<V, cLanes>>(
      Offsets3d{{-2, 0, 0}, {3, 1, 1}}, this->makeVolume, 5, 2 * 4, visitList);
}

TEST_OF_TYPES(KernelGuardOf, IsNotTouchedByIteratorsThatWrite) {
  using V = typename TestFixture::View;
  constexpr long cLanes = TestFixture::L;
  auto const zero = Simd<TypeParam>::broadcast(TypeParam(0));
  for (bool readOldValues : {false, true}) {
    this->expectNothingBeyond(0, 0, 1, [&](auto& context, long nbCols) {
      pxl::access::IteratorPixelOutput<V, cLanes> output(context.output, readOldValues, OverlapBorder());
      for (output.init(this->makeVolume(nbCols)); !output.atEnd(); output.advance())
        Simd<TypeParam>::store(output.current, zero);
    });
    this->expectNothingBeyond(0, 2, 1, [&](auto& context, long nbCols) {
      pxl::access::IteratorPixel2Inputs1Output<V, V, V, cLanes> images(context.input, context.input, context.output,
                                                                       readOldValues, OverlapBorder());
      for (images.init(this->makeVolume(nbCols)); !images.atEnd(); images.advance())
        Simd<TypeParam>::store(images.current, Simd<TypeParam>::max(Simd<TypeParam>::load(images.current1),
                                                                    Simd<TypeParam>::load(images.current2)));
    });
  }
}

}  // namespace
}  // namespace access_test
