// What the driver of the passes computes: bytes of a temporary image, voxels, positions, and the edges of images.
#include "pxl/Exception.h"
#include "support/Kernels3d.h"
#include "support/StageRecorder.h"

namespace morphology_test {
namespace {

using pxl::access::Region;

/** Counts the voxels of its blocks and notes their sequence and spectral position; leaves the images alone. */
struct CountingKernel {
  template <class AnyBlock, class In, class Out, class Direction>
  void run(AnyBlock const& block, pxl::RecursiveImageContext<In, Out, Arch, Direction>&) const {
    nbVoxels += static_cast<unsigned long>(block.getNumOfVoxels());
    std::lock_guard<std::mutex> const lock(mutex);
    positions.emplace_back(block.sequenceBegin(), block.spectralSeriesBegin());
  }

  mutable std::atomic<unsigned long> nbVoxels{0};
  mutable std::mutex mutex;
  mutable std::vector<std::pair<long, long>> positions;
};

/** What a run of the filter leaves. */
struct Outcome {
  unsigned long nbVoxels;
  unsigned long progress;
  unsigned long maxProgress;
  std::vector<std::pair<long, long>> positions;
};

template <class T>
class RecursiveDriverOf : public testing::Test {
 protected:
  RecursiveDriverOf() { recorder.grains = {1UL << 40, 1UL << 40, 1UL << 40}; }

  // Two images of so many zeros, or a chosen region of them, which needn't lie within the images.
  template <class Tag>
  Outcome run(Five const& sizes, unsigned int nbIterations, Region const* region = nullptr) {
    auto const input = oracle::toHost(oracle::Image<T>(sizes)), output = oracle::toHost(oracle::Image<T>(sizes));
    auto const algorithm = makeAlgorithm(Operation::cDilation);
    algorithm->inputImage = input.get();
    algorithm->outputImage = output.get();
    algorithm->setMaximumExtraMemoryUsageInBytes(extraMemory);
    if (region) algorithm->setProcessingRegion(*region);
    CountingKernel kernel;
    recorder.reset();
    pxl::morphology::MorphologyFilter<Tag, Arch, DilationFunctor, T, CountingKernel> passes(
        algorithm.get(), kernel, input.get(), output.get(), nbIterations);
    withThreads(1, [&] { passes.run(); });
    return {kernel.nbVoxels, passes.filter.m_progress, passes.filter.m_maxProgress, kernel.positions};
  }

  template <class Tag>
  void expectTemporaries(Five const& sizes, unsigned long bytes, unsigned long nbExpected) {
    extraMemory = bytes;
    run<Tag>(sizes, 2);
    EXPECT_EQ(recorder.count("TemporaryImage::New"), nbExpected) << bytes << " bytes";
  }

