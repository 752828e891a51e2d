#include "oracle/support/SmallImages.h"

namespace oracle {
namespace {

TEST(LineOracle, LiesAlongTheAxes) {
  EXPECT_EQ(makeLine(0, 0, 3), (OffsetList{{-1, 0, 0}, {0, 0, 0}, {1, 0, 0}}));
  EXPECT_EQ(makeLine(0, 90, 3), (OffsetList{{0, 1, 0}, {0, 0, 0}, {0, -1, 0}}));
  EXPECT_EQ(makeLine(0, 180, 3), (OffsetList{{1, 0, 0}, {0, 0, 0}, {-1, 0, 0}}));
  EXPECT_EQ(makeLine(90, 0, 3), (OffsetList{{0, 0, -1}, {0, 0, 0}, {0, 0, 1}}));
}

TEST(LineOracle, HasTheRestOfAnEvenSizeAtItsFarEnd) {
  EXPECT_EQ(makeLine(0, 0, 4), (OffsetList{{-1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {2, 0, 0}}));
  EXPECT_EQ(makeLine(0, 0, 3, false), (OffsetList{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}));
  EXPECT_EQ(makeLine(0, 0, 1), (OffsetList{{0, 0, 0}}));
  EXPECT_EQ(makeLine(0, 0, 0), (OffsetList{{0, 0, 0}}));
}

/** tan 20 degrees is 0.364, tan 30 degrees 0.577. */
TEST(LineOracle, TakesTheNearestRow) {
  EXPECT_EQ(makeLine(0, 45, 3), (OffsetList{{-1, 1, 0}, {0, 0, 0}, {1, -1, 0}}));
  EXPECT_EQ(makeLine(0, 135, 3), (OffsetList{{1, 1, 0}, {0, 0, 0}, {-1, -1, 0}}));
  EXPECT_EQ(makeLine(0, 20, 5), (OffsetList{{-2, 1, 0}, {-1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {2, -1, 0}}));
  EXPECT_EQ(makeLine(0, 30, 5), (OffsetList{{-2, 1, 0}, {-1, 1, 0}, {0, 0, 0}, {1, -1, 0}, {2, -1, 0}}));
  EXPECT_EQ(makeLine(0, 60, 5), (OffsetList{{-1, 2, 0}, {-1, 1, 0}, {0, 0, 0}, {1, -1, 0}, {1, -2, 0}}));
  EXPECT_EQ(makeLine(30, 0, 5), (OffsetList{{-2, 0, -1}, {-1, 0, -1}, {0, 0, 0}, {1, 0, 1}, {2, 0, 1}}));
}

/** The tangent of this angle is 1/2. */
TEST(LineOracle, RoundsHalvesAwayFromZero) {
  EXPECT_EQ(makeLine(0, 26.565051177077989, 5),
            (OffsetList{{-2, 1, 0}, {-1, 1, 0}, {0, 0, 0}, {1, -1, 0}, {2, -1, 0}}));
}

TEST(BallOracle, HasTheVoxelsWithinItsRadius) {
  EXPECT_EQ(draw(makeDisk(0), 1), "... .#. ...");
  EXPECT_EQ(draw(makeDisk(1), 1), ".#. ### .#.");
  EXPECT_EQ(draw(makeDisk(2), 2), "..#.. .###. ##### .###. ..#..");
  EXPECT_EQ(makeDisk(2).size(), 13U);
  EXPECT_EQ(draw(makeBall(2), 2, -2), "..... ..... ..#.. ..... .....");
  EXPECT_EQ(draw(makeBall(2), 2, -1), "..... .###. .###. .###. .....");
  EXPECT_EQ(draw(makeBall(2), 2, 0), "..#.. .###. ##### .###. ..#..");
  EXPECT_EQ(draw(makeBall(2), 2, 1), draw(makeBall(2), 2, -1));
  EXPECT_EQ(draw(makeBall(2), 2, 2), draw(makeBall(2), 2, -2));
  EXPECT_EQ(makeBall(2).size(), 33U);
}

TEST(FlatDiskOracle, IsSquareToItsNormal) {
  EXPECT_EQ(makeFlatDisk(90, 0, 2), makeDisk(2));
  EXPECT_EQ(makeFlatDisk(0, 0, 1), (OffsetList{{0, 0, -1}, {0, -1, 0}, {0, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
  EXPECT_EQ(makeFlatDisk(0, 90, 1), (OffsetList{{0, 0, -1}, {-1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {0, 0, 1}}));
}

TEST(FlatDiskOracle, TiltsWithItsNormal) {
  EXPECT_EQ(makeFlatDisk(45, 0, 1), (OffsetList{{0, -1, 0}, {0, 0, 0}, {0, 1, 0}}));
  EXPECT_EQ(makeFlatDisk(45, 0, 2), (OffsetList{{1, -1, -1},
                                                {1, 0, -1},
                                                {1, 1, -1},
                                                {0, -2, 0},
                                                {0, -1, 0},
                                                {0, 0, 0},
                                                {0, 1, 0},
                                                {0, 2, 0},
                                                {-1, -1, 1},
                                                {-1, 0, 1},
                                                {-1, 1, 1}}));
}

TEST(SumOracle, AddsAnElementSoManyTimes) {
  OffsetList const ends{{-1, 0, 0}, {1, 0, 0}};
  EXPECT_EQ(addTimes({{0, 0, 5}}, ends, 0), (OffsetList{{0, 0, 5}}));
  EXPECT_EQ(addTimes({{0, 0, 5}}, ends, 1), (OffsetList{{-1, 0, 5}, {1, 0, 5}}));
  EXPECT_EQ(addTimes({{0, 0, 5}}, ends, 2), (OffsetList{{-2, 0, 5}, {0, 0, 5}, {2, 0, 5}}));
}

TEST(ElementaryOracle, HasFourEightSixEighteenOrTwentySixNeighbours) {
  EXPECT_EQ(draw(makeElementary(1, 0), 1), ".#. ### .#.");
  EXPECT_EQ(draw(makeElementary(2, 0), 1), "### ### ###");
  EXPECT_EQ(draw(makeElementary(1), 1, -1), "... .#. ...");
  EXPECT_EQ(draw(makeElementary(1), 1, 0), ".#. ### .#.");
  EXPECT_EQ(draw(makeElementary(2), 1, 1), ".#. ### .#.");
  EXPECT_EQ(draw(makeElementary(2), 1, 0), "### ### ###");
  EXPECT_EQ(draw(makeElementary(3), 1, -1), "### ### ###");
  EXPECT_EQ(makeElementary(1, 0).size(), 5U);
  EXPECT_EQ(makeElementary(2, 0).size(), 9U);
  EXPECT_EQ(makeElementary(1).size(), 7U);
  EXPECT_EQ(makeElementary(2).size(), 19U);
  EXPECT_EQ(makeElementary(3).size(), 27U);
}

TEST(OctagonOracle, IsSquaresAndCrosses) {
  EXPECT_EQ(draw(makeOctagon(0), 1), "... .#. ...");
  EXPECT_EQ(draw(makeOctagon(1), 1), ".#. ### .#.");
  EXPECT_EQ(draw(makeOctagon(2), 2), ".###. ##### ##### ##### .###.");
  EXPECT_EQ(draw(makeOctagon(3), 3), "..###.. .#####. ####### ####### ####### .#####. ..###..");
  EXPECT_EQ(makeOctagon(3).size(), 37U);
}

TEST(PolyhedronOracle, CountsItsSteps) {
  using Steps = std::array<long, 3>;
  EXPECT_EQ(countBallSteps(0), (Steps{0, 0, 0}));
  EXPECT_EQ(countBallSteps(1), (Steps{0, 0, 1}));
  EXPECT_EQ(countBallSteps(2), (Steps{1, 0, 1}));
  EXPECT_EQ(countBallSteps(5), (Steps{3, 1, 1}));
  EXPECT_EQ(countBallSteps(10), (Steps{6, 3, 1}));
}

TEST(PolyhedronOracle, IsACubeAndThenACubeWithAFaceMore) {
  for (long plan : {-1, 0, 1}) EXPECT_EQ(draw(makePolyhedron(1), 1, plan), "### ### ###") << plan;
  OffsetList const two = makePolyhedron(2);
  EXPECT_EQ(draw(two, 2, -2), "..... .###. .###. .###. .....");
  for (long plan : {-1, 0, 1}) EXPECT_EQ(draw(two, 2, plan), ".###. ##### ##### ##### .###.") << plan;
  EXPECT_EQ(draw(two, 2, 2), "..... .###. .###. .###. .....");
  EXPECT_EQ(two.size(), 81U);
}

}  // namespace
}  // namespace oracle
