#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "qorn/io/CroppedHeader.h"
#include "qorn/io/WindowPlan.h"

namespace {

using pxl::access::Region;
using pxl::kernel::Margins;
using qorn::io::WindowDemand;
using qorn::io::WindowPlan;

Region makeWhole(pxl::ImageSizes const& n) {
  return {0, static_cast<long>(n[1]), 0, static_cast<long>(n[0]), 0, static_cast<long>(n[2]),
          0, static_cast<long>(n[3]), 0, static_cast<long>(n[4])};
}

TEST(WindowPlan, TakesEverythingAtOnceWhereItFits) {
  pxl::ImageSizes const sizes{10, 20, 30, 1, 1};
  WindowDemand const demand{sizes, makeWhole(sizes), Margins{1, 1, 1, 1, 1, 1}, 2, 12000};
  WindowPlan const plan(demand);
  EXPECT_EQ(plan.getCount(), 1u);
  EXPECT_EQ(plan.getLargest(), 6000u);
}

TEST(WindowPlan, TakesWholePlansWhereThatIsCheapest) {
  // No margin in rows, so that it costs nothing to cut there, and none in plans.
  pxl::ImageSizes const sizes{100, 100, 50, 1, 1};
  WindowPlan const flat({sizes, makeWhole(sizes), Margins{3, 3, 0, 0, 0, 0}, 1, 105000});
  EXPECT_EQ(flat.getCount(), 5u);
  EXPECT_EQ(flat.getWindow(1).plansBegin(), 10);
  EXPECT_EQ(flat.getWindow(1).getNbRows(), 100);
  // Cutting rows costs two of them in each plan; whole plans cost nothing.
  WindowPlan const rows({sizes, makeWhole(sizes), Margins{0, 0, 1, 1, 0, 0}, 1, 25000});
  EXPECT_EQ(rows.getCount(), 25u);
  EXPECT_EQ(rows.getWindow(0).getNbRows(), 100);
}

TEST(WindowPlan, CutsRowsWherePlansDoNotFit) {
  pxl::ImageSizes const sizes{1000, 1000, 64, 1, 1};
  WindowPlan const plan({sizes, makeWhole(sizes), Margins{1, 1, 1, 1, 1, 1}, 1, 2000000});
  // Three plans don't fit. Of slabs, those of several plans have the least around them.
  Region const window = plan.getWindow(0);
  EXPECT_GT(window.getNbPlans(), 4);
  EXPECT_LT(window.getNbRows(), 1000);
  EXPECT_GT(window.getNumOfVoxels(), 1500000u);
}

TEST(WindowPlan, SaysWhatItNeedsAtLeast) {
  pxl::ImageSizes const sizes{7, 5, 3, 1, 1};
  Margins const margins{0, 0, 1, 1, 1, 1};
  WindowPlan const none({sizes, makeWhole(sizes), margins, 4, 251});
  EXPECT_EQ(none.getCount(), 0u);
  EXPECT_EQ(none.getLeastBytes(), 7u * 3 * 3 * 4);
  // One row of all plans takes no more than one of the middle plan.
  EXPECT_EQ(WindowPlan({sizes, makeWhole(sizes), margins, 4, 252}).getCount(), 5u);
}

TEST(WindowPlan, CoversAnyRegionOnceWithinItsMemory) {
  std::mt19937 engine(12);
  auto const number = [&engine](int low, int high) {
    return static_cast<unsigned long>(std::uniform_int_distribution<int>(low, high)(engine));
  };
  for (int round = 0; round < 400; ++round) {
    WindowDemand demand;
    long bounds[5][2];
    for (std::size_t d = 0; d < 5; ++d) {
      demand.sizes[d] = number(1, d < 3 ? 90 : 3);
      bounds[d][0] = static_cast<long>(number(0, static_cast<int>(demand.sizes[d]) - 1));
      bounds[d][1] = static_cast<long>(number(static_cast<int>(bounds[d][0]) + 1, static_cast<int>(demand.sizes[d])));
    }
    demand.region = Region(bounds[1][0], bounds[1][1], bounds[0][0], bounds[0][1], bounds[2][0], bounds[2][1],
                           bounds[3][0], bounds[3][1], bounds[4][0], bounds[4][1]);
    demand.margins = {number(0, 3), number(0, 3), number(0, 9), number(0, 9), number(0, 5), number(0, 5)};
    demand.voxelBytes = number(1, 24);
    demand.memory = WindowPlan(demand).getLeastBytes() + number(0, 3) * number(0, 200000);
    WindowPlan const plan(demand);
    ASSERT_GT(plan.getCount(), 0u) << round;
    std::vector<char> seen(demand.sizes[0] * demand.sizes[1] * demand.sizes[2] * demand.sizes[3] * demand.sizes[4]);
    unsigned long nbVoxels = 0;
    for (unsigned long i = 0; i < plan.getCount(); ++i) {
      Region const w = plan.getWindow(i), e = plan.getEnlarged(w);
      ASSERT_LE(e.getNumOfVoxels(), plan.getLargest());
      ASSERT_LE(plan.getLargest() * demand.voxelBytes, demand.memory);
      EXPECT_EQ(e.rowsBegin(), std::max(0L, w.rowsBegin() - static_cast<long>(demand.margins.rowsBefore)));
      EXPECT_EQ(e.plansEnd(), std::min(static_cast<long>(demand.sizes[2]),
                                       w.plansEnd() + static_cast<long>(demand.margins.plansAfter)));
      EXPECT_EQ(e.getNbSequencePlans() * e.getNbSpectralSeries(), 1);
      nbVoxels += w.getNumOfVoxels();
      for (long x = w.spectralSeriesBegin(); x < w.spectralSeriesEnd(); ++x)
        for (long s = w.sequenceBegin(); s < w.sequenceEnd(); ++s)
          for (long p = w.plansBegin(); p < w.plansEnd(); ++p)
            for (long r = w.rowsBegin(); r < w.rowsEnd(); ++r)
              for (long c = w.colsBegin(); c < w.colsEnd(); ++c) {
                auto const& n = demand.sizes;
                unsigned long const rows =
                    ((static_cast<unsigned long>(x) * n[3] + static_cast<unsigned long>(s)) * n[2] +
                     static_cast<unsigned long>(p)) *
                        n[1] +
                    static_cast<unsigned long>(r);
                ASSERT_EQ(seen.at(rows * n[0] + static_cast<unsigned long>(c))++, 0);
              }
    }
    ASSERT_EQ(nbVoxels, demand.region.getNumOfVoxels()) << round;
  }
}

}  // namespace
