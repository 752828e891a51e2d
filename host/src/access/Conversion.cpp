#include "access/Conversion.h"

#include <cmath>
#include <limits>
#include <type_traits>

namespace pxl::access {
namespace {

template <class To, class From>
To convertVoxel(From value) {
  if constexpr (std::is_floating_point_v<To>) {
    return static_cast<To>(value);
  } else if constexpr (std::is_floating_point_v<From>) {
    // The limits of all integer voxels are exact as double, and so is every float.
    constexpr double cLowest = std::numeric_limits<To>::lowest();
    constexpr double cHighest = std::numeric_limits<To>::max();
    double const rounded = std::nearbyint(static_cast<double>(value));
    if (!(rounded > cLowest)) return std::isnan(rounded) ? To(0) : std::numeric_limits<To>::lowest();
    return rounded < cHighest ? static_cast<To>(rounded) : std::numeric_limits<To>::max();
  } else {
    constexpr long cLowest = std::numeric_limits<To>::lowest();
    constexpr long cHighest = std::numeric_limits<To>::max();
    long const wide = value;
    return static_cast<To>(wide < cLowest ? cLowest : wide > cHighest ? cHighest : wide);
  }
}

template <class To, class From>
void convert(void* to, void const* from, long count) {
  To* const target = static_cast<To*>(to);
  From const* const source = static_cast<From const*>(from);
  for (long i = 0; i < count; ++i) target[i] = convertVoxel<To>(source[i]);
}

template <class To>
Converter getConverterTo(VoxelTypes from) {
  switch (static_cast<int>(from)) {
#define PXL_CASE(T)                                    \
  case helper::DataTypeToVoxelTypeEnum<T>::cVoxelType: \
    return std::is_same_v<To, T> ? nullptr : convert<To, T>;
    PXL_FOR_EACH_VOXEL_TYPE(PXL_CASE)
#undef PXL_CASE
    default:
      return nullptr;
  }
}

}  // namespace

Converter getConverter(VoxelTypes to, VoxelTypes from) {
  switch (static_cast<int>(to)) {
#define PXL_CASE(T)                                    \
  case helper::DataTypeToVoxelTypeEnum<T>::cVoxelType: \
    return getConverterTo<T>(from);
    PXL_FOR_EACH_VOXEL_TYPE(PXL_CASE)
#undef PXL_CASE
    default:
      return nullptr;
  }
}

}  // namespace pxl::access
