// The calls of lines, disks and balls to the host.
#include "pxl/Runnable.h"
#include "support/StageRecorder.h"

namespace morphology_test {
namespace {

class ShapesCalls : public ShapesTest {
 protected:
  // The iterations of each stage, from what it declares on an image of a single voxel.
  void expectStages(Shape shape, unsigned int radius, std::vector<long> iterations) {
    for (Operation operation : cOperations) {
      ShapeWay const way{shape, operation, radius, cFast};
      runAndTrace(way);
      EXPECT_EQ(recorder.getNumbers("setMaxProgress"), iterations) << way;
      EXPECT_EQ(recorder.getNumbers("setNumberOfSteps"), std::vector<long>{static_cast<long>(iterations.size())})
          << way;
      EXPECT_EQ(recorder.count("runChildAlgo"), iterations.size()) << way;
      EXPECT_EQ(recorder.nbFramesMade, 1 + static_cast<long>(iterations.size())) << way;
    }
  }
};

TEST_F(ShapesCalls, ExactShapesAreOnePassOfTheAlgorithmItself) {
  makeImages({9, 5, 4, 1, 1});
  for (Operation operation : cOperations)
    for (Shape shape : cShapes)
      for (bool isInPlace : {false, true}) {
        ShapeWay const way{shape, operation, 2, cExact, 30, 40, isInPlace};
        runAndTrace(way);
        EXPECT_EQ(recorder.nbFramesMade, 1) << way;
        EXPECT_EQ(recorder.count("runChildAlgo") + recorder.count("setNumberOfSteps"), 0u) << way;
        EXPECT_EQ(recorder.getNumbers("setMaxProgress"), std::vector<long>{9 * 5 * 4}) << way;
        EXPECT_EQ(recorder.count("BorderCondition::New"), 2u) << way;
        ASSERT_EQ(recorder.views.size(), 2u) << way;
        EXPECT_EQ(recorder.views[0].image, input.get()) << way;
        EXPECT_EQ(recorder.views[1].image, isInPlace ? input.get() : output.get()) << way;
        EXPECT_NE(recorder.views[0].border, recorder.views[1].border) << way;
        EXPECT_EQ(recorder.count("TemporaryImage::New"), 0u) << way;
        expectNothingIsLeft();
      }
}

TEST_F(ShapesCalls, OfARunReadEachPropertyOnceAndInOrder) {
  makeImages({9, 5, 4, 1, 1});
  std::map<Shape, std::vector<std::string>> const expected{
      {Shape::cLine2d, {"lineSize", "lineAngle"}},
      {Shape::cLine3d, {"lineSize", "firstAngle", "secondAngle"}},
      {Shape::cDisk3d, {"radius", "firstAngle", "secondAngle"}},
      {Shape::cDisk2d, {"shapeMode", "radius"}},
      {Shape::cBall3d, {"shapeMode", "radius"}}};
  for (Operation operation : cOperations)
    for (Shape shape : cShapes)
      for (int mode : {cFast, cExact}) {
        auto const algorithm = makeAlgorithm(ShapeWay{shape, operation, 2, mode}, input.get(), output.get());
        recorder.reset();
        algorithm->getAlgoInfo()->getRunners().at(0)->run(algorithm.get());
        std::vector<std::string> names;
        for (auto const& event : recorder.getTrace("propertyRead"))
          if (event.text != "inputImage" && event.text != "outputImage") names.push_back(event.text);
        EXPECT_EQ(names, expected.at(shape)) << getName({shape, operation});
      }
}

TEST_F(ShapesCalls, FastDisksHaveSquaresAndThenCrosses) {
  makeImages({1, 1, 1, 1, 1});
  expectStages(Shape::cDisk2d, 0, {0});
  expectStages(Shape::cDisk2d, 1, {1});
  for (unsigned int radius : {2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 20U, 99U, 100U, 1001U})
    expectStages(Shape::cDisk2d, radius, {radius / 2, radius - radius / 2});
}

TEST_F(ShapesCalls, FastBallsHaveSixThreeAndOneTenths) {
  makeImages({1, 1, 1, 1, 1});
  struct {
    unsigned int radius;
    std::vector<long> iterations;
  } const cases[] = {{0, {0}},        {1, {1}},        {2, {1, 1}},      {3, {1, 2}},       {4, {2, 1, 1}},
                     {5, {3, 1, 1}},  {6, {3, 1, 2}},  {7, {4, 2, 1}},   {8, {4, 2, 2}},    {9, {5, 2, 2}},
                     {10, {6, 3, 1}}, {15, {9, 4, 2}}, {20, {12, 6, 2}}, {50, {30, 15, 5}}, {100, {60, 30, 10}}};
  for (auto const& [radius, iterations] : cases) expectStages(Shape::cBall3d, radius, iterations);
  for (unsigned int radius = 11; radius < 3000; radius += radius < 120 ? 1 : 487) {
    auto const counts = oracle::countBallSteps(radius);
    expectStages(Shape::cBall3d, radius, {counts.begin(), counts.end()});
  }
}

TEST_F(ShapesCalls, TheFirstStageReadsTheInputAndAllWriteTheOutput) {
  makeImages({9, 5, 4, 1, 1});
  // Disks of radius 1 and balls of radius 1 have one stage, of 2 two; balls of 4 have three.
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d})
    for (unsigned int radius : {0U, 1U, 2U, 3U, 4U, 7U}) {
      ShapeWay way{shape, Operation::cDilation, radius, cFast};
      way.extraMemory = 0;
      runAndTrace(way);
      unsigned long const nbStages = recorder.count("runChildAlgo");
      ASSERT_EQ(recorder.views.size(), 2 * nbStages) << way;
      for (unsigned long i = 0; i < nbStages; ++i) {
        EXPECT_EQ(recorder.views[2 * i].image, i == 0 ? input.get() : output.get()) << way;
        EXPECT_EQ(recorder.views[2 * i + 1].image, output.get()) << way;
        EXPECT_NE(recorder.views[2 * i].border, recorder.views[2 * i + 1].border) << way;
      }
      EXPECT_EQ(recorder.count("BorderCondition::New"), 2 * nbStages) << way;
      expectNothingIsLeft();
    }
}

