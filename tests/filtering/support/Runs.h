#pragma once

#include <memory>

#include "instrument/Recorder.h"
#include "instrument/ShippedPaths.h"
#include "instrument/Threads.h"
#include "oracle/HostImages.h"
#include "oracle/VoxelTypeTests.h"
#include "pxl/Exception.h"
#include "pxl/Plugins.h"
#include "pxl/filtering/linear/FiniteImpulseResponseFilter.h"
#include "support/FirOracle.h"

namespace filtering_test {

using oracle::Five;
using oracle::Tap;
using oracle::Taps;
using pxl::filtering::linear::FiniteImpulseResponseFilter2D;
using pxl::filtering::linear::FiniteImpulseResponseFilter3D;
using pxl::instrument::withThreads;
using Grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes;

/** The shipped plug-in in the instrumented host. */
class PluginTest : public testing::Test {
 protected:
  PluginTest() { pxl::plugins::load(shipped::getPlugin()); }
};

template <class Offset>
void splitTaps(Taps const& taps, std::vector<Offset>& offsets, std::vector<double>& coefficients) {
  for (Tap const& tap : taps) {
    if constexpr (std::is_same_v<Offset, pxl::kernel::Offset2D>)
      offsets.push_back({tap.col, tap.row});
    else
      offsets.push_back({tap.col, tap.row, tap.plan});
    coefficients.push_back(tap.coefficient);
  }
}

inline std::unique_ptr<pxl::BaseAlgorithm> makeAlgorithm(int dimension, Taps const& taps,
                                                         pxl::ImageModel const* input, pxl::ImageModel* output) {
  std::vector<double> coefficients;
  auto const make = [&](auto algorithm, auto offsets) -> std::unique_ptr<pxl::BaseAlgorithm> {
    splitTaps(taps, offsets, coefficients);
    algorithm->inputImage = input;
    algorithm->kernel = {offsets, coefficients};
    algorithm->outputImage = output;
    return algorithm;
  };
  if (dimension == 2)
    return make(std::make_unique<FiniteImpulseResponseFilter2D>(), std::vector<pxl::kernel::Offset2D>());
  return make(std::make_unique<FiniteImpulseResponseFilter3D>(), std::vector<pxl::kernel::Offset3D>());
}

inline void run(int dimension, Taps const& taps, pxl::ImageModel const* input, pxl::ImageModel* output) {
  makeAlgorithm(dimension, taps, input, output)->execute();
}

/** Whether an image has these voxels, bit by bit. */
template <class T>
testing::AssertionResult areEqual(pxl::Image const& result, oracle::Image<T> const& expected) {
  T const* const voxels = static_cast<T const*>(result.getVoxels());
  for (unsigned long i = 0; i < expected.voxels.size(); ++i)
    if (std::memcmp(voxels + i, &expected.voxels[i], sizeof(T)) != 0)
      return testing::AssertionFailure()
             << "voxel " << i << " is " << +voxels[i] << " and should be " << +expected.voxels[i];
  return testing::AssertionSuccess();
}

/** Taps anywhere within a reach; each product stays small against the range of 8 bits. */
inline Taps makeTaps(oracle::Random& random, int dimension, long count, long reach) {
  Taps taps;
  for (long i = 0; i < count; ++i)
    taps.push_back({random.number(-reach, reach), random.number(-reach, reach),
                    dimension == 3 ? random.number(-reach, reach) : 0,
                    static_cast<double>(random.number(-1000, 1000)) / 700. / static_cast<double>(count)});
  return taps;
}

/** Even, asymmetric, one-sided, far above, sparse, a single one, all zero, equal ones. */
inline std::vector<Taps> makeTapLists(oracle::Random& random, int dimension) {
  long const z = dimension == 3 ? 1 : 0;
  std::vector<Taps> lists{{{0, 0, 0, 1.}},
                          {{2, 0, 0, 1.}},
                          {{0, -2, 0, 0.75}},
                          {{0, 0, -2 * z, -1.25}},
                          {{-1, 0, 0, .1}, {0, 0, 0, .2}, {1, 0, 0, .3}, {2, 0, 0, .4}},
                          {{0, -1, -z, .7}, {1, -1, -z, -.3}, {0, 0, 0, .11}, {1, 0, 2 * z, 1. / 3}},
                          {{-3, -4, -3 * z, .6}, {4, -2, -2 * z, .5}},
                          {{1, 3, 2 * z, .6}, {2, 2, z, -.5}, {2, 2, z, -.5}},
                          {{-9, 0, 0, .3}, {9, 7, 5 * z, .3}, {0, -8, -4 * z, .3}},
                          {{0, 0, 0, 0.}, {1, 1, z, -0.}}};
  for (long size : {3L, 5L}) lists.push_back(makeTaps(random, dimension, size * size, size / 2));
  lists.push_back(makeTaps(random, dimension, 30, 4));
  return lists;
}

}  // namespace filtering_test
