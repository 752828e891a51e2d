#pragma once

/** The limits of the host, checked before anything is allocated. */
namespace pxl::limits {

constexpr unsigned long cMaxSize = (1UL << 31) - 1;  ///< of an image in one dimension, and of a radius
constexpr unsigned long cMaxNbVoxels = 1UL << 40;    ///< of an image
constexpr unsigned long cMaxNbOffsets = 1000000;     ///< taps of a kernel, or voxels of a structuring element
constexpr long cMaxOffset = 1L << 31;                ///< of a tap, in either direction

}  // namespace pxl::limits
