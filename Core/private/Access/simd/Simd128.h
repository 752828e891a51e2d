#pragma once

#include <smmintrin.h>

#include "Core/private/Access/simd/SimdVec.h"

/** Vectors of 128 bits, with SSE4.1 and below. */
namespace pxl::SimdVec {

/** The operations that are the same for all six integer types. */
template <class T>
struct SimdInteger {
  using Vector = __m128i;
  static constexpr long cNbLanes = SimdVec::cNbLanes<T, arch_128_tag>;

  static Vector load(T const* voxels) { return _mm_loadu_si128(reinterpret_cast<Vector const*>(voxels)); }
  static void store(T* voxels, Vector v) { _mm_storeu_si128(reinterpret_cast<Vector*>(voxels), v); }
  static Vector bitAnd(Vector a, Vector b) { return _mm_and_si128(a, b); }
  static Vector bitOr(Vector a, Vector b) { return _mm_or_si128(a, b); }
  static Vector bitXor(Vector a, Vector b) { return _mm_xor_si128(a, b); }
  static Vector bitNot(Vector a) { return _mm_xor_si128(a, _mm_set1_epi8(-1)); }
  static Vector bitAndNot(Vector a, Vector b) { return _mm_andnot_si128(b, a); }
};

template <class T>
struct SimdInteger8 : SimdInteger<T> {
  static __m128i broadcast(T value) { return _mm_shuffle_epi8(_mm_cvtsi32_si128(value), _mm_setzero_si128()); }
  template <int Lane>
  static T extract(__m128i v) {
    return static_cast<T>(_mm_extract_epi8(v, Lane));
  }
};

template <class T>
struct SimdInteger16 : SimdInteger<T> {
  static __m128i broadcast(T value) { return _mm_shuffle_epi8(_mm_cvtsi32_si128(value), _mm_set1_epi16(0x0100)); }
  template <int Lane>
  static T extract(__m128i v) {
    return static_cast<T>(_mm_extract_epi16(v, Lane));
  }
};

template <class T>
struct SimdInteger32 : SimdInteger<T> {
  static __m128i broadcast(T value) { return _mm_shuffle_epi32(_mm_cvtsi32_si128(static_cast<int>(value)), 0); }
  template <int Lane>
  static T extract(__m128i v) {
    return static_cast<T>(_mm_extract_epi32(v, Lane));
  }
};

template <>
struct Simd<unsigned char, arch_128_tag> : SimdInteger8<unsigned char> {
  static Vector min(Vector a, Vector b) { return _mm_min_epu8(a, b); }
  static Vector max(Vector a, Vector b) { return _mm_max_epu8(a, b); }
};

template <>
struct Simd<signed char, arch_128_tag> : SimdInteger8<signed char> {
  static Vector min(Vector a, Vector b) { return _mm_min_epi8(a, b); }
  static Vector max(Vector a, Vector b) { return _mm_max_epi8(a, b); }
};

template <>
struct Simd<unsigned short, arch_128_tag> : SimdInteger16<unsigned short> {
  static Vector min(Vector a, Vector b) { return _mm_min_epu16(a, b); }
  static Vector max(Vector a, Vector b) { return _mm_max_epu16(a, b); }
};

template <>
struct Simd<short, arch_128_tag> : SimdInteger16<short> {
  static Vector min(Vector a, Vector b) { return _mm_min_epi16(a, b); }
  static Vector max(Vector a, Vector b) { return _mm_max_epi16(a, b); }
};

template <>
struct Simd<unsigned int, arch_128_tag> : SimdInteger32<unsigned int> {
  static Vector min(Vector a, Vector b) { return _mm_min_epu32(a, b); }
  static Vector max(Vector a, Vector b) { return _mm_max_epu32(a, b); }
};

template <>
struct Simd<int, arch_128_tag> : SimdInteger32<int> {
  static Vector min(Vector a, Vector b) { return _mm_min_epi32(a, b); }
  static Vector max(Vector a, Vector b) { return _mm_max_epi32(a, b); }
};

template <>
struct Simd<float, arch_128_tag> {
  using Vector = __m128;
  static constexpr long cNbLanes = SimdVec::cNbLanes<float, arch_128_tag>;

  static Vector load(float const* voxels) { return _mm_loadu_ps(voxels); }
  static void store(float* voxels, Vector v) { _mm_storeu_ps(voxels, v); }
  static Vector min(Vector a, Vector b) { return _mm_min_ps(a, b); }
  static Vector max(Vector a, Vector b) { return _mm_max_ps(a, b); }
  static Vector add(Vector a, Vector b) { return _mm_add_ps(a, b); }
  static Vector multiply(Vector a, Vector b) { return _mm_mul_ps(a, b); }
  static Vector broadcast(float value) {
    Vector const v = _mm_load_ss(&value);
    return _mm_shuffle_ps(v, v, 0);
  }
  template <int Lane>
  static float extract(Vector v) {
    float lanes[cNbLanes];
    store(lanes, v);
    return lanes[Lane];
  }
};

template <>
struct Simd<double, arch_128_tag> {
  using Vector = __m128d;
  static constexpr long cNbLanes = SimdVec::cNbLanes<double, arch_128_tag>;

  static Vector load(double const* voxels) { return _mm_loadu_pd(voxels); }
  static void store(double* voxels, Vector v) { _mm_storeu_pd(voxels, v); }
  static Vector min(Vector a, Vector b) { return _mm_min_pd(a, b); }
  static Vector max(Vector a, Vector b) { return _mm_max_pd(a, b); }
  static Vector add(Vector a, Vector b) { return _mm_add_pd(a, b); }
  static Vector multiply(Vector a, Vector b) { return _mm_mul_pd(a, b); }
  static Vector broadcast(double value) { return _mm_loaddup_pd(&value); }
  template <int Lane>
  static double extract(Vector v) {
    double lanes[cNbLanes];
    store(lanes, v);
    return lanes[Lane];
  }
};

}  // namespace pxl::SimdVec
