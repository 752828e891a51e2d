#include <cmath>

#include "morphology/support/MorphologyOracle.h"
#include "oracle/support/SmallImages.h"

namespace oracle {
namespace {

constexpr Operation cDilation = Operation::cDilation;
constexpr Operation cErosion = Operation::cErosion;
using Bytes = std::vector<unsigned char>;

/** Rows 1 2 3 4, 5 9 7 8 and 6 0 2 1. */
Image<unsigned char> makePlan() {
  return makeImage<unsigned char>({4, 3, 1, 1, 1}, {1, 2, 3, 4, 5, 9, 7, 8, 6, 0, 2, 1});
}

/** Plans 1 2 / 3 4 and 5 6 / 7 8. */
Image<unsigned char> makeVolume() { return makeImage<unsigned char>({2, 2, 2, 1, 1}, {1, 2, 3, 4, 5, 6, 7, 8}); }

/** 3 x 3 x 3 voxels of `around` with `centre` in the middle. */
Image<unsigned char> makeCentre(unsigned char around, unsigned char centre) {
  auto image = makeImage<unsigned char>({3, 3, 3, 1, 1}, Bytes(27, around));
  image.at({1, 1, 1, 0, 0}) = centre;
  return image;
}

TEST(FoldOracle, TakesTheLargerOrTheSmaller) {
  EXPECT_EQ(fold(cDilation, 3, 5), 5);
  EXPECT_EQ(fold(cDilation, 5, 3), 5);
  EXPECT_EQ(fold(cErosion, 3, 5), 3);
  EXPECT_EQ(fold(cErosion, 5, 3), 3);
}

TEST(FoldOracle, TakesTheSecondOfEqualsAndBesideNaN) {
  double const nan = std::nan("");
  for (Operation operation : {cDilation, cErosion}) {
    EXPECT_TRUE(std::signbit(fold(operation, 0.0, -0.0)));
    EXPECT_FALSE(std::signbit(fold(operation, -0.0, 0.0)));
    EXPECT_EQ(fold(operation, nan, 1.0), 1.0);
    EXPECT_TRUE(std::isnan(fold(operation, 1.0, nan)));
  }
}

TEST(FoldOracle, NeutralIsTheEndOfTheType) {
  EXPECT_EQ(getNeutral<unsigned char>(cDilation), 0);
  EXPECT_EQ(getNeutral<unsigned char>(cErosion), 255);
  EXPECT_EQ(getNeutral<short>(cDilation), -32768);
  EXPECT_EQ(getNeutral<short>(cErosion), 32767);
  EXPECT_EQ(getNeutral<float>(cDilation), -3.40282346638528859811704183484516925e+38f);
  EXPECT_EQ(getNeutral<float>(cErosion), 3.40282346638528859811704183484516925e+38f);
}

TEST(PlanOracle, Cross) {
  EXPECT_EQ(applyCross(makePlan(), cDilation).voxels, (Bytes{5, 9, 7, 8, 9, 9, 9, 8, 6, 9, 7, 8}));
  EXPECT_EQ(applyCross(makePlan(), cErosion).voxels, (Bytes{1, 1, 2, 3, 1, 0, 2, 1, 0, 0, 0, 1}));
}

TEST(PlanOracle, Square) {
  EXPECT_EQ(applySquare(makePlan(), cDilation).voxels, (Bytes{9, 9, 9, 8, 9, 9, 9, 8, 9, 9, 9, 8}));
  EXPECT_EQ(applySquare(makePlan(), cErosion).voxels, (Bytes{1, 1, 2, 3, 0, 0, 0, 1, 0, 0, 0, 1}));
}

TEST(PlanOracle, PlansDoNotMeet) {
  for (Operation operation : {cDilation, cErosion}) {
    EXPECT_EQ(applyCross(makePlans<unsigned char>({3, 8}), operation).voxels, (Bytes{3, 8}));
    EXPECT_EQ(applySquare(makePlans<unsigned char>({3, 8}), operation).voxels, (Bytes{3, 8}));
  }
}

TEST(PlanOracle, OffsetsPointAtWhatIsRead) {
  auto const row = makeRow<unsigned char>({5, 1, 2, 4});
  EXPECT_EQ(applyList(row, cDilation, {{1, 0}}).voxels, (Bytes{1, 2, 4, 0}));
  EXPECT_EQ(applyList(row, cErosion, {{1, 0}}).voxels, (Bytes{1, 2, 4, 255}));
  EXPECT_EQ(applyList(row, cDilation, {{-2, 0}, {0, 0}}).voxels, (Bytes{5, 1, 5, 4}));
  EXPECT_EQ(applyList(row, cErosion, {{-2, 0}, {0, 0}}).voxels, (Bytes{5, 1, 2, 1}));
  auto const square = makeImage<unsigned char>({2, 2, 1, 1, 1}, {1, 2, 3, 4});
  EXPECT_EQ(applyList(square, cDilation, {{0, 1}}).voxels, (Bytes{3, 4, 0, 0}));
}

TEST(PlanOracle, RepeatedCrossesAreADiamondAndSquaresASquare) {
  auto image = makeImage<unsigned char>({5, 5, 1, 1, 1}, Bytes(25, 0));
  image.at({2, 2, 0, 0, 0}) = 1;
  EXPECT_EQ(applyTimes(image, cDilation, 0, 0).voxels, image.voxels);
  EXPECT_EQ(applyTimes(image, cDilation, 0, 2).voxels,
            (Bytes{0, 0, 1, 0, 0, 0, 1, 1, 1, 0, 1, 1, 1, 1, 1, 0, 1, 1, 1, 0, 0, 0, 1, 0, 0}));
  EXPECT_EQ(applyTimes(image, cDilation, 1, 1).voxels,
            (Bytes{0, 0, 0, 0, 0, 0, 1, 1, 1, 0, 0, 1, 1, 1, 0, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(applyTimes(image, cDilation, 7, 2).voxels, Bytes(25, 1));
}

TEST(VolumeOracle, NeighboursOfTheCube) {
  using Offsets = std::vector<std::array<long, 3>>;
  EXPECT_EQ(getCubeOffsets(1),
            (Offsets{{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
  EXPECT_EQ(getCubeOffsets(2), (Offsets{{0, -1, -1},
                                        {-1, 0, -1},
                                        {0, 0, -1},
                                        {1, 0, -1},
                                        {0, 1, -1},
                                        {-1, -1, 0},
                                        {0, -1, 0},
                                        {1, -1, 0},
                                        {-1, 0, 0},
                                        {0, 0, 0},
                                        {1, 0, 0},
                                        {-1, 1, 0},
                                        {0, 1, 0},
                                        {1, 1, 0},
                                        {0, -1, 1},
                                        {-1, 0, 1},
                                        {0, 0, 1},
                                        {1, 0, 1},
                                        {0, 1, 1}}));
  EXPECT_EQ(getCubeOffsets(3).size(), 27U);
}

TEST(VolumeOracle, OneVoxelBecomesTheElement) {
  Bytes const faces{0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 1, 1, 1, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0};
  Bytes const edges{0, 1, 0, 1, 1, 1, 0, 1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 0, 1, 1, 1, 0, 1, 0};
  EXPECT_EQ(applyVolumeTimes(makeCentre(0, 1), cDilation, 0, 1).voxels, faces);
  EXPECT_EQ(applyVolumeTimes(makeCentre(0, 1), cDilation, 1, 1).voxels, edges);
  EXPECT_EQ(applyVolumeTimes(makeCentre(0, 1), cDilation, 2, 1).voxels, Bytes(27, 1));
  EXPECT_EQ(applyVolumeTimes(makeCentre(0, 1), cDilation, -5, 1).voxels, Bytes(27, 1));
  Bytes const hollow{9, 9, 9, 9, 4, 9, 9, 9, 9, 9, 4, 9, 4, 4, 4, 9, 4, 9, 9, 9, 9, 9, 4, 9, 9, 9, 9};
  EXPECT_EQ(applyVolumeTimes(makeCentre(9, 4), cErosion, 0, 1).voxels, hollow);
  EXPECT_EQ(applyVolumeTimes(makeCentre(9, 4), cErosion, 2, 1).voxels, Bytes(27, 4));
}

TEST(VolumeOracle, EachNeighbourCounts) {
  EXPECT_EQ(applyVolumeTimes(makeVolume(), cDilation, 0, 1).voxels, (Bytes{5, 6, 7, 8, 7, 8, 8, 8}));
  EXPECT_EQ(applyVolumeTimes(makeVolume(), cErosion, 0, 1).voxels, (Bytes{1, 1, 1, 2, 1, 2, 3, 4}));
  EXPECT_EQ(applyVolumeTimes(makeVolume(), cDilation, 1, 1).voxels, (Bytes{7, 8, 8, 8, 8, 8, 8, 8}));
  EXPECT_EQ(applyVolumeTimes(makeVolume(), cErosion, 1, 1).voxels, (Bytes{1, 1, 1, 1, 1, 1, 1, 2}));
  EXPECT_EQ(applyCube(makeVolume(), cDilation).voxels, Bytes(8, 8));
  EXPECT_EQ(applyCube(makeVolume(), cErosion).voxels, Bytes(8, 1));
}

TEST(VolumeOracle, PassesFollowEachOther) {
  for (int neighborhood : {0, 1, 2}) {
    auto const plans = makePlans<unsigned char>({0, 0, 0, 1, 0, 0, 0});
    EXPECT_EQ(applyVolumeTimes(plans, cDilation, neighborhood, 0).voxels, plans.voxels);
    EXPECT_EQ(applyVolumeTimes(plans, cDilation, neighborhood, 2).voxels, (Bytes{0, 1, 1, 1, 1, 1, 0}));
  }
}

TEST(VolumeOracle, OffsetsPointAtWhatIsRead) {
  auto const plans = makePlans<signed char>({1, 2, 3});
  EXPECT_EQ(applyVolumeList(plans, cDilation, {{0, 0, 1}}).voxels, (std::vector<signed char>{2, 3, -128}));
  EXPECT_EQ(applyVolumeList(plans, cErosion, {{0, 0, 1}}).voxels, (std::vector<signed char>{2, 3, 127}));
  EXPECT_EQ(applyVolumeList(makeVolume(), cDilation, {{1, -1, 0}, {0, 0, -1}}).voxels,
            (Bytes{0, 0, 2, 0, 1, 2, 6, 4}));
}

TEST(VolumeOracle, SequencePositionsDoNotMeet) {
  auto const image = makeImage<unsigned char>({1, 1, 1, 2, 2}, {1, 2, 3, 4});
  EXPECT_EQ(applyCube(image, cDilation).voxels, image.voxels);
  EXPECT_EQ(applyVolumeList(image, cErosion, {{0, 0, 0}}).voxels, image.voxels);
}

}  // namespace
}  // namespace oracle
