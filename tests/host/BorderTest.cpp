#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "support/Images.h"
#include "support/Random.h"

namespace {

using namespace host_test;
using namespace pxl::access;
using pxl::Image;

// The voxel of an image for any position, one coordinate after the other, as the rule says it in words.
long clampByWalking(long at, long size) {
  while (at < 0) ++at;
  while (at >= size) --at;
  return at;
}

long mirrorByWalking(long at, long size) {
  if (size == 1) return 0;
  while (at < 0 || at >= size) at = at < 0 ? -at : 2 * (size - 1) - at;
  return at;
}

template <class T>
struct Sample {
  explicit Sample(pxl::ImageSizes const& imageSizes) : sizes(imageSizes), image(Image::New(cTypeOf<T>, imageSizes)) {
    unsigned long number = 0;
    fillImage<T>(*image, [&](Position const&) { return static_cast<T>(++number * 37 % 113); });
  }

  template <class Fold>
  T at(Position position, Fold fold) const {
    for (std::size_t i = 0; i < 5; ++i) position[i] = fold(position[i], static_cast<long>(sizes[i]));
    return loadVoxel<T>(image->getVoxels(), image->getStrides(), position);
  }
  bool isInside(Position const& position) const {
    for (std::size_t i = 0; i < 5; ++i)
      if (position[i] < 0 || position[i] >= static_cast<long>(sizes[i])) return false;
    return true;
  }

