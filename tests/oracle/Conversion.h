#pragma once

#include <cmath>
#include <limits>
#include <type_traits>

namespace oracle {

/**
 * One voxel as another type: half to even by looking at the distance to the whole number below, saturation by
 * comparison, NaN as 0. Exact in long double.
 */
template <class To, class From>
To convert(From value) {
  if constexpr (std::is_floating_point_v<To>) {
    return static_cast<To>(static_cast<double>(value));
  } else {
    long double wide = static_cast<long double>(value);
    if (std::isnan(wide)) return 0;
    if (!std::isinf(wide)) {
      long double const below = std::floor(wide);
      long double const rest = wide - below;
      bool const isUp = rest > 0.5L || (rest == 0.5L && std::fmod(below, 2.0L) != 0);
      wide = isUp ? below + 1 : below;
    }
    if (wide < static_cast<long double>(std::numeric_limits<To>::min())) return std::numeric_limits<To>::min();
    if (wide > static_cast<long double>(std::numeric_limits<To>::max())) return std::numeric_limits<To>::max();
    return static_cast<To>(wide);
  }
}

}  // namespace oracle
