#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

/**
 * The reference for the product: plain loops over coordinates, with its own border rules. Slow on purpose, and
 * written independently of the product's code. Coordinates are read through pointers: without optimisation each
 * access to an array is two calls.
 */
namespace oracle {

/** Columns, rows, plans, sequence, spectral series. */
using Five = std::array<long, 5>;

template <class T>
struct Image {
  explicit Image(Five const& imageSizes)
      : sizes(imageSizes), voxels(static_cast<unsigned long>(sizes[0] * sizes[1] * sizes[2] * sizes[3] * sizes[4])) {}

  T& at(Five const& p) { return voxels[indexOf(p)]; }
  T const& at(Five const& p) const { return voxels[indexOf(p)]; }

  Five sizes;
  std::vector<T> voxels;

 private:
  unsigned long indexOf(Five const& p) const {
    long const* const at = p.data();
    long const* const size = sizes.data();
    long index = 0;
    for (int d = 5; d-- > 0;) {
      if (at[d] < 0 || at[d] >= size[d]) std::abort();
      index = index * size[d] + at[d];
    }
    return static_cast<unsigned long>(index);
  }
};

/** Calls visit(position) for each position of a box, columns fastest. */
template <class Visit>
void forEachPosition(Five const& sizes, Visit&& visit) {
  for (long x = 0; x < sizes[4]; ++x)
    for (long s = 0; s < sizes[3]; ++s)
      for (long p = 0; p < sizes[2]; ++p)
        for (long r = 0; r < sizes[1]; ++r)
          for (long c = 0; c < sizes[0]; ++c) visit(Five{c, r, p, s, x});
}

/** Voxels beyond the image have one value. */
template <class T>
T fixedAt(Image<T> const& image, Five const& p, T value) {
  long const* const at = p.data();
  long const* const size = image.sizes.data();
  for (int d = 0; d < 5; ++d)
    if (at[d] < 0 || at[d] >= size[d]) return value;
  return image.at(p);
}

/** Voxels beyond the image are those nearest to them. */
template <class T>
T continueAt(Image<T> const& image, Five p) {
  for (unsigned long d = 0; d < 5; ++d) {
    if (p[d] < 0) p[d] = 0;
    if (p[d] >= image.sizes[d]) p[d] = image.sizes[d] - 1;
  }
  return image.at(p);
}

/** The image goes on as its own reflection, the edge voxel not repeated; steps from edge to edge as often as needed.
 */
template <class T>
T mirrorAt(Image<T> const& image, Five p) {
  for (unsigned long d = 0; d < 5; ++d) {
    long const last = image.sizes[d] - 1;
    if (last == 0) p[d] = 0;
    while (p[d] < 0 || p[d] > last) p[d] = p[d] < 0 ? -p[d] : 2 * last - p[d];
  }
  return image.at(p);
}

/** The smallest and the largest voxel of each cell of a measure; see measureExtrema(). */
struct Extrema {
  std::array<long, 3> cells;
  std::vector<double> minimum;
  std::vector<double> maximum;

  unsigned long indexOf(long i0, long i1, long i2) const {
    return static_cast<unsigned long>((i2 * cells[1] + i1) * cells[0] + i0);
  }
};

/** Of a non-empty image without NaN. 1 in the mask: cells per plan, 4: per sequence position, 2: per spectral one. */
template <class T>
Extrema measureExtrema(Image<T> const& image, int mask) {
  bool const perPlan = mask & 1, perSequence = mask & 4, perSpectral = mask & 2;
  Extrema result{
      {perPlan ? image.sizes[2] : 1, perSequence ? image.sizes[3] : 1, perSpectral ? image.sizes[4] : 1}, {}, {}};
  unsigned long const count = result.indexOf(0, 0, result.cells[2]);
  std::vector<T> low(count), high(count);
  std::vector<char> isKnown(count, 0);
  forEachPosition(image.sizes, [&](Five const& p) {
    unsigned long const cell = result.indexOf(perPlan ? p[2] : 0, perSequence ? p[3] : 0, perSpectral ? p[4] : 0);
    T const value = image.at(p);
    if (!isKnown[cell] || value < low[cell]) low[cell] = value;
    if (!isKnown[cell] || value > high[cell]) high[cell] = value;
    isKnown[cell] = 1;
  });
  for (unsigned long i = 0; i < count; ++i) {
    result.minimum.push_back(static_cast<double>(low[i]));
    result.maximum.push_back(static_cast<double>(high[i]));
  }
  return result;
}

/** Pseudo-random numbers. The seed is printed when the test fails; PXLWORKS_TEST_SEED is added to every seed. */
class Random {
 public:
  explicit Random(unsigned long seed) : m_seed(seed + getBase()), m_engine(m_seed) {}
  ~Random() {
    if (testing::Test::HasFailure()) std::printf("the failing test used the seed %lu\n", m_seed);
  }
  Random(Random const&) = delete;
  Random& operator=(Random const&) = delete;

  /** From `low` to `high`, both included. */
  long number(long low, long high) { return std::uniform_int_distribution<long>(low, high)(m_engine); }

  /** Any value of an integer type; a real one of moderate size. */
  template <class T>
  T voxel() {
    if constexpr (std::is_floating_point_v<T>)
      return static_cast<T>(std::uniform_real_distribution<double>(-1000, 1000)(m_engine));
    else
      return static_cast<T>(number(std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max()));
  }

  /** An image of voxel()s. */
  template <class T>
  Image<T> image(Five const& sizes) {
    Image<T> result(sizes);
    for (T& voxel : result.voxels) voxel = this->voxel<T>();
    return result;
  }

  /** Away from the ends of the type's range, so that no run of voxels spans it. */
  template <class T>
  Image<T> imageWithin(Five const& sizes, long low, long high) {
    Image<T> result(sizes);
    for (T& voxel : result.voxels) voxel = static_cast<T>(number(low, high));
    return result;
  }

  std::mt19937_64& engine() { return m_engine; }

 private:
  static unsigned long getBase() {
    char const* const text = std::getenv("PXLWORKS_TEST_SEED");
    return text ? std::strtoul(text, nullptr, 10) : 0;
  }

  unsigned long m_seed;
  std::mt19937_64 m_engine;
};

}  // namespace oracle
