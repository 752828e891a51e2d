#include "access/Conversion.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

namespace pxl::access {
namespace {

// What a real is rounded in: float for what 24 bits hold.
template <class To, class From>
using Wide = std::conditional_t<sizeof(To) < 4, From, double>;

// Sixteen bytes of reals, for which the compiler has operators: in a loop over voxels comparisons would become jumps.
template <class Real>
struct Lanes {
  static constexpr long cCount = 16 / sizeof(Real);
  using Vector __attribute__((vector_size(16))) = Real;
  using Floats __attribute__((vector_size(cCount * 4))) = float;
  using Whole __attribute__((vector_size(cCount * 4))) = int;
};

// Rounds half to even and saturates; NaN becomes 0. For unsigned numbers of 32 bits the sign bit is changed.
template <class To, class Real>
typename Lanes<Real>::Whole roundVector(typename Lanes<Real>::Vector v) {
  constexpr Real cLowest = std::numeric_limits<To>::lowest();
  constexpr Real cHighest = static_cast<Real>(std::numeric_limits<To>::max());
  // A number this large has no bits behind the point, so that adding it rounds.
  constexpr Real cLarge = std::is_same_v<Real, float> ? 12582912. : 6755399441055744.;
  constexpr Real cShift = std::is_same_v<To, unsigned int> ? 2147483648. : 0.;
  typename Lanes<Real>::Vector const zero{}, lowest = zero + cLowest, highest = zero + cHighest;
  if constexpr (std::is_signed_v<To>) v = v == v ? v : zero;
  v = v > lowest ? v : lowest;
  v = v < highest ? v : highest;
  return __builtin_convertvector(((v + cLarge) - cLarge) - cShift, typename Lanes<Real>::Whole);
}

template <class To, class From>
void convertReals(To* __restrict to, From const* __restrict from, long count) {
  using Real = Wide<To, From>;
  constexpr long L = Lanes<Real>::cCount;
  constexpr long cPartLength = 512;
  constexpr int cSign = std::is_same_v<To, unsigned int> ? std::numeric_limits<int>::lowest() : 0;
  alignas(16) int whole[cPartLength];
  auto const round = [&whole](From const* voxels, long i) {
    typename Lanes<Real>::Vector v;
    if constexpr (std::is_same_v<From, Real>) {
      std::memcpy(&v, voxels, sizeof v);
    } else {
      typename Lanes<Real>::Floats narrow;
      std::memcpy(&narrow, voxels, sizeof narrow);
      v = __builtin_convertvector(narrow, typename Lanes<Real>::Vector);
    }
    auto const w = roundVector<To, Real>(v);
    std::memcpy(whole + i, &w, sizeof w);
  };
  for (long done = 0; done < count; done += cPartLength) {
    long const part = std::min(count - done, cPartLength);
    long i = 0;
    for (; i + L <= part; i += L) round(from + done + i, i);
    if (i < part) {
      From rest[L] = {};
      std::copy(from + done + i, from + done + part, rest);
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

template <class To, class From>
void convert(void* to, void const* from, long count) {
  To* const __restrict target = static_cast<To*>(to);
  From const* const __restrict source = static_cast<From const*>(from);
  if constexpr (std::is_integral_v<To> && std::is_floating_point_v<From>) {
    convertReals(target, source, count);
  } else {
    for (long i = 0; i < count; ++i) target[i] = convertVoxel<To>(source[i]);
  }
}

template <class To>
Converter getConverterTo(VoxelTypes from) {
  switch (static_cast<int>(from)) {
#define PXL_CASE(T)                                    \
  case helper::DataTypeToVoxelTypeEnum<T>::cVoxelType: \
    return std::is_same_v<To, T> ? nullptr : convert<To, T>;
    PXL_FOR_EACH_VOXEL_TYPE(PXL_CASE)
#undef PXL_CASE
    default:
      return nullptr;
  }
}

}  // namespace

Converter getConverter(VoxelTypes to, VoxelTypes from) {
  switch (static_cast<int>(to)) {
#define PXL_CASE(T)                                    \
  case helper::DataTypeToVoxelTypeEnum<T>::cVoxelType: \
    return getConverterTo<T>(from);
    PXL_FOR_EACH_VOXEL_TYPE(PXL_CASE)
#undef PXL_CASE
    default:
      return nullptr;
  }
}

}  // namespace pxl::access
