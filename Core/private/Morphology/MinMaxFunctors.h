#pragma once

#include <limits>

namespace pxl::morphology::details {

/**
 * The elementary operation of a dilation on vectors of a Simd, and the value of voxels beyond the image's edge: the
 * lowest finite value, which never wins. Real types follow the processor: the second operand wins where either is NaN
 * or both are zero.
 */
struct DilationFunctor {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    return Vec::max(a, b);
  }
  template <class T>
  static constexpr T cNeutral = std::numeric_limits<T>::lowest();
};

/** The same for an erosion. */
struct ErosionFunctor {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    return Vec::min(a, b);
  }
  template <class T>
  static constexpr T cNeutral = std::numeric_limits<T>::max();
};

}  // namespace pxl::morphology::details
