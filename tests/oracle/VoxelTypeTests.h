#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>

#include "oracle/TypedTests.h"

/** For typed tests over the voxel types. */
namespace oracle {

using VoxelTypes =
    testing::Types<unsigned char, unsigned short, unsigned int, signed char, short, int, float, double>;
using IntegerVoxelTypes = testing::Types<unsigned char, unsigned short, unsigned int, signed char, short, int>;
using RealVoxelTypes = testing::Types<float, double>;

/** Names of the instances of typed tests. */
struct VoxelTypeNames {
  template <class T>
  static std::string GetName(int) {
    std::string const bits = std::to_string(8 * sizeof(T));
    if (std::is_floating_point_v<T>) return "float" + bits;
    return (std::is_signed_v<T> ? "int" : "uint") + bits;
  }
};

/** How many voxels a vector of 16 bytes holds. */
template <class T>
constexpr long cLanes = 16 / static_cast<long>(sizeof(T));

/** An unsigned integer as wide as T, to compare voxels bit by bit. */
template <class T>
using Bits = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;

}  // namespace oracle
