#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "pxl/kernel/Kernel.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using namespace pxl::kernel;

static_assert(std::is_base_of_v<pxl::Object, Kernel2D> && std::is_base_of_v<pxl::Object, Kernel3D>);

TEST(Kernel2D, TapsOfAnArrayAreInCOrderAroundTheOrigin) {
  double const array[] = {1, 2, 0, 4, 5, 6};
  Kernel2D const kernel(array, 2, 3);
  // Rows -1 and 0, columns -1 to 1; the zero tap stays.
  EXPECT_EQ(kernel.getOffsets(), (std::vector<Offset2D>{{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {0, 0}, {1, 0}}));
  EXPECT_EQ(kernel.getCoefficients(), (std::vector<double>{1, 2, 0, 4, 5, 6}));
  Kernel2D const shifted(array, 2, 3, 5, -7);
  EXPECT_EQ(shifted.getOffsets(), (std::vector<Offset2D>{{7, -5}, {8, -5}, {9, -5}, {7, -4}, {8, -4}, {9, -4}}));
}

TEST(Kernel3D, TapsOfAnArrayAreInCOrderAroundTheOrigin) {
  double array[24];
  for (int i = 0; i < 24; ++i) array[i] = i;
  Kernel3D const kernel(array, 2, 3, 4);
  Kernel3D const shifted(array, 2, 3, 4, 10, 20, 30);
  ASSERT_EQ(kernel.getOffsets().size(), 24u);
  std::size_t i = 0;
  for (long plan = 0; plan < 2; ++plan)
    for (long row = 0; row < 3; ++row)
      for (long col = 0; col < 4; ++col, ++i) {
        EXPECT_EQ(kernel.getOffsets()[i], (Offset3D{col - 2, row - 1, plan - 1}));
        EXPECT_EQ(shifted.getOffsets()[i], (Offset3D{col - 30, row - 20, plan - 10}));
        EXPECT_EQ(kernel.getCoefficients()[i], static_cast<double>(i));
      }
}

TEST(Kernel2D, TakesListsAsTheyAre) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  Kernel2D const kernel({{3, 1}, {0, 0}, {3, 1}}, {-0.0, nan, 2});
  EXPECT_EQ(kernel.getOffsets(), (std::vector<Offset2D>{{3, 1}, {0, 0}, {3, 1}}));
  EXPECT_TRUE(std::signbit(kernel.getCoefficients()[0]));
  EXPECT_TRUE(std::isnan(kernel.getCoefficients()[1]));
}

template <class Offset>
Offset makeOffset(long col, long row) {
  Offset offset{};
  offset.col = col;
  offset.row = row;
  return offset;
}

template <class Kernel, class Offset>
void expectListLimits() {
  long const limit = 1L << 31;
  EXPECT_TRUE(Kernel().getOffsets().empty());
  EXPECT_TRUE(Kernel().getCoefficients().empty());
  refusalOf([] { Kernel({Offset{}}, {}); });
  refusalOf([] { Kernel(std::vector<Offset>{}, {1.0}); });
  for (long const at : {limit, -limit}) {
    EXPECT_NO_THROW(Kernel({makeOffset<Offset>(at, 0)}, {1.0}));
    EXPECT_NO_THROW(Kernel({makeOffset<Offset>(0, at)}, {1.0}));
  }
  for (long const at : {limit + 1, -limit - 1, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()}) {
    refusalOf([at] { Kernel({makeOffset<Offset>(at, 0)}, {1.0}); });
    refusalOf([at] { Kernel({Offset{}, makeOffset<Offset>(0, at)}, {1.0, 1.0}); });
  }
  unsigned long const most = 1000000;
  EXPECT_NO_THROW(Kernel(std::vector<Offset>(most), std::vector<double>(most)));
  refusalOf([=] { Kernel(std::vector<Offset>(most + 1), std::vector<double>(most + 1)); });
}

TEST(KernelLimits, HoldForLists) {
  expectListLimits<Kernel2D, Offset2D>();
  expectListLimits<Kernel3D, Offset3D>();
  refusalOf([] { Kernel3D({Offset3D{0, 0, (1L << 31) + 1}}, {1.0}); });
}

TEST(KernelLimits, HoldForArrays) {
  std::vector<double> const array(1000000);
  EXPECT_NO_THROW(Kernel2D(array.data(), 1000, 1000));
  EXPECT_NO_THROW(Kernel3D(array.data(), 100, 100, 100));
  long const large = std::numeric_limits<long>::max();
  for (long const size : {0L, -1L, 1001L, 1L << 32, large})
    for (auto const& [rows, cols] : {std::pair<long, long>{size, 1000}, {1000, size}}) {
      refusalOf([&, r = rows, c = cols] { Kernel2D(array.data(), r, c); });
      refusalOf([&, r = rows, c = cols] { Kernel3D(array.data(), 1, r, c); });
      refusalOf([&, r = rows, c = cols] { Kernel3D(array.data(), r, 1, c); });
    }
  long const limit = 1L << 31;
  EXPECT_NO_THROW(Kernel2D(array.data(), 2, 2, limit, -limit + 1));
  for (long const origin : {limit + 2, -limit, large, std::numeric_limits<long>::min()}) {
    refusalOf([&] { Kernel2D(array.data(), 2, 2, origin, 0); });
    refusalOf([&] { Kernel2D(array.data(), 2, 2, 0, origin); });
    refusalOf([&] { Kernel3D(array.data(), 2, 2, 2, origin, 0, 0); });
  }
  refusalOf([] { Kernel2D(nullptr, 2, 2); });
  refusalOf([] { Kernel3D(nullptr, 1, 2, 2); });
}

TEST(Kernel, CopiesShareTheirTaps) {
  double const array[] = {1, 2};
  Kernel2D const kernel(array, 1, 2);
  Kernel2D copy(kernel);
  EXPECT_EQ(&copy.getOffsets(), &kernel.getOffsets());
  EXPECT_EQ(&copy.getCoefficients(), &kernel.getCoefficients());
  copy = Kernel2D();
  EXPECT_TRUE(copy.getOffsets().empty());
  EXPECT_EQ(kernel.getOffsets().size(), 2u);
  Kernel3D const volume(array, 1, 1, 2);
  Kernel3D other;
  other = volume;
  EXPECT_EQ(&other.getOffsets(), &volume.getOffsets());
}

}  // namespace
