#include <algorithm>
#include <cstring>

#include "Core/private/Access/simd/SimdVec.h"
#include "oracle/Oracle.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

template <class T>
using Simd = pxl::SimdVec::Simd<T, pxl::SimdVec::arch_128_tag>;

template <class T>
struct Lanes {
  T values[static_cast<unsigned long>(oracle::cLanes<T>)];
};

template <class T>
Lanes<T> fill(T value) {
  Lanes<T> lanes;
  std::fill(std::begin(lanes.values), std::end(lanes.values), value);
  return lanes;
}

template <class T>
Lanes<T> takeMin(Lanes<T> const& a, Lanes<T> const& b) {
  Lanes<T> result;
  Simd<T>::store(result.values, Simd<T>::min(Simd<T>::load(a.values), Simd<T>::load(b.values)));
  return result;
}
template <class T>
Lanes<T> takeMax(Lanes<T> const& a, Lanes<T> const& b) {
  Lanes<T> result;
  Simd<T>::store(result.values, Simd<T>::max(Simd<T>::load(a.values), Simd<T>::load(b.values)));
  return result;
}

template <class T>
class SimdOf : public testing::Test {};
TEST_TYPES(SimdOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

template <class T>
class SimdOfReal : public testing::Test {};
TEST_TYPES(SimdOfReal, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

template <class T>
class SimdOfBytes : public testing::Test {};
using ByteVoxelTypes = testing::Types<unsigned char, signed char>;
TEST_TYPES(SimdOfBytes, ByteVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(SimdOf, HasSixteenBytesOfLanes) {
  static_assert(sizeof(typename Simd<TypeParam>::Vector) == 16);
  EXPECT_EQ(Simd<TypeParam>::cNbLanes, 16 / static_cast<long>(sizeof(TypeParam)));
  static_assert(std::is_empty_v<pxl::SimdVec::arch_128_tag>);
}

TEST_OF_TYPES(SimdOf, LoadsAndStoresAtAnyVoxel) {
  oracle::Random random(301);
  alignas(16) TypeParam source[48], target[48];
  long const L = oracle::cLanes<TypeParam>;
  for (TypeParam& voxel : source) voxel = random.voxel<TypeParam>();
  for (long from = 0; from < L; ++from)
    for (long to = 0; to < L; ++to) {
      std::memset(target, 0x5a, sizeof(target));
      Simd<TypeParam>::store(target + to, Simd<TypeParam>::load(source + from));
      EXPECT_EQ(std::memcmp(target + to, source + from, 16), 0);
      // Not a byte before or after.
      char const* const bytes = reinterpret_cast<char const*>(target);
      long const begin = to * static_cast<long>(sizeof(TypeParam));
      for (long i = 0; i < static_cast<long>(sizeof(target)); ++i)
        ASSERT_TRUE(bytes[i] == 0x5a || (i >= begin && i < begin + 16)) << i;
    }
}

TEST_OF_TYPES(SimdOf, BroadcastsToEveryLane) {
  oracle::Random random(302);
  using Limits = std::numeric_limits<TypeParam>;
  std::vector<TypeParam> values{Limits::lowest(), Limits::max(), TypeParam(0), TypeParam(1), TypeParam(-1)};
  for (int i = 0; i < 1000; ++i) values.push_back(random.voxel<TypeParam>());
  for (TypeParam value : values) {
    Lanes<TypeParam> result;
    Simd<TypeParam>::store(result.values, Simd<TypeParam>::broadcast(value));
    for (TypeParam lane : result.values) ASSERT_EQ(lane, value);
  }
}

TEST_OF_TYPES(SimdOf, TakesOutLanesInTheirOrder) {
  oracle::Random random(303);
  for (int i = 0; i < 100; ++i) {
    Lanes<TypeParam> a, b;
    for (TypeParam& lane : a.values) lane = random.voxel<TypeParam>();
    for (TypeParam& lane : b.values) lane = random.voxel<TypeParam>();
    std::vector<TypeParam> ofA, ofB;
    pxl::SimdVec::forEachLane<Simd<TypeParam>>(Simd<TypeParam>::load(a.values), Simd<TypeParam>::load(b.values),
                                               [&](TypeParam fromA, TypeParam fromB) {
                                                 ofA.push_back(fromA);
                                                 ofB.push_back(fromB);
                                               });
    EXPECT_EQ(ofA, std::vector<TypeParam>(std::begin(a.values), std::end(a.values)));
    EXPECT_EQ(ofB, std::vector<TypeParam>(std::begin(b.values), std::end(b.values)));
  }
}

TEST_OF_TYPES(SimdOf, HasTheSmallerAndTheLargerInEachLane) {
  oracle::Random random(304);
  using Limits = std::numeric_limits<TypeParam>;
  TypeParam const ends[] = {Limits::lowest(), TypeParam(Limits::lowest() + 1), TypeParam(-1), TypeParam(0),
                            TypeParam(1),     TypeParam(Limits::max() - 1),    Limits::max()};
  for (int i = 0; i < 20000; ++i) {
    Lanes<TypeParam> a, b;
    for (Lanes<TypeParam>* lanes : {&a, &b})
      for (TypeParam& lane : lanes->values)
        lane = random.number(0, 2) ? random.voxel<TypeParam>() : ends[random.number(0, 6)];
    Lanes<TypeParam> const low = takeMin(a, b), high = takeMax(a, b);
    for (unsigned long lane = 0; lane < static_cast<unsigned long>(oracle::cLanes<TypeParam>); ++lane) {
      TypeParam const x = a.values[lane], y = b.values[lane];
      ASSERT_EQ(low.values[lane], x < y ? x : y);
      ASSERT_EQ(high.values[lane], x > y ? x : y);
    }
  }
}

TEST_OF_TYPES(SimdOfBytes, IsRightForEveryPair) {
  using Limits = std::numeric_limits<TypeParam>;
  for (int x = Limits::lowest(); x <= Limits::max(); ++x)
    for (int y = Limits::lowest(); y <= Limits::max(); ++y) {
      auto const low =
          takeMin(fill<TypeParam>(static_cast<TypeParam>(x)), fill<TypeParam>(static_cast<TypeParam>(y)));
      auto const high =
          takeMax(fill<TypeParam>(static_cast<TypeParam>(x)), fill<TypeParam>(static_cast<TypeParam>(y)));
      for (int lane = 0; lane < 16; ++lane) {
        ASSERT_EQ(low.values[lane], x < y ? x : y);
        ASSERT_EQ(high.values[lane], x > y ? x : y);
      }
    }
}

template <class T>
oracle::Bits<T> bitsOf(T value) {
  oracle::Bits<T> bits;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

template <class T>
T fromBits(oracle::Bits<T> bits) {
  T value;
  std::memcpy(&value, &bits, sizeof(bits));
  return value;
}

// Where either is NaN or both are zero, the result is the second operand, bit for bit.
TEST_OF_TYPES(SimdOfReal, GivesTheSecondOperandForNaNAndZeros) {
  using T = TypeParam;
  using B = oracle::Bits<T>;
  T const quiet = std::numeric_limits<T>::quiet_NaN();
  T const payload = fromBits<T>(static_cast<B>(bitsOf(quiet) | 0x1234U));
  T const negative = fromBits<T>(static_cast<B>(bitsOf(quiet) | (B(1) << (8 * sizeof(T) - 1))));
  T const infinity = std::numeric_limits<T>::infinity();
  std::vector<T> const nans{quiet, payload, negative};
  std::vector<T> const numbers{T(0),
                               T(-0.0),
                               T(1),
                               T(-1),
                               infinity,
                               -infinity,
                               std::numeric_limits<T>::max(),
                               std::numeric_limits<T>::denorm_min()};
  std::vector<std::pair<T, T>> pairs{{T(0), T(-0.0)}, {T(-0.0), T(0)}};
  for (T nan : nans) {
    for (T number : numbers) {
      pairs.push_back({nan, number});
      pairs.push_back({number, nan});
    }
    for (T other : nans) pairs.push_back({nan, other});
  }
  for (auto const& [first, second] : pairs) {
    Lanes<T> const low = takeMin(fill(first), fill(second)), high = takeMax(fill(first), fill(second));
    for (unsigned long lane = 0; lane < static_cast<unsigned long>(oracle::cLanes<T>); ++lane) {
      ASSERT_EQ(bitsOf(low.values[lane]), bitsOf(second)) << first << ' ' << second;
      ASSERT_EQ(bitsOf(high.values[lane]), bitsOf(second)) << first << ' ' << second;
    }
  }
}

TEST_OF_TYPES(SimdOfReal, TakesInfinitiesAsNumbers) {
  using T = TypeParam;
  T const infinity = std::numeric_limits<T>::infinity(), largest = std::numeric_limits<T>::max();
  EXPECT_EQ(takeMin(fill(infinity), fill(largest)).values[0], largest);
  EXPECT_EQ(takeMax(fill(largest), fill(infinity)).values[0], infinity);
  EXPECT_EQ(takeMin(fill(-largest), fill(-infinity)).values[0], -infinity);
  EXPECT_EQ(takeMax(fill(-infinity), fill(-largest)).values[0], -largest);
}

}  // namespace
}  // namespace access_test
