// Reads through the border conditions at any position, compared with the oracle; and which views are the same image.
#include <atomic>
#include <limits>
#include <thread>

#include "access/support/Source.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using oracle::Five;

// Sometimes sizes 1 and 2 in every dimension.
Five makeSizes(oracle::Random& random) {
  Five sizes;
  for (long& size : sizes) size = random.number(0, 3) ? random.number(1, 6) : 1;
  sizes[0] = random.number(0, 3) ? random.number(1, 40) : random.number(1, 2);
  return sizes;
}

// Reads rows of a random image at random positions, in the image and far from it.
template <class T, class ExpectedAt>
void compareRows(unsigned long seed, typename Source<T>::Border border, ExpectedAt&& expectedAt) {
  oracle::Random random(seed);
  for (int i = 0; i < 60; ++i) {
    Source<T> const source(random.image<T>(makeSizes(random)), border);
    for (int j = 0; j < 20; ++j) {
      Five at;
      for (unsigned long d = 0; d < 5; ++d)
        at[d] = random.number(-3 * source.expected.sizes[d] - 2, 4 * source.expected.sizes[d] + 2);
      std::vector<T> row(static_cast<unsigned long>(random.number(0, 100)), T(77));
      EXPECT_TRUE(source.view->getBorderCondition()->readRowAt(
          source.view->getInterface(), row.data(), row.data() + row.size(), at[0], at[1], at[2], at[3], at[4]));
      for (T voxel : row) {
        ASSERT_EQ(voxel, expectedAt(source.expected, at)) << at[0] << ' ' << at[1] << ' ' << at[2];
        ++at[0];
      }
    }
  }
}

template <class T>
class BordersOf : public testing::Test {};
TEST_TYPES(BordersOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(BordersOf, FixedGivesTheValue) {
  for (TypeParam value :
       {TypeParam(0), TypeParam(5), std::numeric_limits<TypeParam>::lowest(), std::numeric_limits<TypeParam>::max()})
    compareRows<TypeParam>(
        401, pxl::access::FixedBorderCondition<TypeParam>::New(value),
        [value](oracle::Image<TypeParam> const& image, Five const& at) { return oracle::fixedAt(image, at, value); });
}

TEST_OF_TYPES(BordersOf, ContinueRepeatsTheNearestVoxel) {
  compareRows<TypeParam>(
      402, pxl::access::ContinueBorderCondition<TypeParam>::New(),
      [](oracle::Image<TypeParam> const& image, Five const& at) { return oracle::continueAt(image, at); });
}

TEST_OF_TYPES(BordersOf, ARowAboveTheImageIsAllBorder) {
  oracle::Random random(403);
  Source<TypeParam> const source(random.image<TypeParam>({9, 3, 1, 1, 1}),
                                 pxl::access::FixedBorderCondition<TypeParam>::New(TypeParam(42)));
  std::vector<TypeParam> row(9);
  for (long outside : {-1L, 3L}) {
    source.view->getBorderCondition()->readRowAt(source.view->getInterface(), row.data(), row.data() + 9, 0, outside,
                                                 0, 0, 0);
    EXPECT_EQ(row, std::vector<TypeParam>(9, TypeParam(42)));
  }
}

template <class T>
class MirrorOf : public testing::Test {};
TEST_TYPES(MirrorOf, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(MirrorOf, ReflectsAtAnyDistance) {
  compareRows<TypeParam>(
      404, pxl::access::MirrorBorderCondition<TypeParam>::New(),
      [](oracle::Image<TypeParam> const& image, Five const& at) { return oracle::mirrorAt(image, at); });
}

TEST(Borders, OfSmallImagesReflectWithTheirPeriod) {
  oracle::Image<float> image({3, 1, 1, 1, 1});
  image.voxels = {10, 20, 30};
  Source<float> const source(image, pxl::access::MirrorBorderCondition<float>::New());
  std::vector<float> row(11);
  source.view->getBorderCondition()->readRowAt(source.view->getInterface(), row.data(), row.data() + 11, -4, 7, -7, 3,
                                               5);
  EXPECT_EQ(row, (std::vector<float>{10, 20, 30, 20, 10, 20, 30, 20, 10, 20, 30}));
}

TEST(Borders, ServeSeveralThreadsAtOnce) {
  oracle::Random random(405);
  Source<short> const source(random.image<short>({50, 20, 2, 1, 1}));
  std::atomic<int> nbWrong{0};
  auto const readAll = [&source, &nbWrong] {
    std::vector<short> row(60);
    for (int i = 0; i < 50; ++i)
      for (long r = -2; r < 22; ++r) {
        source.view->getBorderCondition()->readRowAt(source.view->getInterface(), row.data(), row.data() + 60, -5, r,
                                                     1, 0, 0);
        for (long c = 0; c < 60; ++c)
          if (row[static_cast<unsigned long>(c)] != oracle::continueAt(source.expected, {c - 5, r, 1, 0, 0}))
            ++nbWrong;
      }
  };
  std::thread first(readAll), second(readAll), third(readAll);
  first.join();
  second.join();
  third.join();
  EXPECT_EQ(nbWrong, 0);
}

TEST_OF_TYPES(BordersOf, OneImageIsOneInterfaceWhateverTheView) {
  oracle::Random random(406);
  auto const image = oracle::toHost(random.image<TypeParam>({8, 7, 6, 2, 2}));
  auto const twin = oracle::toHost(random.image<TypeParam>({8, 7, 6, 2, 2}));
  pxl::ImageModel const* const readOnly = image.get();
  using View = pxl::access::View<TypeParam>;
  auto const border = pxl::access::ContinueBorderCondition<TypeParam>::New();
  auto const first = View::New(readOnly, border);
  auto const second = View::New(readOnly, pxl::access::FixedBorderCondition<TypeParam>::New(TypeParam(1)));
  auto const writable = View::New(static_cast<pxl::ImageModel*>(image.get()), border);
  EXPECT_NE(first.get(), second.get());
  EXPECT_EQ(first->getInterface(), second->getInterface());
  EXPECT_EQ(first->getInterface(), writable->getInterface());
  auto const other = View::New(static_cast<pxl::ImageModel const*>(twin.get()), border);
  EXPECT_NE(first->getInterface(), other->getInterface());
  pxl::ImageModelSizeProxy const window(readOnly, 0, 8, 0, 7, 1, 2, 0, 2, 0, 2);
  pxl::ImageModelSizeProxy const sameWindow(readOnly, 0, 8, 0, 7, 1, 2, 0, 2, 0, 2);
  pxl::ImageModelSizeProxy const otherWindow(readOnly, 0, 8, 0, 7, 2, 2, 0, 2, 0, 2);
  auto const ofWindow = View::New(&window, border);
  EXPECT_EQ(ofWindow->getInterface(), View::New(&sameWindow, border)->getInterface());
  EXPECT_NE(ofWindow->getInterface(), View::New(&otherWindow, border)->getInterface());
  EXPECT_NE(ofWindow->getInterface(), first->getInterface());
}

}  // namespace
}  // namespace access_test
