#pragma once

#include <memory>
#include <stdexcept>

#include "support/Runs.h"

namespace morphology_test {

/** Runs that fail, with what has to hold afterwards. */
class FailureTest : public PluginTest {
 protected:
  FailureTest() { recorder.isTracing = false; }

  void makeImages(Five const& sizes) {
    oracle::Random random(201);
    image = std::make_unique<oracle::Image<short>>(random.image<short>(sizes));
    input = oracle::toHost(*image);
    output = oracle::toHost(oracle::Image<short>(sizes));
  }

  void expectNothingIsLeft() {
    EXPECT_EQ(recorder.nbViews(), 0);
    EXPECT_EQ(recorder.nbBorders(), 0);
    EXPECT_EQ(recorder.nbFrames(), 0);
    EXPECT_EQ(recorder.nbTemporaries(), 0);
  }

  void expectNextRunIsRight(Way const& way) {
    auto const next = oracle::toHost(*image);
    makeAlgorithm(way, next.get(), output.get())->execute();
    EXPECT_TRUE(areEqual(toOracle<short>(*output, image->sizes), getExpected(way, *image)));
  }

  pxl::instrument::Recorder recorder;
  std::unique_ptr<oracle::Image<short>> image;
  std::shared_ptr<pxl::Image> input, output;
};

template <class E>
E catchFrom(pxl::BaseAlgorithm& algorithm) {
  try {
    algorithm.execute();
  } catch (E const& error) {
    return error;
  }
  throw std::runtime_error("nothing was thrown");
}

}  // namespace morphology_test
