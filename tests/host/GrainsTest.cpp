#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include "Core/private/Access/Block.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "support/Algorithms.h"
#include "support/Filters.h"
#include "support/Images.h"
#include "support/Random.h"

namespace {

using namespace host_test;
using pxl::BaseAlgorithm;
using pxl::BaseTbbAlgorithm;
using pxl::access::Region;
using GrainSizes = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes;

struct Case {
  long cols, rows, plans;
  int nbThreads;
};

GrainSizes grainsOf(BaseAlgorithm* algorithm, Case const& c) {
  GrainSizes grains{};
  tbb::global_control const threads(tbb::global_control::max_allowed_parallelism, 16);
  tbb::task_arena arena(c.nbThreads);
  arena.execute([&] {
    BaseTbbAlgorithm filter(algorithm);
    // Begins don't matter.
    filter.setProcessingRegion(Region(3, 3 + c.rows, 5, 5 + c.cols, 7, 7 + c.plans, 0, 1, 0, 1));
    filter.getPartitionerGrainSizes(grains);
  });
  return grains;
}

// The leaves that halving down to the grains really gives.
template <class Block>
unsigned long countLeaves(Block block) {
  if (!block.is_divisible()) return 1;
  Block other(block, tbb::split());
  return countLeaves(block) + countLeaves(other);
}

unsigned long countLeaves(Case const& c, GrainSizes const& g, bool isPlanByPlan) {
  auto const grain = [](unsigned long value) { return static_cast<long>(value); };
  if (isPlanByPlan)
    return countLeaves(pxl::access::Block2d(0, c.rows, grain(g.rows), 0, c.cols, grain(g.cols), 0, 0, 0));
  return countLeaves(
      pxl::access::Block3d(0, c.plans, grain(g.plans), 0, c.rows, grain(g.rows), 0, c.cols, grain(g.cols), 0, 0));
}

// What must hold for every region.
void expectSoundGrains(BaseAlgorithm* algorithm, bool isPlanOperator, Case const& c) {
  SCOPED_TRACE(testing::Message() << c.cols << " x " << c.rows << " x " << c.plans << ", " << c.nbThreads
                                  << " threads");
  GrainSizes const grains = grainsOf(algorithm, c);
  ASSERT_GE(grains.cols, 1u);
  ASSERT_GE(grains.rows, 1u);
  ASSERT_GE(grains.plans, 1u);
  bool const isPlanByPlan = isPlanOperator || c.plans <= 1;
  EXPECT_EQ(grains.cols, static_cast<unsigned long>(std::clamp(c.cols, 1L, 16384L)));
  // Planes of at most 32768 voxels, in volumes of at most 64 rows.
  long const mostRowsOfPlane = std::max(8L, 32768 / static_cast<long>(grains.cols));
  unsigned long const mostRows =
      static_cast<unsigned long>(isPlanByPlan ? mostRowsOfPlane : std::min(mostRowsOfPlane, 64L));
  unsigned long const mostPlans = isPlanByPlan ? 1 : 64;
  // Halvings of where they start.
  unsigned long rows = mostRows, plans = mostPlans;
  while (rows > grains.rows) rows /= 2;
  while (plans > grains.plans) plans /= 2;
  ASSERT_EQ(grains.rows, rows);
  ASSERT_EQ(grains.plans, plans);
  if (c.cols < 1 || c.rows < 1 || c.plans < 1) return;
  // Halving cuts at least as often as the grains fit; enough leaves, or none smaller.
  auto const parts = [](long size, unsigned long grain) {
    return (static_cast<unsigned long>(size) + grain - 1) / grain;
  };
  auto const nbParts = [&](unsigned long rowGrain, unsigned long planGrain) {
    return parts(c.cols, grains.cols) * parts(c.rows, rowGrain) * (isPlanByPlan ? 1 : parts(c.plans, planGrain));
  };
  unsigned long const nbWanted = 4 * static_cast<unsigned long>(c.nbThreads);
  if (grains.rows > 1 || grains.plans > 1) {
    EXPECT_GE(nbParts(grains.rows, grains.plans), nbWanted);
    if (c.rows * c.plans < 1 << 14) {
      EXPECT_GE(countLeaves(c, grains, isPlanByPlan), nbWanted);
    }
  }
  // Not smaller than need be: the starting grains are kept when they give enough.
  if (nbParts(mostRows, mostPlans) >= nbWanted) {
    EXPECT_EQ(grains.rows, mostRows);
    EXPECT_EQ(grains.plans, mostPlans);
  } else if (isPlanByPlan && grains.rows < mostRows) {
    unsigned long before = mostRows;
    while (before / 2 > grains.rows) before /= 2;
    EXPECT_LT(nbParts(before, 1), nbWanted);
  }
}

TEST(Grains, AreSoundForAnyRegion) {
  Random random;
  PlanOperator plan;
  VolumeOperator volume;
  int const threadCounts[] = {1, 2, 3, 16};
  for (int round = 0; round < 2000; ++round) {
    auto const size = [&] {
      long const large = 1L << random.between(0, 16);
      return random.between(0L, large);
    };
    Case const c{size(), size(), size(), threadCounts[random.between(0, 3)]};
    expectSoundGrains(&plan, true, c);
    expectSoundGrains(&volume, false, c);
    expectSoundGrains(nullptr, false, c);
    if (::testing::Test::HasFailure()) return;
  }
}

TEST(Grains, AreAtLeastOneForEmptyAndBackwardRegions) {
  VolumeOperator volume;
  for (long const n : {0L, -1L, std::numeric_limits<int>::min() * 1L})
    for (Case const& c : {Case{n, 5, 5, 2}, Case{5, n, 5, 2}, Case{5, 5, n, 2}, Case{n, n, n, 2}}) {
      GrainSizes const grains = grainsOf(&volume, c);
      EXPECT_GE(grains.cols, 1u);
      EXPECT_GE(grains.rows, 1u);
      EXPECT_GE(grains.plans, 1u);
    }
}

TEST(Grains, StartFromWholeRows) {
  PlanOperator plan;
  VolumeOperator volume;
  auto const expectGrains = [](GrainSizes const& grains, unsigned long cols, unsigned long rows,
                               unsigned long plans) {
    EXPECT_EQ(grains.cols, cols);
    EXPECT_EQ(grains.rows, rows);
    EXPECT_EQ(grains.plans, plans);
  };
  expectGrains(grainsOf(&plan, {4096, 4096, 1, 2}), 4096, 8, 1);
  expectGrains(grainsOf(&plan, {1024, 1 << 20, 1, 2}), 1024, 32, 1);
  expectGrains(grainsOf(&plan, {1, 1 << 30, 1, 2}), 1, 32768, 1);
  expectGrains(grainsOf(&plan, {1L << 30, 1 << 20, 1, 2}), 16384, 8, 1);
  expectGrains(grainsOf(&volume, {256, 256, 256, 2}), 256, 64, 64);
  expectGrains(grainsOf(&volume, {1L << 30, 1 << 20, 2000, 2}), 16384, 8, 64);
  // One plan makes any operator plan by plan.
  expectGrains(grainsOf(&volume, {1024, 1 << 20, 1, 2}), 1024, 32, 1);
  // Volumes of a plan operator are cut in plans, one at a time.
  expectGrains(grainsOf(&plan, {1024, 64, 1000, 2}), 1024, 8, 1);
  expectGrains(grainsOf(&plan, {1024, 64, 1000, 16}), 1024, 1, 1);
}

TEST(Grains, OfOperatorsWithoutNeighboursCutPlansApartFirst) {
  pxl::analysis::IntensityExtrema extrema;
  for (Case const& c : {Case{256, 256, 256, 2}, Case{1024, 1024, 64, 16}, Case{300, 200, 9, 1}}) {
    GrainSizes const grains = grainsOf(&extrema, c);
    EXPECT_EQ(grains.cols, static_cast<unsigned long>(c.cols));
    EXPECT_EQ(grains.plans, 1u);
    EXPECT_EQ(grains.rows, static_cast<unsigned long>(32768 / c.cols));
    // The first cuts leave whole plans.
    auto const grain = [](unsigned long value) { return static_cast<long>(value); };
    pxl::access::Block3d low(0, c.plans, grain(grains.plans), 0, c.rows, grain(grains.rows), 0, c.cols,
                             grain(grains.cols), 0, 0);
    pxl::access::Block3d const high(low, tbb::split());
    EXPECT_EQ(low.getNbRows(), c.rows);
    EXPECT_EQ(low.getNbPlans() + high.getNbPlans(), c.plans);
  }
}

TEST(Grains, OfAChildFollowTheOperatorOfItsParent) {
  PlanOperator plan;
  VolumeOperator volume;
  Region const region(0, 1 << 12, 0, 256, 0, 1 << 10, 0, 1, 0, 1);
  for (BaseAlgorithm* const algorithm : {static_cast<BaseAlgorithm*>(&plan), static_cast<BaseAlgorithm*>(&volume)}) {
    struct Child : BaseTbbAlgorithm {
      using BaseTbbAlgorithm::BaseTbbAlgorithm;
      void run() override { getPartitionerGrainSizes(grains); }
      GrainSizes grains{};
    } child(nullptr);
    child.setProcessingRegion(region);
    Stage parent(algorithm);
    parent.runChildAlgo(&child);
    EXPECT_EQ(child.grains.rows, algorithm == &plan ? 128u : 64u);
    EXPECT_EQ(child.grains.plans, algorithm == &plan ? 1u : 64u);
  }
}

}  // namespace
