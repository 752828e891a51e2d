#pragma once

#include <map>

#include "support/Shapes.h"

namespace morphology_test {

/** A recorder that also records the frames of a run and the borders of its views. */
class StageRecorder : public pxl::instrument::Recorder {
 public:
  /** A view, with the image and the border that it was made with. */
  struct View {
    pxl::ImageModel const* image;
    void const* border;
  };

  StageRecorder() { grains = {100, 100, 100}; }

  void onFrameNew(void const* frame) override {
    ++nbFramesMade;
    Recorder::onFrameNew(frame);
  }
  void onViewNew(pxl::ImageModel const* image, void const* border, pxl::VoxelTypes type) override {
    views.push_back({image, border});
    Recorder::onViewNew(image, border, type);
  }
  void onRunChild(void const* parent, void const* child) override {
    Recorder::onRunChild(parent, child);
    if (onStage) onStage(count("runChildAlgo"));
  }

  void reset() {
    clear();
    nbFramesMade = 0;
    views.clear();
  }

  /** The values of all events with a name, one number each. */
  std::vector<long> getNumbers(char const* name) const {
    std::vector<long> numbers;
    for (auto const& event : getTrace(name)) numbers.push_back(event.values[0]);
    return numbers;
  }

  long nbFramesMade = 0;
  std::vector<View> views;
  /** Called when a stage is about to begin, with its number from 1. */
  std::function<void(unsigned long)> onStage;
};

/** Runs of the shapes with what they ask of the host, on one thread. */
class ShapesTest : public PluginTest {
 protected:
  void makeImages(Five const& sizes) {
    oracle::Random random(431);
    image = std::make_unique<oracle::Image<short>>(random.image<short>(sizes));
    input = oracle::toHost(*image);
    output = oracle::toHost(oracle::Image<short>(sizes));
  }

  void runAndTrace(ShapeWay const& way) {
    auto const algorithm = makeAlgorithm(way, input.get(), way.isInPlace ? input.get() : output.get());
    recorder.reset();
    withThreads(1, [&] { algorithm->execute(); });
    EXPECT_EQ(algorithm->getProgress(), 1) << way;
  }

  void expectNothingIsLeft() const {
    EXPECT_EQ(recorder.nbViews(), 0);
    EXPECT_EQ(recorder.nbBorders(), 0);
    EXPECT_EQ(recorder.nbFrames(), 0);
    EXPECT_EQ(recorder.nbTemporaries(), 0);
  }

  oracle::Image<short> getOutput() const { return toOracle<short>(*output, image->sizes); }

  StageRecorder recorder;
  std::unique_ptr<oracle::Image<short>> image;
  std::shared_ptr<pxl::Image> input, output;
};

}  // namespace morphology_test
