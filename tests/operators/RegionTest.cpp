// A region to process gives the same part of the whole result, or it is refused.
#include <cstring>

#include "instrument/ShippedPaths.h"
#include "operators/support/EveryOperator.h"
#include "oracle/Oracle.h"
#include "pxl/Exception.h"

namespace operators_test {
namespace {

using pxl::access::Region;

class RegionToProcess : public EveryOperator {
 protected:
  static constexpr long cSizes[5] = {9, 8, 4, 3, 2};

  static void fill(pxl::Image& image, oracle::Random& random) {
    auto* const voxels = static_cast<unsigned short*>(image.getVoxels());
    for (long i = 0; i < 9 * 8 * 4 * 3 * 2; ++i) voxels[i] = random.voxel<unsigned short>();
  }
  static bool isInside(Region const& region, long i) {
    long p[5];
    for (int d = 0; d < 5; ++d) {
      p[d] = i % cSizes[d];
      i /= cSizes[d];
    }
    return p[0] >= region.colsBegin() && p[0] < region.colsEnd() && p[1] >= region.rowsBegin() &&
           p[1] < region.rowsEnd() && p[2] >= region.plansBegin() && p[2] < region.plansEnd() &&
           p[3] >= region.sequenceBegin() && p[3] < region.sequenceEnd() && p[4] >= region.spectralSeriesBegin() &&
           p[4] < region.spectralSeriesEnd();
  }
};
PXLWORKS_FOR_EVERY_OPERATOR(RegionToProcess);

TEST_P(RegionToProcess, IsHonouredOrRefused) {
  oracle::Random random(4711);
  int nbHonoured = 0, nbRefused = 0;
  for (int round = 0; round < 400; ++round) {
    auto const run = makeRun({9, 8, 4, 3, 2});
    for (auto const& input : run.inputs) fill(*input, random);
    bool const isInPlace = run.output && random.number(0, 1) == 1;
    if (run.output && !isInPlace) fill(*run.output, random);
    if (isInPlace) {
      pxl::asProperty<pxl::ImageModel const*>(*run.algorithm->getProperties().front())->set(run.output.get());
      std::memcpy(run.output->getVoxels(), run.inputs.front()->getVoxels(), 9 * 8 * 4 * 3 * 2 * 2);
    }
    if (run.algorithm->findProperty("numberOfIterations"))
      setProperty(*run.algorithm, "numberOfIterations", static_cast<unsigned int>(random.number(0, 3)));
    if (run.algorithm->findProperty("shapeMode"))
      setProperty(*run.algorithm, "shapeMode", static_cast<int>(random.number(0, 1)));
    run.algorithm->setMaximumExtraMemoryUsageInBytes(random.number(0, 1) == 0 ? 0 : 1 << 20);
    long r[10];
    bool const isAnyWhole = random.number(0, 7) == 0;
    for (int d = 0; d < 5; ++d) {
      // Often whole, or from the origin.
      r[2 * d] = random.number(0, 3) == 0 ? random.number(0, cSizes[d] - 1) : 0;
      r[2 * d + 1] = random.number(0, 1) == 0 ? cSizes[d] : random.number(r[2 * d] + 1, cSizes[d]);
      if (isAnyWhole) {
        r[2 * d] = 0;
        r[2 * d + 1] = cSizes[d];
      }
    }
    Region const region(r[2], r[3], r[0], r[1], r[4], r[5], r[6], r[7], r[8], r[9]);
    bool const isWhole = region.getNumOfVoxels() == 9 * 8 * 4 * 3 * 2;

    std::vector<unsigned short> before, whole;
    auto const save = [&] {
      auto const* const voxels = static_cast<unsigned short const*>(run.output->getVoxels());
      return std::vector<unsigned short>(voxels, voxels + 9 * 8 * 4 * 3 * 2);
    };
    if (run.output) {
      before = save();
      run.algorithm->execute();
      whole = save();
      std::memcpy(run.output->getVoxels(), before.data(), before.size() * 2);
    }
    run.algorithm->setProcessingRegion(region);
    try {
      run.algorithm->execute();
      ++nbHonoured;
      EXPECT_TRUE(run.output || isWhole);
    } catch (pxl::InvalidCall const& refusal) {
      ++nbRefused;
      EXPECT_FALSE(isWhole) << refusal.what();
      EXPECT_NE(std::string(refusal.what()).find("region"), std::string::npos) << refusal.what();
      if (run.output) {
        ASSERT_EQ(save(), before) << "a refused run wrote";
      }
      continue;
    }
    if (!run.output) continue;
    auto const result = save();
    for (unsigned long i = 0; i < result.size(); ++i)
      ASSERT_EQ(result[i], (isInside(region, static_cast<long>(i)) ? whole : before)[i])
          << "round " << round << ", voxel " << i;
  }
  EXPECT_GT(nbHonoured, 10);
  EXPECT_GT(nbRefused, 10);
}

// What the loops of the runners honour isn't refused.
TEST(RegionUse, IsAsWideAsTheOperatorAllows) {
  pxl::plugins::load(shipped::getPlugin());
  auto const isTaken = [](char const* name, Region const& region) {
    auto const run = makeRun(*pxl::AlgoInfo::find(name), {9, 8, 4, 3, 2});
    run.algorithm->setProcessingRegion(region);
    try {
      run.algorithm->execute();
      return true;
    } catch (pxl::InvalidCall const&) {
      return false;
    }
  };
  Region const inVolume(2, 7, 3, 5, 1, 3, 0, 2, 0, 1), inPlane(2, 7, 3, 5, 0, 2, 0, 2, 0, 1);
  Region const atOrigin(0, 7, 0, 5, 0, 2, 0, 2, 0, 1), later(0, 8, 0, 9, 0, 4, 1, 2, 0, 2);
  for (char const* name :
       {"LogicalOperationWithImage", "LogicalOperationWithValue", "FiniteImpulseResponseFilter3D"}) {
    EXPECT_TRUE(isTaken(name, inVolume)) << name;
    EXPECT_FALSE(isTaken(name, later)) << name;
  }
  EXPECT_TRUE(isTaken("FiniteImpulseResponseFilter2D", inPlane));
  EXPECT_FALSE(isTaken("FiniteImpulseResponseFilter2D", inVolume));
  for (char const* name : {"Dilation2d", "Erosion3d", "DilationLine2d", "ErosionLine3d", "DilationDisk3d"}) {
    EXPECT_TRUE(isTaken(name, atOrigin)) << name;
    EXPECT_FALSE(isTaken(name, inPlane)) << name;
  }
  for (char const* name : {"DilationDisk2d", "ErosionBall3d", "IntensityExtrema"})
    EXPECT_FALSE(isTaken(name, atOrigin)) << name;
}

}  // namespace
}  // namespace operators_test
