#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "pxl/Image.h"
#include "support/Algorithms.h"

namespace host_test {

/** An algorithm on a small image whose run is a function of the test. */
class RunningTest : public ::testing::Test {
 protected:
  RunningTest() {
    algorithm.inputImage = image.get();
    algorithm.outputImage = image.get();
  }
  void execute(std::function<void(pxl::BaseAlgorithm*)> work) {
    FakeRunner const runner(algorithm.getAlgoInfo(), std::move(work));
    algorithm.execute();
  }

  std::shared_ptr<pxl::Image> image = pxl::Image::New(pxl::cUnsignedInteger8, {4, 4, 1, 1, 1});
  VolumeOperator algorithm;
};

}  // namespace host_test
