#pragma once

#include "instrument/Recorder.h"
#include "instrument/ShippedPaths.h"
#include "instrument/Threads.h"
#include "oracle/HostImages.h"
#include "oracle/VoxelTypeTests.h"
#include "pxl/Exception.h"
#include "pxl/Plugins.h"
#include "pxl/point_operations/LogicalOperation.h"
#include "support/LogicalOracle.h"

namespace point_test {

using oracle::Five;
using pxl::instrument::withThreads;
using pxl::point_operations::LogicalOperationWithImage;
using pxl::point_operations::LogicalOperationWithValue;

/** The shipped plug-in in the instrumented host. */
class PluginTest : public testing::Test {
 protected:
  PluginTest() { pxl::plugins::load(shipped::getPlugin()); }
};

inline void runWithImage(int operation, pxl::ImageModel const* a, pxl::ImageModel const* b, pxl::ImageModel* output) {
  LogicalOperationWithImage algorithm;
  algorithm.inputImage1 = a;
  algorithm.inputImage2 = b;
  algorithm.logicalOperator = operation;
  algorithm.outputImage = output;
  algorithm.execute();
}

inline void runWithValue(int operation, pxl::ImageModel const* a, unsigned int value, pxl::ImageModel* output) {
  LogicalOperationWithValue algorithm;
  algorithm.inputImage = a;
  algorithm.value = value;
  algorithm.logicalOperator = operation;
  algorithm.outputImage = output;
  algorithm.execute();
}

template <class T>
testing::AssertionResult areEqual(pxl::Image const& result, oracle::Image<T> const& expected) {
  T const* const voxels = static_cast<T const*>(result.getVoxels());
  for (unsigned long i = 0; i < expected.voxels.size(); ++i)
    if (voxels[i] != expected.voxels[i])
      return testing::AssertionFailure()
             << "voxel " << i << " is " << +voxels[i] << " and should be " << +expected.voxels[i];
  return testing::AssertionSuccess();
}

}  // namespace point_test
