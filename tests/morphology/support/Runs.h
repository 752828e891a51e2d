#pragma once

#include <algorithm>
#include <memory>

#include "instrument/Recorder.h"
#include "instrument/ShippedPaths.h"
#include "instrument/Threads.h"
#include "oracle/HostImages.h"
#include "oracle/VoxelTypeTests.h"
#include "pxl/Plugins.h"
#include "pxl/morphology/Morphology.h"
#include "support/MorphologyOracle.h"

namespace morphology_test {

using oracle::Five;
using oracle::Operation;
using pxl::instrument::withThreads;

/** How a run is done; the voxels may not depend on it. */
struct Way {
  Operation operation = Operation::cDilation;
  int neighborhood = 1;
  unsigned int nbIterations = 1;
  bool isInPlace = false;
  unsigned long extraMemory = 1UL << 30;
  int dimension = 2;
};

/** The shipped plug-in in the instrumented host. */
class PluginTest : public testing::Test {
 protected:
  PluginTest() { pxl::plugins::load(shipped::getPlugin()); }
};

inline std::unique_ptr<pxl::morphology::IteratedMorphology> makeAlgorithm(Operation operation, int dimension = 2) {
  using namespace pxl::morphology;
  if (dimension == 2) {
    if (operation == Operation::cDilation) return std::make_unique<Dilation2d>();
    return std::make_unique<Erosion2d>();
  }
  if (operation == Operation::cDilation) return std::make_unique<Dilation3d>();
  return std::make_unique<Erosion3d>();
}

inline std::unique_ptr<pxl::morphology::IteratedMorphology> makeAlgorithm(Way const& way,
                                                                          pxl::ImageModel const* input,
                                                                          pxl::ImageModel* output) {
  auto algorithm = makeAlgorithm(way.operation, way.dimension);
  algorithm->inputImage = input;
  algorithm->outputImage = output;
  algorithm->neighborhood = way.neighborhood;
  algorithm->numberOfIterations = way.nbIterations;
  algorithm->setMaximumExtraMemoryUsageInBytes(way.extraMemory);
  return algorithm;
}

template <class T>
oracle::Image<T> toOracle(pxl::Image const& image, Five const& sizes) {
  oracle::Image<T> result(sizes);
  auto const* const voxels = static_cast<T const*>(image.getVoxels());
  std::copy(voxels, voxels + result.voxels.size(), result.voxels.begin());
  return result;
}

/** The output of a run through the loaded plug-in. An output apart from the input starts as zeros. */
template <class T, class AnyWay>
oracle::Image<T> run(AnyWay const& way, oracle::Image<T> const& image) {
  auto const input = oracle::toHost(image);
  auto const output = way.isInPlace ? input : oracle::toHost(oracle::Image<T>(image.sizes));
  makeAlgorithm(way, input.get(), output.get())->execute();
  if (!way.isInPlace) {
    EXPECT_EQ(std::memcmp(input->getVoxels(), image.voxels.data(), image.voxels.size() * sizeof(T)), 0)
        << "the input was changed";
  }
  return toOracle<T>(*output, image.sizes);
}

/** What a run gives by plain loops. */
template <class T>
oracle::Image<T> getExpected(Way const& way, oracle::Image<T> const& image) {
  return way.dimension == 2 ? oracle::applyTimes(image, way.operation, way.neighborhood, way.nbIterations)
                            : oracle::applyVolumeTimes(image, way.operation, way.neighborhood, way.nbIterations);
}

/** Whether two images have the same bits, NaN and signed zeros included. */
template <class T>
testing::AssertionResult areEqual(oracle::Image<T> const& result, oracle::Image<T> const& expected) {
  for (unsigned long i = 0; i < expected.voxels.size(); ++i)
    if (std::memcmp(&result.voxels[i], &expected.voxels[i], sizeof(T)) != 0)
      return testing::AssertionFailure()
             << "voxel " << i << " is " << +result.voxels[i] << " and should be " << +expected.voxels[i];
  return testing::AssertionSuccess();
}

}  // namespace morphology_test
