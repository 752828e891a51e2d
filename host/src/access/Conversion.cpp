#include "access/Conversion.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

#include "access/RoundFloats.h"
#include "access/VisitVoxelType.h"

namespace pxl::access {
namespace {

// Vectors of two voxels: in a loop over single voxels the compiler turns comparisons into branches.
using Doubles __attribute__((vector_size(16))) = double;
using Floats __attribute__((vector_size(8))) = float;
using Whole __attribute__((vector_size(8))) = int;

// Rounds half to even and saturates; NaN becomes 0. For unsigned 32-bit integers the sign bit is inverted.
template <class To>
Whole roundTwo(Doubles v) {
  constexpr double cLowest = std::numeric_limits<To>::lowest();
  constexpr double cHighest = std::numeric_limits<To>::max();
  // Adding 1.5 * 2^52 rounds to an integer: the sum has no fraction bits.
  constexpr double cLarge = 6755399441055744.;
  constexpr double cShift = std::is_same_v<To, unsigned int> ? 2147483648. : 0.;
  Doubles const zero{}, lowest = zero + cLowest, highest = zero + cHighest;
  if constexpr (std::is_signed_v<To>) v = v == v ? v : zero;
  v = v > lowest ? v : lowest;
  v = v < highest ? v : highest;
  return __builtin_convertvector(((v + cLarge) - cLarge) - cShift, Whole);
}

Doubles loadTwo(double const* voxels) {
  Doubles v;
  std::memcpy(&v, voxels, sizeof v);
  return v;
}
Doubles loadTwo(float const* voxels) {
  Floats v;
  std::memcpy(&v, voxels, sizeof v);
  return __builtin_convertvector(v, Doubles);
}

template <class To, class From>
void convertReals(To* __restrict to, From const* __restrict from, long count) {
  constexpr long cPartLength = 512;
  constexpr int cSign = std::is_same_v<To, unsigned int> ? std::numeric_limits<int>::lowest() : 0;
  alignas(16) int whole[cPartLength];
  auto const round = [&whole](From const* voxels, long i) {
    Whole const w = roundTwo<To>(loadTwo(voxels));
    std::memcpy(whole + i, &w, sizeof w);
  };
  for (long done = 0; done < count; done += cPartLength) {
    long const part = std::min(count - done, cPartLength);
    long i = 0;
    for (; i + 2 <= part; i += 2) round(from + done + i, i);
    if (i < part) {
      From const rest[2] = {from[done + i], 0};
      round(rest, i);
    }
    for (i = 0; i < part; ++i) to[done + i] = static_cast<To>(whole[i] ^ cSign);
  }
}

template <class To, class From>
To convertVoxel(From value) {
  if constexpr (std::is_same_v<To, double> && std::is_same_v<From, unsigned int>) {
    return static_cast<double>(static_cast<int>(value ^ 0x80000000U)) + 2147483648.;
  } else if constexpr (std::is_floating_point_v<To>) {
    return static_cast<To>(value);
  } else {
    constexpr long cLowest = std::numeric_limits<To>::lowest();
    constexpr long cHighest = std::numeric_limits<To>::max();
    long const wide = value;
    return static_cast<To>(wide < cLowest ? cLowest : wide > cHighest ? cHighest : wide);
  }
}

// The conversion of filters' results, which must not take longer than the filter.
template <class To>
void convertFloats(To* __restrict to, float const* __restrict from, long count) {
  using Round = RoundFloats<To>;
  if (!Round::isAvailable()) return convertReals(to, from, count);
  long const done = Round::roundVectors(from, to, count);
  if (done == count) return;
  float rest[Round::cNbVoxels] = {};
  To result[Round::cNbVoxels];
  std::copy(from + done, from + count, rest);
  Round::roundVectors(rest, result, Round::cNbVoxels);
  std::copy(result, result + (count - done), to + done);
}

template <class To, class From>
void convert(void* to, void const* from, long count) {
  To* const __restrict target = static_cast<To*>(to);
  From const* const __restrict source = static_cast<From const*>(from);
  if constexpr (std::is_integral_v<To> && sizeof(To) <= 2 && std::is_same_v<From, float>) {
    convertFloats(target, source, count);
  } else if constexpr (std::is_integral_v<To> && std::is_floating_point_v<From>) {
    convertReals(target, source, count);
  } else {
    for (long i = 0; i < count; ++i) target[i] = convertVoxel<To>(source[i]);
  }
}

}  // namespace

Converter getConverter(VoxelTypes to, VoxelTypes from) {
  auto const none = []() -> Converter { return nullptr; };
  return visitVoxelType(
      to,
      [from, &none](auto toTag) {
        using To = typename decltype(toTag)::Type;
        return visitVoxelType(
            from,
            [](auto fromTag) -> Converter {
              using From = typename decltype(fromTag)::Type;
              return std::is_same_v<To, From> ? nullptr : convert<To, From>;
            },
            none);
      },
      none);
}

}  // namespace pxl::access