TEST_F(ShapesCalls, StepsAreDeclaredBeforeTheFirstStage) {
  makeImages({9, 5, 4, 1, 1});
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d}) {
    runAndTrace({shape, Operation::cErosion, 6, cFast});
    std::vector<std::string> order;
    for (auto const& event : recorder.getTrace())
      if (event.name == "setNumberOfSteps" || event.name == "runChildAlgo" || event.name == "View::New")
        if (order.empty() || order.back() != event.name) order.push_back(event.name);
    EXPECT_EQ(order[0], "setNumberOfSteps");
    EXPECT_EQ(order[1], "View::New");
    EXPECT_EQ(order[2], "runChildAlgo");
  }
}

TEST_F(ShapesCalls, StagesAskTheAlgorithmForMemory) {
  makeImages({9, 5, 4, 1, 1});
  // Two squares and two crosses; of the ball only the first stage has more than one iteration.
  for (auto const& [shape, nbAsked] : {std::pair{Shape::cDisk2d, 2UL}, {Shape::cBall3d, 1UL}})
    for (unsigned long extraMemory : {0UL, 1UL << 20}) {
      ShapeWay way{shape, Operation::cDilation, 4, cFast};
      way.extraMemory = extraMemory;
      runAndTrace(way);
      EXPECT_EQ(recorder.getNumbers("getMaximumExtraMemoryUsageInBytes"),
                std::vector<long>(nbAsked, static_cast<long>(extraMemory)));
      EXPECT_EQ(recorder.getNumbers("TemporaryImage::New"), std::vector<long>(extraMemory == 0 ? 0 : nbAsked, 1));
      EXPECT_TRUE(areEqual(getOutput(), getExpected(way, *image))) << way;
    }
}

TEST_F(ShapesCalls, StagesOnDiskAskTheAlgorithmForThat) {
  makeImages({9, 5, 4, 1, 1});
  recorder.isOnDisk = true;
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d}) {
    ShapeWay const way{shape, Operation::cDilation, 4, cFast};
    runAndTrace(way);
    unsigned long const nbStages = recorder.count("runChildAlgo");
    EXPECT_EQ(recorder.getNumbers("TemporaryImage::New"), std::vector<long>(nbStages, 2)) << "one for each stage";
    EXPECT_EQ(recorder.count("getMaximumExtraMemoryUsageInBytes"), 0u);
    EXPECT_TRUE(areEqual(getOutput(), getExpected(way, *image))) << way;
  }
}

TEST_F(ShapesCalls, ProgressNeverGoesBackOverAllStages) {
  makeImages({40, 12, 6, 1, 1});
  recorder.isTracing = false;
  recorder.grains = {40, 4, 2};
  for (Shape shape : cShapes)
    for (int mode : {cFast, cExact}) {
      ShapeWay const way{shape, Operation::cDilation, 7, mode, 10, 20};
      auto const algorithm = makeAlgorithm(way, input.get(), output.get());
      std::vector<double> seen{0};
      recorder.onRead = [&](auto const&) { seen.push_back(algorithm->getProgress()); };
      withThreads(1, [&] { algorithm->execute(); });
      recorder.onRead = nullptr;
      seen.push_back(algorithm->getProgress());
      EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end())) << way;
      EXPECT_EQ(seen.back(), 1) << way;
      // A stage begins where the one before has ended.
      if (mode == cExact || !isRound(shape)) continue;
      double const nbSteps = shape == Shape::cDisk2d ? 2 : 3;
      for (double step = 1; step < nbSteps; ++step)
        EXPECT_TRUE(std::find(seen.begin(), seen.end(), step / nbSteps) != seen.end()) << way << ", step " << step;
    }
}

}  // namespace
}  // namespace morphology_test
