// What the dispatcher of the weighted sums makes and ends, in which order, also when a run fails.
#include <stdexcept>
#include <string>
#include <vector>

#include "filtering/linear/FIRFilterDispatcher.h"
#include "support/Runs.h"

namespace filtering_test {
namespace {

/** The beginnings and ends of everything that a run makes on the host's side. */
class LifetimeRecorder : public pxl::instrument::Recorder {
 public:
  void onPropertyRead(pxl::PropertyBase const& property) override {
    if (std::string(property.getName()) == "kernel") steps.emplace_back("kernel");
    Recorder::onPropertyRead(property);
  }
  void onFrameNew(void const* frame) override {
    steps.emplace_back("filter");
    Recorder::onFrameNew(frame);
  }
  void onFrameDelete(void const* frame) override {
    steps.emplace_back("~filter");
    Recorder::onFrameDelete(frame);
  }
  void onAdapterNew(pxl::ImageModel const* image, pxl::VoxelTypes type) override {
    steps.emplace_back(image == input ? "adapter of input" : "adapter of output");
    Recorder::onAdapterNew(image, type);
  }
  void onAdapterGetImageModel(pxl::ImageModelAdapter const* adapter) override {
    if (!firstAdapter) firstAdapter = adapter;
    Recorder::onAdapterGetImageModel(adapter);
  }
  void onAdapterDelete(pxl::ImageModelAdapter const* adapter) override {
    steps.emplace_back(adapter == firstAdapter ? "~adapter of input" : "~adapter of output");
    Recorder::onAdapterDelete(adapter);
  }
  void onViewNew(pxl::ImageModel const* image, void const* border, pxl::VoxelTypes type) override {
    steps.emplace_back("view");
    Recorder::onViewNew(image, border, type);
  }
  void onViewDelete(void const* view) override {
    steps.emplace_back("~view");
    Recorder::onViewDelete(view);
  }
  void onWriteAllTemporized(void const* viewInterface) override {
    steps.emplace_back("stored");
    Recorder::onWriteAllTemporized(viewInterface);
  }

  std::vector<std::string> steps;
  pxl::ImageModel const* input = nullptr;

 private:
  pxl::ImageModelAdapter const* firstAdapter = nullptr;
};

using Steps = std::vector<std::string>;

class FirLifetimes : public testing::Test {
 protected:
  // A run of the dispatcher alone, apart or in place.
  template <class Tag>
  Steps run(bool isInPlace, LifetimeRecorder& recorder) {
    constexpr int cDimension = std::is_same_v<Tag, pxl::Filter2dTag> ? 2 : 3;
    using Algo = std::conditional_t<cDimension == 2, FiniteImpulseResponseFilter2D, FiniteImpulseResponseFilter3D>;
    auto const algorithm = makeAlgorithm(cDimension, {{0, 0, 0, 1.}, {1, 0, 0, 2.}}, input.get(),
                                         isInPlace ? input.get() : output.get());
    recorder.input = input.get();
    recorder.steps.clear();
    using Dispatcher = pxl::filtering::linear::FIRFilterDispatcher<Tag, pxl::SimdVec::arch_128_tag>;
    Dispatcher::template run<float>(static_cast<Algo*>(algorithm.get()));
    return recorder.steps;
  }

  std::shared_ptr<pxl::Image> input = pxl::Image::New(pxl::cInteger16, {9, 5, 2, 1, 1});
  std::shared_ptr<pxl::Image> output = pxl::Image::New(pxl::cInteger16, {9, 5, 2, 1, 1});
  Steps const begin{"kernel", "filter", "adapter of input", "view", "adapter of output", "view"};
  Steps const beginInPlace{"kernel", "filter", "adapter of input", "view", "view"};
  Steps const end{"~adapter of output", "~adapter of input", "~view", "~view", "~filter"};
  Steps const endInPlace{"~adapter of input", "~view", "~view", "~filter"};
};

Steps join(Steps steps, Steps const& more) {
  steps.insert(steps.end(), more.begin(), more.end());
  return steps;
}

TEST_F(FirLifetimes, OfTheKernelAndTheFilterBeginBeforeThoseOfAdapters) {
  {
    LifetimeRecorder recorder;
    EXPECT_EQ(run<pxl::Filter2dTag>(false, recorder), join(join(begin, {"stored"}), end));
  }
  LifetimeRecorder recorder;
  EXPECT_EQ(run<pxl::Filter3dTag>(false, recorder), join(join(begin, {"stored"}), end));
}

TEST_F(FirLifetimes, InPlaceAreThoseOfOneAdapter) {
  LifetimeRecorder recorder;
  EXPECT_EQ(run<pxl::Filter3dTag>(true, recorder), join(join(beginInPlace, {"stored"}), endInPlace));
}

TEST_F(FirLifetimes, EndInTheSameOrderWhenARunFails) {
  for (bool isInPlace : {false, true}) {
    {
      LifetimeRecorder recorder;
      recorder.onRead = [](auto const&) { throw std::range_error("a read"); };
      EXPECT_THROW(run<pxl::Filter2dTag>(isInPlace, recorder), std::range_error);
      EXPECT_EQ(recorder.steps, join(isInPlace ? beginInPlace : begin, isInPlace ? endInPlace : end));
    }
    LifetimeRecorder recorder;
    recorder.onWrite = [](auto const&) { return false; };
    EXPECT_THROW(run<pxl::Filter3dTag>(false, recorder), pxl::UnexpectedError);
    EXPECT_EQ(recorder.steps, join(begin, end));
  }
}

}  // namespace
}  // namespace filtering_test
