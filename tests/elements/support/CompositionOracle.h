#pragma once

#include <type_traits>

#include "morphology/support/MorphologyOracle.h"
#include "oracle/Shapes.h"

/** Openings, closings and differences with any element, made of the elementary loops. */
namespace oracle {

inline OffsetList mirror(OffsetList list) {
  for (Offset& offset : list) offset = {-offset[0], -offset[1], -offset[2]};
  return list;
}

template <class T>
Image<T> dilate(Image<T> const& image, OffsetList const& list) {
  return applyVolumeList(image, Operation::cDilation, list);
}
template <class T>
Image<T> erode(Image<T> const& image, OffsetList const& list) {
  return applyVolumeList(image, Operation::cErosion, list);
}
template <class T>
Image<T> open(Image<T> const& image, OffsetList const& list) {
  return dilate(erode(image, list), mirror(list));
}
template <class T>
Image<T> close(Image<T> const& image, OffsetList const& list) {
  return erode(dilate(image, list), mirror(list));
}

/** The type of a difference: unsigned for signed integers. */
template <class T, bool = std::is_integral_v<T>>
struct DifferenceOf {
  using Type = std::make_unsigned_t<T>;
};
template <class T>
struct DifferenceOf<T, false> {
  using Type = T;
};
template <class T>
using Difference = typename DifferenceOf<T>::Type;

/** What is below 0 is 0. Integers in 64 bit. */
template <class T>
Image<Difference<T>> subtract(Image<T> const& from, Image<T> const& what) {
  using Wide = std::conditional_t<std::is_integral_v<T>, long, T>;
  Image<Difference<T>> result(from.sizes);
  for (unsigned long i = 0; i < from.voxels.size(); ++i) {
    Wide difference = static_cast<Wide>(from.voxels[i]) - static_cast<Wide>(what.voxels[i]);
    if (difference < 0) difference = 0;
    result.voxels[i] = static_cast<Difference<T>>(difference);
    if constexpr (std::is_integral_v<T>) {
      EXPECT_EQ(static_cast<long>(result.voxels[i]), difference) << "the difference has no room in its type";
    }
  }
  return result;
}

}  // namespace oracle