  StageRecorder recorder;
  unsigned long extraMemory = 0;
};
TEST_TYPES(RecursiveDriverOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(RecursiveDriverOf, ComparesTheBytesOfATemporaryWithTheLimit) {
  Five const sizes{5, 4, 3, 2, 1};
  constexpr unsigned long cBytes = 120 * sizeof(TypeParam);
  for (auto const& [limit, nbExpected] :
       {std::pair{cBytes - 1, 0UL}, {cBytes, 0UL}, {cBytes + 1, 1UL}, {0UL, 0UL}, {121UL, sizeof(TypeParam) == 1}}) {
    this->template expectTemporaries<pxl::Filter2dTag>(sizes, limit, nbExpected);
    this->template expectTemporaries<pxl::Filter3dTag>(sizes, limit, nbExpected);
  }
}

using RecursiveDriver = RecursiveDriverOf<short>;

// 2^40 + 2^20 voxels: in 32 bits that would be 2^20.
TEST_F(RecursiveDriver, CountsMoreVoxelsThan32BitsHold) {
  constexpr long cSide = 1L << 20;
  constexpr unsigned long cNbVoxels = (1UL << 40) + (1UL << 20);
  Region const region(0, cSide, 0, cSide + 1, 0, 1, 0, 1, 0, 1);
  for (unsigned int nbIterations : {1U, 3U})
    for (bool isVolume : {false, true}) {
      auto const outcome = isVolume ? run<pxl::Filter3dTag>({4, 3, 1, 1, 1}, nbIterations, &region)
                                    : run<pxl::Filter2dTag>({4, 3, 1, 1, 1}, nbIterations, &region);
      EXPECT_EQ(outcome.nbVoxels, nbIterations * cNbVoxels);
      EXPECT_EQ(outcome.progress, nbIterations * cNbVoxels);
      EXPECT_EQ(outcome.maxProgress, nbIterations * cNbVoxels);
    }
}

TEST_F(RecursiveDriver, ComparesMoreBytesThan32BitsHold) {
  Region const region(0, 1L << 20, 0, (1L << 20) + 1, 0, 1, 0, 1, 0, 1);
  for (unsigned long limit : {1UL << 32, (1UL << 41) + (1UL << 21)}) {
    extraMemory = limit;
    run<pxl::Filter2dTag>({4, 3, 1, 1, 1}, 2, &region);
    EXPECT_EQ(recorder.count("TemporaryImage::New"), 0U) << limit;
  }
  extraMemory = (1UL << 41) + (1UL << 21) + 1;
  recorder.isReserveGranted = false;
  EXPECT_THROW(run<pxl::Filter2dTag>({4, 3, 1, 1, 1}, 2, &region), pxl::RuleException);
  EXPECT_EQ(recorder.getTrace("reserve").at(0).values,
            (std::vector<long>{oracle::cHostType<short>, (1L << 20) + 1, 1L << 20, 1, 1, 1}));
}

TEST_F(RecursiveDriver, CountsAllVoxelsOfTheBlocksOfAVolume) {
  recorder.grains = {3, 2, 2};
  for (unsigned int nbIterations : {0U, 1U, 2U, 3U}) {
    auto const outcome = run<pxl::Filter3dTag>({7, 5, 6, 2, 3}, nbIterations);
    EXPECT_EQ(outcome.nbVoxels, nbIterations * 7 * 5 * 6 * 2 * 3UL);
    EXPECT_EQ(outcome.progress, outcome.nbVoxels);
    EXPECT_EQ(outcome.maxProgress, outcome.nbVoxels);
  }
}

// No block is made, but each pass among outputs ends with its flush.
TEST_F(RecursiveDriver, HasNothingToDoInAVolumeWithoutPlans) {
  for (Five const& sizes : {Five{5, 4, 0, 2, 1}, {5, 0, 3, 2, 1}, {0, 4, 3, 2, 1}}) {
    auto const outcome = run<pxl::Filter3dTag>(sizes, 3);
    EXPECT_TRUE(outcome.positions.empty()) << sizes[2] << " plans";
    EXPECT_EQ(outcome.maxProgress, 0U);
    EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 2U * 2);
  }
  // Plan by plan there is nothing to flush either.
  EXPECT_TRUE(run<pxl::Filter2dTag>({5, 4, 0, 2, 1}, 3).positions.empty());
  EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 0U);
}

TEST_F(RecursiveDriver, CountsSequenceAndSpectralPositionsFromZero) {
  Region const region(0, 3, 0, 4, 0, 1, 2, 5, 1, 3);
  std::vector<std::pair<long, long>> const expected{{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}};
  EXPECT_EQ(run<pxl::Filter2dTag>({4, 3, 1, 5, 3}, 1, &region).positions, expected);
  EXPECT_EQ(run<pxl::Filter3dTag>({4, 3, 1, 5, 3}, 1, &region).positions, expected);
}

// Beyond the edge of the input there is less than in it, beyond the edges of all that is written there is more.
TEST_F(RecursiveDriver, GivesItsTemporaryTheEdgesOfTheOutput) {
  Five const sizes{6, 5, 3, 1, 1};
  auto const input = oracle::toHost(oracle::Image<short>(sizes));
  for (unsigned long bytes : {0UL, 1UL << 20})
    for (bool isVolume : {false, true}) {
      auto const output = oracle::toHost(oracle::Image<short>(sizes));
      auto const algorithm = makeAlgorithm(Way{Operation::cDilation, 0, 2, false, bytes}, input.get(), output.get());
      recorder.reset();
      auto const runWith = [&](auto& filter) {
        filter.setInput(input.get(), pxl::access::FixedBorderCondition<short>::New(-5));
        filter.setOutput(output.get(), pxl::access::FixedBorderCondition<short>::New(7));
        filter.setNbIterations(2);
        filter.run();
      };
      if (isVolume) {
        Faces<DilationFunctor> kernel;
        pxl::RecursiveImageFilter3d<short, short, Arch, Faces<DilationFunctor>> filter(algorithm.get(), &kernel);
        runWith(filter);
      } else {
        Cross<DilationFunctor> kernel;
        pxl::RecursiveImageFilter2d<short, short, Arch, Cross<DilationFunctor>> filter(algorithm.get(), &kernel);
        runWith(filter);
      }
      ASSERT_EQ(recorder.views.size(), bytes == 0 ? 2U : 3U);
      EXPECT_NE(recorder.views[0].border, recorder.views[1].border);
      if (bytes != 0) {
        EXPECT_EQ(recorder.views[2].border, recorder.views[1].border) << "the same object";
      }
      auto const result = toOracle<short>(*output, sizes);
      oracle::forEachPosition(sizes, [&](Five const& p) {
        bool isAtEdge = p[0] == 0 || p[0] == 5 || p[1] == 0 || p[1] == 4;
        if (isVolume) isAtEdge = isAtEdge || p[2] == 0 || p[2] == 2;
        ASSERT_EQ(result.at(p), isAtEdge ? 7 : 0) << p[0] << ", " << p[1] << ", " << p[2] << ", " << bytes;
      });
    }
}

}  // namespace
}  // namespace morphology_test
