#pragma once

#include "pxl/Export.h"

namespace pxl {

/** Run-time voxel type. 3, 7, 10 and 11 are names only: the host makes no images of these types. */
enum VoxelTypes : int {
  cUnsignedInteger8 = 0,
  cUnsignedInteger16 = 1,
  cUnsignedInteger32 = 2,
  cUnsignedInteger64 = 3,
  cInteger8 = 4,
  cInteger16 = 5,
  cInteger32 = 6,
  cInteger64 = 7,
  cFloat = 8,
  cDouble = 9,
  cComplexFloat = 10,
  cComplexDouble = 11
};

/**
 * How voxels are converted to another type: 0 rounds half to even, saturates, and converts NaN to 0 for integers.
 * Values are not scaled.
 */
enum DataConvertionTypes : int { cRoundAndSaturate = 0 };

/**
 * The five dimensions, fastest first. Terms used everywhere:
 *
 *   plan             slice of a volume (z)
 *   sequence         time
 *   spectral series  channel
 */
enum Components : int { cColumns = 0, cRows = 1, cPlans = 2, cSequence = 3, cSpectralSeries = 4 };

constexpr int cNbComponents = 5;

/** The interpretations of voxels; any value but 0 means grey. */
enum Interpretations : int { cBinary = 0, cGrey = 1 };

namespace helper {

/** Bytes of one voxel; 0 for a value that isn't a voxel type. */
PXL_API unsigned long getSizeOf(VoxelTypes const& type);

/** "uint8", "float32" and so on; "unknown" for a value that isn't a voxel type. The result is static. */
PXL_API char const* getNameOf(VoxelTypes const& type);

/** Whether images of this type can be made: true for 0, 1, 2, 4, 5, 6, 8 and 9. */
PXL_API bool isImageType(VoxelTypes const& type);

/** The enumeration value of a C++ voxel type. */
template <class T>
struct DataTypeToVoxelTypeEnum;

#define PXL_VOXEL_TYPE(T, value)                    \
  template <>                                       \
  struct DataTypeToVoxelTypeEnum<T> {               \
    static constexpr VoxelTypes cVoxelType = value; \
  }
PXL_VOXEL_TYPE(unsigned char, cUnsignedInteger8);
PXL_VOXEL_TYPE(unsigned short, cUnsignedInteger16);
PXL_VOXEL_TYPE(unsigned int, cUnsignedInteger32);
PXL_VOXEL_TYPE(signed char, cInteger8);
PXL_VOXEL_TYPE(short, cInteger16);
PXL_VOXEL_TYPE(int, cInteger32);
PXL_VOXEL_TYPE(float, cFloat);
PXL_VOXEL_TYPE(double, cDouble);
#undef PXL_VOXEL_TYPE

}  // namespace helper

/** Calls MACRO(T) for each of the eight C++ voxel types. */
#define PXL_FOR_EACH_VOXEL_TYPE(MACRO) \
  MACRO(unsigned char)                 \
  MACRO(unsigned short)                \
  MACRO(unsigned int)                  \
  MACRO(signed char)                   \
  MACRO(short)                         \
  MACRO(int)                           \
  MACRO(float)                         \
  MACRO(double)

}  // namespace pxl
