#pragma once

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <type_traits>

namespace host_test {

/** Random numbers whose seed is printed; PXLWORKS_TEST_SEED repeats a run. */
class Random {
 public:
  Random() : m_seed(chooseSeed()), m_engine(m_seed) { std::printf("[   SEED   ] PXLWORKS_TEST_SEED=%lu\n", m_seed); }

  /** A number from `lowest` to `highest`, both included. */
  template <class N>
  N between(N lowest, N highest) {
    return std::uniform_int_distribution<N>(lowest, highest)(m_engine);
  }
  unsigned long bits() { return m_engine(); }

  /** Any voxel but NaN and infinities; reals cover the range of the integers and beyond. */
  template <class T>
  T voxel() {
    if constexpr (std::is_floating_point_v<T>)
      return static_cast<T>(std::ldexp(static_cast<double>(between(-100000L, 100000L)), between(-12, 24)));
    else
      return static_cast<T>(m_engine());
  }

 private:
  static unsigned long chooseSeed() {
    char const* const given = std::getenv("PXLWORKS_TEST_SEED");
    return given ? std::strtoul(given, nullptr, 10) : std::random_device()();
  }

  unsigned long m_seed;
  std::mt19937_64 m_engine;
};

}  // namespace host_test
