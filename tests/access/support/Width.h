#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "access/support/PlainVectors.h"
#include "instrument/Recorder.h"
#include "oracle/HostImages.h"
#include "oracle/VoxelTypeTests.h"

/** Kernels of other widths, compiled from the same headers, compute the same bits. */
namespace access_test {

using Narrow = pxl::SimdVec::arch_128_tag;

template <class T>
class WidthOf : public testing::Test {
 protected:
  /** The voxels of the output after work(input, output). */
  template <class Work>
  static std::vector<T> getOutput(oracle::Image<T> const& image, bool isInPlace, Work&& work) {
    auto const input = oracle::toHost(image);
    auto const output = isInPlace ? input : oracle::toHost(oracle::Image<T>(image.sizes));
    work(input.get(), output.get());
    T const* const voxels = static_cast<T const*>(output->getVoxels());
    return std::vector<T>(voxels, voxels + image.voxels.size());
  }

  /**
   * Calls compute(arch, image, isInPlace) for vectors of 16 bytes and of another width, in rows of many lengths. Each
   * takes a second to compile, so that voxels of each size have both of them, and not each type.
   */
  template <class Compute>
  void expectSame(Compute&& compute) {
    if constexpr (std::is_unsigned_v<T> || sizeof(T) == 8) expectSameAs<PlainArch<32>>(compute);
    if constexpr (std::is_signed_v<T>) expectSameAs<PlainArch<64>>(compute);
  }

 private:
  template <class Wide, class Compute>
  void expectSameAs(Compute&& compute) {
    constexpr long L = pxl::SimdVec::cNbLanes<T, Wide>;
    for (long nbCols : {1L, L - 1, L, L + 1, 3 * L + 1, 13 * L + 1}) {
      oracle::Image<T> const image = makeImage(nbCols);
      for (bool isInPlace : {false, true}) {
        std::vector<T> const narrow = compute(Narrow(), image, isInPlace);
        std::vector<T> const wide = compute(Wide(), image, isInPlace);
        ASSERT_EQ(wide.size(), narrow.size());
        for (unsigned long i = 0; i < wide.size(); ++i)
          ASSERT_EQ(std::memcmp(&wide[i], &narrow[i], sizeof(T)), 0)
              << "voxel " << i << " in rows of " << nbCols << " is " << +wide[i] << " and not " << +narrow[i]
              << (isInPlace ? ", in place" : "");
      }
    }
  }

  // Of real types also what depends on the order of operands.
  oracle::Image<T> makeImage(long nbCols) {
    auto image = m_random.image<T>({nbCols, 5, 3, 1, 1});
    if constexpr (std::is_floating_point_v<T>) {
      T const values[] = {T(0), -T(0), std::numeric_limits<T>::quiet_NaN(), std::numeric_limits<T>::infinity()};
      for (T& voxel : image.voxels)
        if (m_random.number(0, 3) == 0) voxel = values[m_random.number(0, 3)];
    }
    return image;
  }

  oracle::Random m_random{1301};
};

}  // namespace access_test
