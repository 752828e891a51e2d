#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>

#include "oracle/Shapes.h"
#include "pxl/kernel/StructuringElements.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using namespace pxl::kernel;
using oracle::Offset;
using oracle::OffsetList;

constexpr double cOddAngles[] = {-1, -45, -90, -719.5, 12.345, 22.5, 720 + 45, 1e6, -1e6 - 0.25, 1e9 + 7};

OffsetList toList(std::vector<Offset2D> const& offsets) {
  OffsetList list;
  for (Offset2D const& offset : offsets) list.push_back({offset.col, offset.row, 0});
  return list;
}
OffsetList toList(std::vector<Offset3D> const& offsets) {
  OffsetList list;
  for (Offset3D const& offset : offsets) list.push_back({offset.col, offset.row, offset.plan});
  return list;
}

OffsetList makeLine2d(double angle, unsigned long size, bool isCentred = true) {
  return toList(generateLineOffset2DCollectionWithConstNumOfPixels(angle, size, isCentred));
}
OffsetList makeLine3d(double elevation, double azimuth, unsigned long size, bool isCentred = true) {
  return toList(generateLineOffset3DCollectionWithConstNumOfPixels(elevation, azimuth, size, isCentred));
}
OffsetList makeDisk3d(double elevation, double azimuth, unsigned long radius) {
  return toList(generateDiskOffset3DCollection(elevation, azimuth, radius));
}

bool containsItself(OffsetList const& list) { return std::count(list.begin(), list.end(), Offset{0, 0, 0}) == 1; }

bool areNeighbours(Offset const& a, Offset const& b) {
  for (unsigned long d = 0; d < 3; ++d)
    if (std::abs(a[d] - b[d]) > 1) return false;
  return a != b;
}

/** Each voxel of a line touches the one before, and none occurs twice. */
bool isLine(OffsetList const& list) {
  for (std::size_t i = 1; i < list.size(); ++i)
    if (!areNeighbours(list[i - 1], list[i])) return false;
  return std::set<Offset>(list.begin(), list.end()).size() == list.size() && containsItself(list);
}

/** Plan by plan, row by row, none twice. */
bool isSorted(OffsetList const& list) {
  for (std::size_t i = 1; i < list.size(); ++i) {
    Offset const &a = list[i - 1], &b = list[i];
    if (!(Offset{a[2], a[1], a[0]} < Offset{b[2], b[1], b[0]})) return false;
  }
  return true;
}

/** All voxels can be reached from the voxel itself. */
bool isConnected(OffsetList const& list) {
  std::set<Offset> rest(list.begin(), list.end());
  OffsetList reached{{0, 0, 0}};
  if (rest.erase(reached[0]) != 1) return false;
  while (!reached.empty()) {
    Offset const at = reached.back();
    reached.pop_back();
    for (Offset const& step : oracle::makeElementary(3)) {
      Offset const next{at[0] + step[0], at[1] + step[1], at[2] + step[2]};
      if (rest.erase(next) == 1) reached.push_back(next);
    }
  }
  return rest.empty();
}

