// What openings and closings promise, whatever the element.
#include "support/Compositions.h"

namespace elements_test {
namespace {

constexpr Way cDilate{"Dilate"}, cErode{"Erode"}, cOpen{"Open"}, cClose{"Close"};

template <class T>
bool isBelow(oracle::Image<T> const& a, oracle::Image<T> const& b) {
  for (unsigned long i = 0; i < a.voxels.size(); ++i)
    if (a.voxels[i] > b.voxels[i]) return false;
  return true;
}

// Turns the order around.
template <class T>
oracle::Image<T> invert(oracle::Image<T> image) {
  for (T& voxel : image.voxels) voxel = static_cast<T>(std::is_integral_v<T> ? T(-1) - voxel : -voxel);
  return image;
}

std::vector<StructuringElement> collectElements(oracle::Random& random) {
  std::vector<StructuringElement> elements;
  for (char const* text : {"line(2, 0)", "line(4, 0)", "line(4, 90)", "line(4, 30)", "line(8, 200)",
                           "line3d(4, 70, 20)", "box(2, 4)", "box(1, 3, 0, 0)", "disk(2)", "ball(2, fast)",
                           "connectivity(18, 2)", "disk3d(2, 10, 80)", "ellipsoid(3, 2.5, 1, 1)"})
    elements.push_back(StructuringElement::parse(text));
  for (int i = 0; i < 20; ++i) elements.push_back(makeMask(random, i % 2 == 0 ? 2 : 3, i % 4 < 2));
  return elements;
}

template <class T>
class CompositionLaws : public ElementTest {};
TEST_TYPES(CompositionLaws, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(CompositionLaws, HoldForAnyElement) {
  using T = TypeParam;
  oracle::Random random(51);
  for (StructuringElement const& element : collectElements(random)) {
    auto const image = random.image<T>({24, 9, 4, 1, 1});
    auto const opened = run<T>(cOpen, element, image, false), closed = run<T>(cClose, element, image, false);
    std::string const text = element.toString().str();
    EXPECT_TRUE(isBelow(opened, image)) << "opening, " << text;
    EXPECT_TRUE(isBelow(image, closed)) << "closing, " << text;
    EXPECT_TRUE(areEqual(run<T>(cOpen, element, opened, true), opened)) << "second opening, " << text;
    EXPECT_TRUE(areEqual(run<T>(cClose, element, closed, true), closed)) << "second closing, " << text;
    EXPECT_TRUE(areEqual(invert(run<T>(cOpen, element, invert(image), false)), closed)) << "duality, " << text;
    EXPECT_TRUE(
        areEqual(invert(run<T>(cErode, element, invert(image), false)), run<T>(cDilate, element, image, false)))
        << "duality of the steps, " << text;
  }
}

// The images above tell an opening from one that forgets to mirror.
TEST_OF_TYPES(CompositionLaws, FailWithoutTheMirror) {
  using T = TypeParam;
  oracle::Random random(52);
  auto const element = StructuringElement::line(4, 0);
  auto const image = random.image<T>({24, 9, 1, 1, 1});
  auto const once = run<T>(cDilate, element, run<T>(cErode, element, image, false), false);
  EXPECT_FALSE(isBelow(once, image));
  EXPECT_FALSE(areEqual(run<T>(cDilate, element, run<T>(cErode, element, once, false), false), once));
  auto const closedOnce = run<T>(cErode, element, run<T>(cDilate, element, image, false), false);
  EXPECT_FALSE(isBelow(image, closedOnce));
}

TEST_OF_TYPES(CompositionLaws, DifferencesAddUp) {
  using T = TypeParam;
  oracle::Random random(53);
  // Reals whose differences are exact.
  auto const image = random.imageWithin<T>({24, 9, 3, 1, 1}, 0, 120);
  for (char const* text : {"disk(2)", "ball(1)", "line(3, 45)", "box(3, 5)"}) {
    auto const element = StructuringElement::parse(text);
    auto const full = run<Difference<T>>({"Gradient", 0}, element, image, false);
    auto const outer = run<Difference<T>>({"Gradient", 1}, element, image, false);
    auto const inner = run<Difference<T>>({"Gradient", 2}, element, image, false);
    for (unsigned long i = 0; i < full.voxels.size(); ++i)
      ASSERT_EQ(full.voxels[i], static_cast<Difference<T>>(outer.voxels[i] + inner.voxels[i])) << text;
  }
}

}  // namespace
}  // namespace elements_test
