#pragma once

#include <cstring>
#include <type_traits>

#include "Core/private/Access/simd/SimdVec.h"

namespace bench {

/** The type in which correlations of T are computed. */
template <class T>
using Real = std::conditional_t<std::is_same_v<T, double>, double, float>;

/** A row of voxels as reals. */
template <class T>
[[gnu::noinline]] void convertRowIn(T const* __restrict voxels, Real<T>* __restrict row, long nbCols) {
  if constexpr (std::is_floating_point_v<T>)
    std::memcpy(row, voxels, static_cast<std::size_t>(nbCols) * sizeof(T));
  else
    for (long i = 0; i < nbCols; ++i) row[i] = static_cast<float>(voxels[i]);
}

/** Sixteen bytes of integers from reals of moderate size: half to even, saturated. */
inline __m128i roundFour(float const* row) { return _mm_cvtps_epi32(_mm_loadu_ps(row)); }
inline __m128i roundVector(float const* row, short) { return _mm_packs_epi32(roundFour(row), roundFour(row + 4)); }
inline __m128i roundVector(float const* row, unsigned short) {
  return _mm_packus_epi32(roundFour(row), roundFour(row + 4));
}
inline __m128i roundVector(float const* row, unsigned char) {
  return _mm_packus_epi16(roundVector(row, short()), roundVector(row + 8, short()));
}

/** A row of reals as voxels, a number of whole vectors. */
template <class T>
[[gnu::noinline]] void convertRowOut(Real<T> const* __restrict row, T* __restrict voxels, long nbCols) {
  if constexpr (std::is_floating_point_v<T>) {
    std::memcpy(voxels, row, static_cast<std::size_t>(nbCols) * sizeof(T));
  } else {
    constexpr long cNbLanes = 16 / static_cast<long>(sizeof(T));
    for (long i = 0; i < nbCols; i += cNbLanes)
      _mm_storeu_si128(reinterpret_cast<__m128i*>(voxels + i), roundVector(row + i, T()));
  }
}

}  // namespace bench
