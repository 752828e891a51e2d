#pragma once

#ifdef __x86_64__

#include <smmintrin.h>

#include <type_traits>

namespace pxl::access {

/**
 * Rounds floats to integers of 8 or 16 bits: half to even, saturated, NaN becomes 0. It uses only what every x86-64
 * processor has, as the host runs on all of them; only unsigned 16-bit integers need SSE4.1.
 */
template <class To>
struct RoundFloats {
  static_assert(std::is_integral_v<To> && sizeof(To) <= 2);
  static constexpr long cNbVoxels = 16 / static_cast<long>(sizeof(To));

  /** Whether this processor supports it. */
  static bool isAvailable() { return !std::is_same_v<To, unsigned short> || __builtin_cpu_supports("sse4.1"); }

  /** Rounds whole vectors of cNbVoxels. @return how many of the `count` voxels were rounded */
  static long roundVectors(float const* from, To* to, long count) {
    if constexpr (std::is_same_v<To, unsigned short>) return roundUnsigned16(from, to, count);
    long i = 0;
    for (; i + cNbVoxels <= count; i += cNbVoxels) {
      __m128i result;
      if constexpr (std::is_same_v<To, unsigned char>)
        result = _mm_packus_epi16(roundEight(from + i), roundEight(from + i + 8));
      else if constexpr (std::is_same_v<To, signed char>)
        result = _mm_packs_epi16(roundEight(from + i), roundEight(from + i + 8));
      else
        result = roundEight(from + i);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), result);
    }
    return i;
  }

 private:
  // To signed 16-bit integers; packing saturates to narrower types.
  static __m128i roundEight(float const* from) { return _mm_packs_epi32(roundFour(from), roundFour(from + 4)); }

  // To 32-bit integers. Values that are too low become the lowest integer, and so does NaN, which the minimum returns
  // as its second operand. Packing to unsigned integers turns that into 0.
  static __m128i roundFour(float const* from) {
    __m128 v = _mm_loadu_ps(from);
    if constexpr (std::is_signed_v<To>) v = _mm_and_ps(v, _mm_cmpord_ps(v, v));
    return _mm_cvtps_epi32(_mm_min_ps(_mm_set1_ps(65536), v));
  }

  [[gnu::target("sse4.1")]] static long roundUnsigned16(float const* from, To* to, long count) {
    __m128 const highest = _mm_set1_ps(65536);
    long i = 0;
    for (; i + 8 <= count; i += 8) {
      __m128i const low = _mm_cvtps_epi32(_mm_min_ps(highest, _mm_loadu_ps(from + i)));
      __m128i const high = _mm_cvtps_epi32(_mm_min_ps(highest, _mm_loadu_ps(from + i + 4)));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), _mm_packus_epi32(low, high));
    }
    return i;
  }
};

}  // namespace pxl::access

#else

namespace pxl::access {

/** Other processors have only the conversion of all reals. */
template <class To>
struct RoundFloats {
  static constexpr long cNbVoxels = 1;
  static bool isAvailable() { return false; }
  static long roundVectors(float const*, To*, long) { return 0; }
};

}  // namespace pxl::access

#endif
