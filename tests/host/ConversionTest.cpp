#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "oracle/Conversion.h"
#include "support/Folder.h"
#include "support/Images.h"
#include "support/Random.h"

namespace {

using namespace host_test;
using pxl::Image;

// Equal down to the sign of zero; any NaN equals any other.
template <class T>
bool isSame(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
  else
    return a == b;
}

template <class T>
std::vector<T> makeSpecialVoxels() {
  using Limits = std::numeric_limits<T>;
  std::vector<T> voxels;
  for (T const voxel : {T(0), T(1), Limits::lowest(), Limits::max(), T(Limits::max() / 2), T(100), T(127)})
    voxels.push_back(voxel);
  if constexpr (std::is_signed_v<T>)
    for (T const voxel : {T(-1), T(-100), T(-128)}) voxels.push_back(voxel);
  if constexpr (std::is_floating_point_v<T>) {
    voxels.insert(voxels.end(), {T(-0.0), Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(),
                                 -Limits::infinity(), Limits::denorm_min(), Limits::min(), Limits::epsilon()});
    // Around each integer limit, and around halves both even and odd.
    for (double const limit : {0., 1., 2., 3., 127., 128., 255., 256., 32767., 32768., 65535., 65536., 2147483647.,
                               2147483648., 4294967295., 4294967296., 9007199254740992., 1e19})
      for (double const shift : {-1.5, -1., -0.75, -0.5, -0.49999999, 0., 0.49999999, 0.5, 0.75, 1., 1.5})
        for (double const sign : {1., -1.}) {
          T const voxel = static_cast<T>(sign * (limit + shift));
          voxels.insert(voxels.end(), {voxel, std::nextafter(voxel, Limits::infinity()),
                                       std::nextafter(voxel, -Limits::infinity())});
        }
  } else {
    for (long const limit : {127L, 128L, 255L, 256L, 32767L, 32768L, 65535L, 65536L, 16777216L, 2147483647L})
      for (long const shift : {-1L, 0L, 1L})
        for (long const sign : {1L, -1L}) voxels.push_back(static_cast<T>(sign * limit + shift));
  }
  return voxels;
}

template <class To, class From>
void expectConversion(Random& random) {
  auto voxels = makeSpecialVoxels<From>();
  for (int i = 0; i < 300; ++i) voxels.push_back(random.voxel<From>());
  unsigned long const count = voxels.size();
  auto const image = Image::New(cTypeOf<From>, {count, 1, 1, 1, 1});
  std::memcpy(image->getVoxels(), voxels.data(), count * sizeof(From));
  auto const converted = readAll(*makeConstView<To>(image.get()));
  for (unsigned long i = 0; i < count; ++i)
    ASSERT_TRUE(isSame(converted[i], oracle::convert<To>(voxels[i]))) << +voxels[i] << " became " << +converted[i];

  // Written through a view of From, stored as To.
  auto const target = Image::New(cTypeOf<To>, {count, 1, 1, 1, 1});
  ASSERT_TRUE(makeView<From>(target.get())
                  ->getInterface()
                  ->writeRowAt(static_cast<long>(count), voxels.data(), 0, 0, 0, 0, 0));
  auto const* const stored = static_cast<To const*>(target->getVoxels());
  for (unsigned long i = 0; i < count; ++i)
    ASSERT_TRUE(isSame(stored[i], oracle::convert<To>(voxels[i]))) << +voxels[i] << " was stored as " << +stored[i];
}

// Rows as long as, and just beyond, the buffer that conversion works in, and rows that start anywhere.
template <class To, class From>
void expectLongRows(Random& random, std::string const& path) {
  long const chunk = 8192 / static_cast<long>(sizeof(From));
  for (long const width : {1L, chunk - 1, chunk, chunk + 1, 2 * chunk, 3 * chunk + 5}) {
    pxl::ImageSizes const sizes{static_cast<unsigned long>(width) + 7, 2, 1, 1, 1};
    auto const memory = Image::New(cTypeOf<From>, sizes);
    fillImage<From>(*memory, [&](Position const&) { return random.voxel<From>(); });
    auto const* const voxels = static_cast<From const*>(memory->getVoxels());
    writeFile(path, std::string(reinterpret_cast<char const*>(voxels), countVoxels(sizes) * sizeof(From)));
    auto const file = Image::OnDisk(path, pxl::FileModes::cReadWrite, cTypeOf<From>, sizes);
    for (Image* const image : {memory.get(), file.get()}) {
      auto const view = makeView<To>(image);
      // One voxel more at either end, which must stay as it is.
      std::vector<To> row(static_cast<unsigned long>(width) + 2, To(77));
      view->getInterface()->readRow(row.data() + 1, width, 3, 1, 0, 0, 0);
      ASSERT_TRUE(row.front() == To(77) && row.back() == To(77));
      for (long i = 0; i < width; ++i)
        ASSERT_TRUE(isSame(row[static_cast<unsigned long>(i) + 1],
                           oracle::convert<To>(voxels[static_cast<long>(sizes[0]) + 3 + i])))
            << i << " of " << width;
    }
    // Back again, into a row of the file that was something else.
    std::vector<To> written;
    for (long i = 0; i < width; ++i) written.push_back(random.voxel<To>());
    ASSERT_TRUE(makeView<To>(file.get())->getInterface()->writeRowAt(width, written.data(), 2, 0, 0, 0, 0));
    auto const stored = readAll(*makeConstView<From>(file.get()));
    for (unsigned long i = 0; i < stored.size(); ++i) {
      bool const isWritten = i >= 2 && i < 2 + written.size();
      ASSERT_TRUE(isSame(stored[i], isWritten ? oracle::convert<From>(written[i - 2]) : voxels[i]));
    }
  }
}

template <class T>
class Conversion : public ::testing::Test {
 protected:
  template <class Check>
  static void forEachType(Check check) {
#define PXL_CHECK(From) check(static_cast<From>(0));
    PXL_FOR_EACH_VOXEL_TYPE(PXL_CHECK)
#undef PXL_CHECK
  }
};
TEST_TYPES(Conversion, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(Conversion, RoundsHalfToEvenSaturatesAndTurnsNaNInto0) {
  Random random;
  this->forEachType([&](auto from) {
    SCOPED_TRACE(pxl::helper::getNameOf(cTypeOf<decltype(from)>));
    expectConversion<TypeParam, decltype(from)>(random);
  });
}

TEST_OF_TYPES(Conversion, GoesRowByRowThroughBuffersOfAnyLength) {
  Random random;
  Folder const folder;
  this->forEachType([&](auto from) {
    SCOPED_TRACE(pxl::helper::getNameOf(cTypeOf<decltype(from)>));
    expectLongRows<TypeParam, decltype(from)>(random, folder / "row.raw");
  });
}

// One float in a thousand, of every exponent.
template <class To>
void expectEveryMagnitude() {
  std::vector<float> voxels;
  for (unsigned long bits = 0; bits < (1UL << 32); bits += 1021) {
    unsigned int const word = static_cast<unsigned int>(bits);
    float voxel;
    std::memcpy(&voxel, &word, sizeof voxel);
    voxels.push_back(voxel);
  }
  auto const strides = pxl::ImageStrides{sizeof(float)};
  auto const image =
      Image::OnMemory(static_cast<void const*>(voxels.data()), pxl::cFloat, {voxels.size(), 1, 1, 1, 1}, strides);
  auto const converted = readAll(*makeConstView<To>(image.get()));
  for (unsigned long i = 0; i < voxels.size(); ++i) {
    double const rounded = std::isnan(voxels[i]) ? 0 : std::nearbyint(static_cast<double>(voxels[i]));
    double const expected =
        std::min<double>(std::max<double>(rounded, std::numeric_limits<To>::min()), std::numeric_limits<To>::max());
    ASSERT_EQ(static_cast<double>(converted[i]), expected) << voxels[i];
  }
}

TEST(Conversion, RoundsFloatsOfEveryMagnitude) {
  expectEveryMagnitude<unsigned char>();
  expectEveryMagnitude<signed char>();
  expectEveryMagnitude<unsigned short>();
  expectEveryMagnitude<short>();
  expectEveryMagnitude<unsigned int>();
  expectEveryMagnitude<int>();
}

// Voxels at odd addresses, as files have them.
TEST(Conversion, TakesVoxelsFromAnyAddress) {
  std::vector<char> memory(4 * 100 + 1);
  for (long i = 0; i < 100; ++i) {
    float const voxel = static_cast<float>(i) + 0.5f;
    std::memcpy(memory.data() + 1 + 4 * i, &voxel, 4);
  }
  auto const image = Image::OnMemory(memory.data() + 1, pxl::cFloat, {10, 10, 1, 1, 1}, {4, 40});
  auto const view = makeView<short>(image.get());
  EXPECT_EQ(readVoxel(*view, {7, 3, 0, 0, 0}), 38);
  short const row[] = {-5, 300};
  ASSERT_TRUE(view->getInterface()->writeRowAt(2, row, 8, 9, 0, 0, 0));
  EXPECT_EQ(readVoxel(*view, {9, 9, 0, 0, 0}), 300);
}

// Half a GiB as double; a copy of the whole image would show.
TEST(Conversion, NeedsNoMemoryForTheImage) {
  std::vector<unsigned char> row(4096, 5);
  auto const image = Image::OnMemory(row.data(), pxl::cUnsignedInteger8, {4096, 1 << 20, 1 << 8, 1, 1}, {1, 0, 0, 0});
  auto const view = makeConstView<double>(image.get());
  EXPECT_EQ(readVoxel(*view, {4095, (1 << 20) - 1, 255, 0, 0}), 5.0);
}

TEST_OF_TYPES(Conversion, ViewAnswersItsOwnType) {
  auto const image = Image::New(pxl::cInteger16, {1, 1, 1, 1, 1});
  EXPECT_EQ(makeConstView<TypeParam>(image.get())->getVoxelType(), cTypeOf<TypeParam>);
}

}  // namespace
