#pragma once

#include <type_traits>

namespace pxl::tmpl_dispatch {

template <class... Types>
struct TypeList {
  template <class T>
  static constexpr bool cContains = (std::is_same_v<T, Types> || ...);
};

using IntegerTypes = TypeList<unsigned char, unsigned short, unsigned int, signed char, short, int>;
using AllTypes = TypeList<unsigned char, unsigned short, unsigned int, signed char, short, int, float, double>;

}  // namespace pxl::tmpl_dispatch
