#pragma once

#include <limits>

#include "Core/private/Access/simd/SimdVec.h"

namespace pxl::morphology::details {

/**
 * The elementary operation of a dilation, and the value of voxels beyond the image's edge: the lowest finite value,
 * which never wins. Real types follow the processor: the second operand wins where either is NaN or both are zero.
 */
struct DilationFunctor {
  template <class T>
  static typename SimdVec::Simd<T>::Vector apply(typename SimdVec::Simd<T>::Vector a,
                                                 typename SimdVec::Simd<T>::Vector b) {
    return SimdVec::Simd<T>::max(a, b);
  }
  template <class T>
  static constexpr T cNeutral = std::numeric_limits<T>::lowest();
};

/** The same for an erosion. */
struct ErosionFunctor {
  template <class T>
  static typename SimdVec::Simd<T>::Vector apply(typename SimdVec::Simd<T>::Vector a,
                                                 typename SimdVec::Simd<T>::Vector b) {
    return SimdVec::Simd<T>::min(a, b);
  }
  template <class T>
  static constexpr T cNeutral = std::numeric_limits<T>::max();
};

}  // namespace pxl::morphology::details
