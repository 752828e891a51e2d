#pragma once

#include <cstddef>
#include <utility>

#include "Core/private/Access/simd/AlignedAllocator.h"

/**
 * Vectors of any width. Kernels load their neighbours from unaligned addresses, so that no shifts, masks, comparisons
 * or blends are needed.
 *
 * An architecture is a tag with the number of bytes of a vector, and a Simd<T, Arch> for each voxel type. A plug-in
 * of another width has its own. A unit that instantiates a kernel includes the architecture; this header includes the
 * one of 128 bits if the unit is compiled for it.
 */
namespace pxl::SimdVec {

/** Vectors of 128 bits. */
struct arch_128_tag {
  static constexpr std::size_t cNbBytes = 16;
};

/** The number of voxels in a vector. */
template <class T, class Arch>
inline constexpr long cNbLanes = static_cast<long>(Arch::cNbBytes / sizeof(T));

/** Allocates rows whose last vector can be loaded and stored as a whole. */
template <class T, class Arch>
using RowAllocator = AlignedAllocator<T, Arch::cNbBytes>;

/**
 * Operations on vectors of T: the type `Vector`, the number of lanes `cNbLanes`, unaligned `load` and `store`,
 * lane-wise `min` and `max`, for real types `add` and `multiply`, for integers bitAnd to bitAndNot (a and not b),
 * `broadcast` of a scalar, and `extract<lane>`.
 *
 * min and max of real types return the second operand where either is NaN or both are zero.
 */
template <class T, class Arch>
struct Simd;

namespace details {
template <class Vec, class Function, int... Lanes>
void forEachLane(typename Vec::Vector a, typename Vec::Vector b, Function&& function,
                 std::integer_sequence<int, Lanes...>) {
  (function(Vec::template extract<Lanes>(a), Vec::template extract<Lanes>(b)), ...);
}
}  // namespace details

/** Calls function(a[lane], b[lane]) for each lane of two vectors of `Vec`, a Simd, from lane 0 on. */
template <class Vec, class Function>
void forEachLane(typename Vec::Vector a, typename Vec::Vector b, Function&& function) {
  details::forEachLane<Vec>(a, b, function, std::make_integer_sequence<int, static_cast<int>(Vec::cNbLanes)>());
}

}  // namespace pxl::SimdVec

#ifdef __SSE4_1__
#include "Core/private/Access/simd/Simd128.h"
#endif