  pxl::ImageSizes sizes;
  std::shared_ptr<Image> image;
};

constexpr pxl::ImageSizes cSmallImages[] = {{1, 1, 1, 1, 1}, {2, 2, 2, 2, 2}, {1, 2, 1, 2, 1},  {2, 1, 2, 1, 2},
                                            {7, 5, 4, 3, 2}, {3, 3, 3, 3, 3}, {20, 1, 1, 1, 1}, {1, 9, 1, 1, 4}};

// Rows of any length from anywhere near or far from the image, through image, window and conversion.
template <class T, class Expected>
void expectRows(BorderCondition<T> const& border, Random& random, Expected expected) {
  for (pxl::ImageSizes const& sizes : cSmallImages) {
    Sample<T> const sample(sizes);
    auto const view = makeConstView<T>(sample.image.get());
    for (int round = 0; round < 150; ++round) {
      Position from;
      long const far = round % 3 == 0 ? 40 : 3;
      for (std::size_t i = 0; i < 5; ++i) from[i] = random.between(-far, static_cast<long>(sizes[i]) + far);
      auto const count = random.between(0L, 60L);
      std::vector<T> row(static_cast<std::size_t>(count) + 2, T(123));
      T* const first = row.data() + 1;
      EXPECT_TRUE(
          border.readRowAt(view->getInterface(), first, first + count, from[0], from[1], from[2], from[3], from[4]));
      EXPECT_TRUE(row.front() == T(123) && row.back() == T(123));
      for (long i = 0; i < count; ++i) {
        Position const position{from[0] + i, from[1], from[2], from[3], from[4]};
        ASSERT_EQ(first[i], expected(sample, position)) << "column " << position[0] << ", row " << position[1];
      }
    }
  }
}

template <class T>
class Border : public ::testing::Test {
 protected:
  Random random;
};
TEST_TYPES(Border, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(Border, FixedGivesItsValueEverywhereOutside) {
  TypeParam const value(119);
  expectRows<TypeParam>(*FixedBorderCondition<TypeParam>::New(value), this->random,
                        [&](Sample<TypeParam> const& sample, Position const& at) {
                          return sample.isInside(at) ? sample.at(at, clampByWalking) : value;
                        });
}

TEST_OF_TYPES(Border, ContinueGivesTheNearestVoxelOfEachDimension) {
  expectRows<TypeParam>(
      *ContinueBorderCondition<TypeParam>::New(), this->random,
      [](Sample<TypeParam> const& sample, Position const& at) { return sample.at(at, clampByWalking); });
}

template <class T>
class MirrorBorder : public Border<T> {};
TEST_TYPES(MirrorBorder, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(MirrorBorder, ReflectsAtAnyDistanceWithoutRepeatingTheEdge) {
  expectRows<TypeParam>(
      *MirrorBorderCondition<TypeParam>::New(), this->random,
      [](Sample<TypeParam> const& sample, Position const& at) { return sample.at(at, mirrorByWalking); });
}

TEST(MirrorBorder, OfFourVoxelsHasPeriodSix) {
  auto const image = Image::New(pxl::cFloat, {4, 1, 1, 1, 1});
  fillImage<float>(*image, [](Position const& at) { return static_cast<float>(at[0]); });
  auto const view = makeConstView<float>(image.get());
  std::vector<float> row(17);
  MirrorBorderCondition<float>::New()->readRowAt(view->getInterface(), row.data(), row.data() + 17, -7, 0, 0, 0, 0);
  EXPECT_EQ(row, (std::vector<float>{1, 0, 1, 2, 3, 2, 1, 0, 1, 2, 3, 2, 1, 0, 1, 2, 3}));
}

TEST(Border, RowsFarBeyond32BitsAreServed) {
  Sample<float> const sample({5, 4, 3, 2, 2});
  auto const view = makeConstView<float>(sample.image.get());
  long const far = 6L << 40;
  std::vector<float> row(3);
  auto const readAt = [&](std::shared_ptr<BorderCondition<float>> const& border, long col, long other) {
    border->readRowAt(view->getInterface(), row.data(), row.data() + 3, col, other, other, other, other);
    return row;
  };
  for (long const sign : {1L, -1L}) {
    EXPECT_EQ(readAt(FixedBorderCondition<float>::New(9), sign * far, 0), (std::vector<float>{9, 9, 9}));
    EXPECT_EQ(readAt(FixedBorderCondition<float>::New(9), 0, sign * far), (std::vector<float>{9, 9, 9}));
    float const corner = sign > 0 ? sample.at({4, 3, 2, 1, 1}, clampByWalking) : sample.at({}, clampByWalking);
    EXPECT_EQ(readAt(ContinueBorderCondition<float>::New(), sign * far, sign * far),
              (std::vector<float>{corner, corner, corner}));
    // 2^40 is a multiple of the periods 8 and 4; six times it also of 6 and 2.
    auto const near = readAt(MirrorBorderCondition<float>::New(), -1, 1);
    EXPECT_EQ(readAt(MirrorBorderCondition<float>::New(), sign * far - 1, sign * far + 1), near);
  }
}

TEST_OF_TYPES(Border, OfAWindowIsTheWindowsOwn) {
  Sample<TypeParam> const sample({6, 6, 3, 2, 2});
  pxl::ImageModelSizeProxy const window(static_cast<pxl::ImageModel const*>(sample.image.get()), 2, 2, 3, 2, 1, 1, 0,
                                        1, 1, 1);
  auto const view = makeConstView<TypeParam>(&window);
  auto const at = [&](long col, long row) { return sample.at({2 + col, 3 + row, 1, 0, 1}, clampByWalking); };
  std::vector<TypeParam> row(5);
  auto const read = [&](std::shared_ptr<BorderCondition<TypeParam>> const& border, long rowIndex) {
    border->readRowAt(view->getInterface(), row.data(), row.data() + 5, -1, rowIndex, 0, 0, 0);
    return row;
  };
  TypeParam const v(121);
  EXPECT_EQ(read(FixedBorderCondition<TypeParam>::New(v), 1), (std::vector<TypeParam>{v, at(0, 1), at(1, 1), v, v}));
  EXPECT_EQ(read(FixedBorderCondition<TypeParam>::New(v), -1), std::vector<TypeParam>(5, v));
  EXPECT_EQ(read(ContinueBorderCondition<TypeParam>::New(), 7),
            (std::vector<TypeParam>{at(0, 1), at(0, 1), at(1, 1), at(1, 1), at(1, 1)}));
}

TEST_OF_TYPES(Border, OfAnImageWithoutVoxelsNeverReadsIt) {
  for (std::size_t empty = 0; empty < 5; ++empty) {
    pxl::ImageSizes sizes{3, 3, 3, 3, 3};
    sizes[empty] = 0;
    auto const image = Image::New(cTypeOf<TypeParam>, sizes);
    auto const view = makeConstView<TypeParam>(image.get());
    std::vector<TypeParam> row(4, TypeParam(1));
    FixedBorderCondition<TypeParam>::New(TypeParam(6))
        ->readRowAt(view->getInterface(), row.data(), row.data() + 4, -1, 0, 0, 0, 0);
    EXPECT_EQ(row, std::vector<TypeParam>(4, TypeParam(6)));
    ContinueBorderCondition<TypeParam>::New()->readRowAt(view->getInterface(), row.data(), row.data() + 4, -1, 0, 0,
                                                         0, 0);
    EXPECT_EQ(row, std::vector<TypeParam>(4, TypeParam(0)));
  }
}

TEST_OF_TYPES(Border, ServesManyThreadsAtOnce) {
  Sample<TypeParam> const sample({64, 16, 2, 1, 1});
  auto const view = View<TypeParam>::New(static_cast<pxl::ImageModel const*>(sample.image.get()),
                                         ContinueBorderCondition<TypeParam>::New());
  std::atomic<int> nbErrors{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 16; ++t)
    threads.emplace_back([&, t] {
      std::vector<TypeParam> row(70);
      for (long round = 0; round < 200; ++round) {
        long const r = (round + t) % 20 - 2;
        auto const border = view->getBorderCondition();
        border->readRowAt(view->getInterface(), row.data(), row.data() + 70, -3, r, 1, 0, 0);
        for (long i = 0; i < 70; ++i)
          if (row[static_cast<std::size_t>(i)] != sample.at({i - 3, r, 1, 0, 0}, clampByWalking)) ++nbErrors;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(nbErrors, 0);
}

}  // namespace
