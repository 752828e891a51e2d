#include "elements/support/CompositionOracle.h"
#include "oracle/support/SmallImages.h"

namespace oracle {
namespace {

using Bytes = std::vector<unsigned char>;

OffsetList const cThree{{-1, 0, 0}, {0, 0, 0}, {1, 0, 0}};
/** Its mirror image is another one. */
OffsetList const cPair{{0, 0, 0}, {1, 0, 0}};

Image<unsigned char> makePeaks() { return makeRow<unsigned char>({1, 7, 1, 4, 4, 4, 1}); }

TEST(CompositionOracle, MirrorsEachOffset) {
  EXPECT_EQ(mirror({{1, -2, 3}, {0, 0, 0}, {4, 5, -6}}), (OffsetList{{-1, 2, -3}, {0, 0, 0}, {-4, -5, 6}}));
}

TEST(CompositionOracle, DilatesAndErodes) {
  EXPECT_EQ(dilate(makePeaks(), cThree).voxels, (Bytes{7, 7, 7, 4, 4, 4, 4}));
  EXPECT_EQ(erode(makePeaks(), cThree).voxels, (Bytes{1, 1, 1, 1, 4, 1, 1}));
  EXPECT_EQ(dilate(makePeaks(), cPair).voxels, (Bytes{7, 7, 4, 4, 4, 4, 1}));
  EXPECT_EQ(erode(makePeaks(), cPair).voxels, (Bytes{1, 1, 1, 4, 4, 1, 1}));
}

TEST(CompositionOracle, OpensAwayWhatIsNarrower) {
  EXPECT_EQ(open(makePeaks(), cThree).voxels, (Bytes{1, 1, 1, 4, 4, 4, 1}));
  EXPECT_EQ(open(makeRow<unsigned char>({0, 9, 9, 0, 0, 3, 0}), cPair).voxels, (Bytes{0, 9, 9, 0, 0, 0, 0}));
}

TEST(CompositionOracle, ClosesWhatIsNarrower) {
  EXPECT_EQ(close(makePeaks(), cThree).voxels, (Bytes{7, 7, 4, 4, 4, 4, 4}));
  EXPECT_EQ(close(makeRow<unsigned char>({5, 0, 0, 5, 0, 5}), cPair).voxels, (Bytes{5, 0, 0, 5, 5, 5}));
}

TEST(CompositionOracle, WorksInVolumes) {
  OffsetList const plans{{0, 0, -1}, {0, 0, 0}, {0, 0, 1}};
  auto const image = makePlans<unsigned char>({1, 7, 1, 4, 4, 4, 1});
  EXPECT_EQ(open(image, plans).voxels, (Bytes{1, 1, 1, 4, 4, 4, 1}));
  EXPECT_EQ(close(image, plans).voxels, (Bytes{7, 7, 4, 4, 4, 4, 4}));
}

TEST(SubtractionOracle, StopsAtZero) {
  EXPECT_EQ(subtract(makeRow<unsigned char>({5, 3, 255}), makeRow<unsigned char>({3, 5, 0})).voxels,
            (Bytes{2, 0, 255}));
  EXPECT_EQ(subtract(makeRow<double>({1.5, -1, -1}), makeRow<double>({0.25, 2, -3})).voxels,
            (std::vector<double>{1.25, 0, 2}));
  EXPECT_EQ(subtract(makeRow<unsigned int>({4294967295U, 0}), makeRow<unsigned int>({1, 1})).voxels,
            (std::vector<unsigned int>{4294967294U, 0}));
}

TEST(SubtractionOracle, GivesSignedIntegersTheRoomOfUnsignedOnes) {
  EXPECT_EQ(subtract(makeRow<signed char>({127, -128, -1}), makeRow<signed char>({-128, 127, -3})).voxels,
            (Bytes{255, 0, 2}));
  EXPECT_EQ(subtract(makeRow<short>({32767}), makeRow<short>({-32768})).voxels, (std::vector<unsigned short>{65535}));
  EXPECT_EQ(subtract(makeRow<int>({2147483647}), makeRow<int>({-2147483647 - 1})).voxels,
            (std::vector<unsigned int>{4294967295U}));
  EXPECT_TRUE((std::is_same_v<Difference<float>, float>));
}

TEST(SubtractionOracle, GivesTopHatsAndGradients) {
  auto const image = makePeaks();
  EXPECT_EQ(subtract(image, open(image, cThree)).voxels, (Bytes{0, 6, 0, 0, 0, 0, 0}));
  EXPECT_EQ(subtract(close(image, cThree), image).voxels, (Bytes{6, 0, 3, 0, 0, 0, 3}));
  EXPECT_EQ(subtract(dilate(image, cThree), erode(image, cThree)).voxels, (Bytes{6, 6, 6, 3, 0, 3, 3}));
}

}  // namespace
}  // namespace oracle
