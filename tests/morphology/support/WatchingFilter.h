#pragma once

#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <vector>

#include "support/Kernels2d.h"

namespace morphology_test {

/** Notes its blocks and does nothing to the images, unless a test wants it to. */
struct WatchingKernel {
  template <class In, class Out, class Direction>
  void run(Block2d const& block, pxl::RecursiveImageContext<In, Out, Arch, Direction>& context) const {
    std::lock_guard<std::mutex> const lock(mutex);
    blocks.push_back(block);
    areOutputToOutput.push_back(std::is_same_v<Direction, pxl::OutputToOutput>);
    contexts.push_back(&context);
    if (onRun) onRun();
  }

  mutable std::mutex mutex;
  mutable std::vector<Block2d> blocks;
  mutable std::vector<bool> areOutputToOutput;
  mutable std::vector<void const*> contexts;
  std::function<void()> onRun;
};

template <class T, class Kernel>
using Filter = pxl::RecursiveImageFilter2d<T, T, Arch, Kernel>;
using WatchingFilter = Filter<short, WatchingKernel>;
using FilterBase = pxl::RecursiveImageFilter<short, short, Arch, WatchingKernel, pxl::Filter2dTag>;

inline std::shared_ptr<pxl::Image> makeImage(Five const& sizes) {
  return oracle::toHost(oracle::Image<short>(sizes));
}

/** A dilation with a kernel that watches, each plan a single block. */
class RecursiveFilterTest : public testing::Test {
 protected:
  RecursiveFilterTest() { recorder.grains = {100, 100, 100}; }

  void setImages(Five const& inputSizes, Five const& outputSizes) {
    hostInput = makeImage(inputSizes);
    hostOutput = makeImage(outputSizes);
    algorithm->inputImage = hostInput.get();
    algorithm->outputImage = hostOutput.get();
  }

  template <class AnyFilter>
  void prepare(AnyFilter& filter, unsigned long nbIterations) {
    using T = typename AnyFilter::InputType;
    filter.setInput(hostInput.get(), pxl::access::FixedBorderCondition<T>::New(std::numeric_limits<T>::lowest()));
    filter.setOutput(hostOutput.get(), pxl::access::FixedBorderCondition<T>::New(std::numeric_limits<T>::lowest()));
    filter.setNbIterations(nbIterations);
  }

  pxl::instrument::Recorder recorder;
  std::shared_ptr<pxl::Image> hostInput, hostOutput;
  std::unique_ptr<pxl::morphology::IteratedMorphology> algorithm = makeAlgorithm(Operation::cDilation);
  WatchingKernel kernel;
};

}  // namespace morphology_test