TEST(StructuringElements, DisksAndBallsAreWhatLiesWithinTheRadius) {
  for (long radius : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 25, 50}) {
    auto const size = static_cast<unsigned long>(radius);
    EXPECT_EQ(toList(generateDiskOffset2DCollection(size)), oracle::makeDisk(radius)) << radius;
    EXPECT_EQ(toList(generateSphereOffset3DCollection(size)), oracle::makeBall(radius)) << radius;
  }
  EXPECT_EQ(toList(generateDiskOffset2DCollection(0)), (OffsetList{{0, 0, 0}}));
  EXPECT_EQ(toList(generateDiskOffset2DCollection(1)),
            (OffsetList{{0, -1, 0}, {-1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
}

TEST(StructuringElements, LinesInAPlanFollowTheirAngle) {
  std::vector<double> angles(std::begin(cOddAngles), std::end(cOddAngles));
  for (int degrees = 0; degrees <= 360; ++degrees) angles.push_back(degrees);
  for (double angle : angles)
    for (long size = 0; size <= 42; ++size) {
      long const count = size == 42 ? 1000 : size;
      OffsetList const line = makeLine2d(angle, static_cast<unsigned long>(count));
      ASSERT_EQ(line, oracle::makeLine(0, angle, count)) << angle << " degrees, " << count << " voxels";
      ASSERT_EQ(line.size(), static_cast<unsigned long>(std::max(count, 1L))) << angle;
      ASSERT_TRUE(isLine(line)) << angle << " degrees, " << count << " voxels";
    }
}

TEST(StructuringElements, LinesGoCounterClockwiseWithTheSpareVoxelOnTheFarSide) {
  EXPECT_EQ(makeLine2d(0, 4), (OffsetList{{-1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {2, 0, 0}}));
  EXPECT_EQ(makeLine2d(90, 4), (OffsetList{{0, 1, 0}, {0, 0, 0}, {0, -1, 0}, {0, -2, 0}}));
  EXPECT_EQ(makeLine2d(180, 2), (OffsetList{{0, 0, 0}, {-1, 0, 0}}));
  EXPECT_EQ(makeLine2d(270, 2), (OffsetList{{0, 0, 0}, {0, 1, 0}}));
  EXPECT_EQ(makeLine2d(45, 3), (OffsetList{{-1, 1, 0}, {0, 0, 0}, {1, -1, 0}}));
  EXPECT_EQ(makeLine2d(135, 2), (OffsetList{{0, 0, 0}, {-1, -1, 0}}));
  EXPECT_EQ(makeLine3d(90, 77, 4), (OffsetList{{0, 0, -1}, {0, 0, 0}, {0, 0, 1}, {0, 0, 2}}));
  EXPECT_EQ(makeLine3d(-90, 77, 2), (OffsetList{{0, 0, 0}, {0, 0, -1}}));
  EXPECT_EQ(makeLine3d(45, 0, 2), (OffsetList{{0, 0, 0}, {1, 0, 1}}));
  EXPECT_EQ(makeLine3d(0, 45, 2), (OffsetList{{0, 0, 0}, {1, -1, 0}}));
}

TEST(StructuringElements, MultiplesOfNinetyDegreesAreExactHoweverLarge) {
  for (long turns : {0L, 1L, -1L, 1000L, 1L << 40})
    for (long quarter = 0; quarter < 4; ++quarter) {
      double const angle = 360.0 * static_cast<double>(turns) + 90.0 * static_cast<double>(quarter);
      for (Offset const& o : makeLine2d(angle, 100001)) {
        ASSERT_EQ(quarter % 2 == 0 ? o[1] : o[0], 0) << angle;
      }
      EXPECT_EQ(makeLine2d(angle, 9), makeLine2d(90.0 * static_cast<double>(quarter), 9)) << angle;
    }
}

TEST(StructuringElements, LinesThatAreNotCentredBeginAtTheVoxelItself) {
  for (double angle : {0.0, 30.0, 45.0, 90.0, 200.0, 12.345})
    for (long size : {0L, 1L, 2L, 5L, 8L}) {
      EXPECT_EQ(makeLine2d(angle, static_cast<unsigned long>(size), false), oracle::makeLine(0, angle, size, false));
      EXPECT_EQ(makeLine3d(33, angle, static_cast<unsigned long>(size), false),
                oracle::makeLine(33, angle, size, false));
      EXPECT_EQ(makeLine2d(angle, static_cast<unsigned long>(size), false)[0], (Offset{0, 0, 0}));
    }
}

TEST(StructuringElements, LinesInAVolumeFollowElevationAndAzimuth) {
  for (int elevation = -90; elevation <= 360; elevation += 5)
    for (int azimuth = 0; azimuth <= 360; azimuth += 5)
      for (unsigned long size : {1UL, 2UL, 6UL, 21UL, 40UL}) {
        OffsetList const line = makeLine3d(elevation, azimuth, size);
        ASSERT_EQ(line, oracle::makeLine(elevation, azimuth, static_cast<long>(size)))
            << elevation << ", " << azimuth << ": " << size;
        ASSERT_TRUE(line.size() == size && isLine(line)) << elevation << ", " << azimuth << ": " << size;
      }
  for (double elevation : cOddAngles)
    for (double azimuth : cOddAngles)
      ASSERT_EQ(makeLine3d(elevation, azimuth, 33), oracle::makeLine(elevation, azimuth, 33))
          << elevation << ", " << azimuth;
}

TEST(StructuringElements, WithElevationZeroLinesAreThoseInThePlan) {
  for (int angle = 0; angle < 360; ++angle)
    for (unsigned long size : {0UL, 1UL, 2UL, 17UL, 100UL})
      ASSERT_EQ(makeLine3d(0, angle, size), makeLine2d(angle, size)) << angle << ": " << size;
}

TEST(StructuringElements, FlatDisksAreADigitalPlaneWithinTheRadius) {
  for (int elevation = -90; elevation <= 90; elevation += 5)
    for (int azimuth = 0; azimuth <= 360; azimuth += 5)
      for (long radius : {0, 1, 2, 3, 5}) {
        OffsetList const disk = makeDisk3d(elevation, azimuth, static_cast<unsigned long>(radius));
        ASSERT_EQ(disk, oracle::makeFlatDisk(elevation, azimuth, radius))
            << elevation << ", " << azimuth << ": " << radius;
        ASSERT_TRUE(isSorted(disk) && isConnected(disk)) << elevation << ", " << azimuth << ": " << radius;
      }
}

TEST(StructuringElements, LargeFlatDisksAreADigitalPlaneWithinTheRadius) {
  for (double elevation : {0.0, 12.345, 30.0, 45.0, -719.5})
    for (double azimuth : {0.0, 45.0, 111.0, 1e6})
      for (long radius : {4, 6, 7, 8, 9, 10, 11, 12, 25}) {
        OffsetList const disk = makeDisk3d(elevation, azimuth, static_cast<unsigned long>(radius));
        ASSERT_EQ(disk, oracle::makeFlatDisk(elevation, azimuth, radius))
            << elevation << ", " << azimuth << ": " << radius;
        ASSERT_TRUE(isConnected(disk)) << elevation << ", " << azimuth << ": " << radius;
      }
  EXPECT_EQ(makeDisk3d(40, 70, 50), oracle::makeFlatDisk(40, 70, 50));
}

TEST(StructuringElements, WithAnElevationOfNinetyFlatDisksAreThoseInThePlan) {
  for (unsigned long radius : {0UL, 1UL, 2UL, 7UL, 30UL})
    for (double azimuth : {0.0, 45.0, 123.0}) {
      OffsetList const disk = toList(generateDiskOffset2DCollection(radius));
      EXPECT_EQ(makeDisk3d(90, azimuth, radius), disk);
      EXPECT_EQ(makeDisk3d(-90, azimuth, radius), disk);
      // The normal along the columns: upright, with no columns but one.
      for (Offset const& o : makeDisk3d(0, 0, radius)) EXPECT_EQ(o[0], 0);
      for (Offset const& o : makeDisk3d(0, 90, radius)) EXPECT_EQ(o[1], 0);
    }
}

}  // namespace
