// Compositions against plain loops.
#include "support/Compositions.h"

namespace elements_test {
namespace {

constexpr char const* cElements[] = {"connectivity(4)",
                                     "connectivity(8, 2)",
                                     "connectivity(6, 3)",
                                     "connectivity(18, 2)",
                                     "connectivity(26)",
                                     "connectivity(4, 0)",
                                     "disk(2)",
                                     "disk(3, fast)",
                                     "disk(0, fast)",
                                     "disk(0)",
                                     "ball(2)",
                                     "ball(3, fast)",
                                     "line(4, 30)",
                                     "line(5, 90)",
                                     "line3d(4, 20, 30)",
                                     "disk3d(3, 10, 40)",
                                     "box(3, 3)",
                                     "box(2, 7, 3)",
                                     "box(2, 4, 1, 0, 0, 0)",
                                     "box(2, 9, 0, 1)",
                                     "ellipse(2.5, 1, 0.7)",
                                     "ellipsoid(3, 2.5, 1, 1)",
                                     "mask(0 1 0; 1 1 1; 0 1 1)",
                                     "mask(1 0 | 0 1)"};

template <class T>
class CompositionOfType : public ElementTest {};
TEST_TYPES(CompositionOfType, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(CompositionOfType, GivesWhatPlainLoopsGive) {
  oracle::Random random(41);
  auto const image = random.image<TypeParam>({17, 5, 3, 2, 1});
  for (char const* text : cElements)
    for (Way const& way : cWays) EXPECT_TRUE(isRight(way, StructuringElement::parse(text), image)) << text;
}

// The largest differences there are.
TEST_OF_TYPES(CompositionOfType, HasRoomForTheWholeRange) {
  using T = TypeParam;
  oracle::Random random(42);
  auto image = random.image<T>({40, 9, 2, 1, 1});
  if constexpr (std::is_integral_v<T>)
    for (T& voxel : image.voxels)
      voxel = random.number(0, 1) == 0 ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();
  for (char const* text : {"connectivity(8)", "line(4, 0)", "box(1, 5)"})
    for (Way const& way : cWays) EXPECT_TRUE(isRight(way, StructuringElement::parse(text), image));
}

TEST_OF_TYPES(CompositionOfType, TakesAnyFootprint) {
  oracle::Random random(43);
  for (int i = 0; i < 12; ++i) {
    auto const image =
        random.image<TypeParam>({random.number(1, 40), random.number(1, 9), random.number(1, 4), 1, 1});
    auto const element = makeMask(random, static_cast<int>(random.number(2, 3)), i % 2 == 1);
    for (Way const& way : cWays)
      if (i % 2 == 0 && way.gradientMode == 0) {
        ASSERT_TRUE(isRight(way, element, image));
      }
  }
}

class Composition : public ElementTest {};

// The runners of the first plug-in refuse these.
TEST_F(Composition, TakesBinaryImagesAndAnyNumberOfIterations) {
  oracle::Random random(44);
  auto const image = random.imageWithin<unsigned char>({90, 70, 1, 1, 1}, 0, 1);
  for (char const* text :
       {"connectivity(4, 60)", "connectivity(8, 40)", "connectivity(6, 130)", "connectivity(26, 130)"}) {
    auto const element = StructuringElement::parse(text);
    for (char const* name : {"Dilate", "Erode", "Open", "Close"}) {
      auto const grey = run<unsigned char>({name}, element, image, false);
      for (bool isInPlace : {false, true})
        EXPECT_TRUE(areEqual(run<unsigned char>({name}, element, image, isInPlace, pxl::cBinary), grey))
            << name << ' ' << text;
    }
  }
  auto const element = StructuringElement::connectivity(4, 60);
  EXPECT_TRUE(
      areEqual(run<unsigned char>({"Dilate"}, element, image, false, pxl::cBinary), dilate(image, listOf(element))));
}

TEST_F(Composition, WithoutAPassCopies) {
  oracle::Random random(45);
  auto const image = random.image<int>({70, 70, 3, 2, 2});
  for (char const* text :
       {"connectivity(8, 0)", "connectivity(26, 0)", "disk(0, fast)", "ball(0, fast)", "box(1, 1)", "box(1, 1, 1)"}) {
    auto const element = StructuringElement::parse(text);
    for (char const* name : {"Dilate", "Erode", "Open", "Close"})
      for (bool isInPlace : {false, true})
        EXPECT_TRUE(areEqual(run<int>({name}, element, image, isInPlace), image)) << name << ' ' << text;
    for (Way const& way : cWays) {
      if (!isDifference(way)) continue;
      EXPECT_TRUE(areEqual(run<unsigned int>(way, element, image, false), oracle::Image<unsigned int>(image.sizes)));
    }
  }
}

// Voxels beyond the edge are finite: an infinity at the edge loses to them, as in the operators.
TEST_F(Composition, FollowsTheOperatorsOnInfinities) {
  oracle::Random random(46);
  auto image = random.image<double>({30, 20, 1, 1, 1});
  constexpr double cInfinity = std::numeric_limits<double>::infinity();
  for (double& voxel : image.voxels)
    if (random.number(0, 3) == 0) voxel = random.number(0, 1) == 0 ? cInfinity : -cInfinity;
  for (char const* text : {"connectivity(8, 2)", "line(4, 30)", "box(5, 6)", "disk(3)"})
    for (Way const& way : cWays) EXPECT_TRUE(isRight(way, StructuringElement::parse(text), image));
}

TEST_F(Composition, KeepsOutOfEmptyImages) {
  for (Five const& sizes : {Five{0, 4, 1, 1, 1}, Five{4, 4, 0, 1, 1}, Five{4, 4, 1, 1, 0}})
    for (Way const& way : cWays)
      for (char const* text : {"ball(1)", "disk(0, fast)", "box(2, 2)"})
        EXPECT_NO_THROW(
            run<unsigned char>(way, StructuringElement::parse(text), oracle::Image<unsigned char>(sizes), false))
            << way.name << ' ' << text;
}

}  // namespace
}  // namespace elements_test
