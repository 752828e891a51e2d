#pragma once

#include <emmintrin.h>

#include <type_traits>

namespace pxl::SimdVec {

/**
 * Rounds floats to integers of 8 or 16 bits: half to even, saturated, NaN gives 0. It needs no more than what every
 * x86-64 processor has, as the host runs on any of them.
 */
template <class To>
struct RoundFloats {
  static_assert(std::is_integral_v<To> && sizeof(To) <= 2);
  static constexpr long cNbVoxels = 16 / static_cast<long>(sizeof(To));

  /** Rounds cNbVoxels of them. */
  static void round(float const* from, To* to) {
    __m128i result;
    if constexpr (std::is_same_v<To, unsigned char>)
      result = _mm_packus_epi16(roundEight(from), roundEight(from + 8));
    else if constexpr (std::is_same_v<To, signed char>)
      result = _mm_packs_epi16(roundEight(from), roundEight(from + 8));
    else
      result = roundEight(from);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), result);
  }

 private:
  // As signed numbers of 16 bits; those of unsigned ones of 16 bits go through the middle of their range.
  static __m128i roundEight(float const* from) {
    if constexpr (!std::is_same_v<To, unsigned short>) return _mm_packs_epi32(roundFour(from), roundFour(from + 4));
    __m128i const middle = _mm_set1_epi32(32768);
    __m128i const shifted =
        _mm_packs_epi32(_mm_sub_epi32(roundFour(from), middle), _mm_sub_epi32(roundFour(from + 4), middle));
    return _mm_xor_si128(shifted, _mm_set1_epi16(-32768));
  }

  // Within 32 bits; narrower limits are left to the packing.
  static __m128i roundFour(float const* from) {
    __m128 v = _mm_loadu_ps(from);
    if constexpr (std::is_signed_v<To>)
      v = _mm_max_ps(_mm_and_ps(v, _mm_cmpord_ps(v, v)), _mm_set1_ps(-65536));
    else
      v = _mm_max_ps(v, _mm_setzero_ps());  // The second operand where the first is NaN.
    return _mm_cvtps_epi32(_mm_min_ps(v, _mm_set1_ps(65536)));
  }
};

}  // namespace pxl::SimdVec
