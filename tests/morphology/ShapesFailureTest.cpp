// Runs of lines, disks and balls that end early, and those that never begin.
#include "pxl/Exception.h"
#include "pxl/Runnable.h"
#include "support/StageRecorder.h"

namespace morphology_test {
namespace {

constexpr unsigned int cTooLarge = 4000000000U;

class ShapesFailure : public ShapesTest {
 protected:
  void expectNoViewWasMade() const {
    EXPECT_TRUE(recorder.views.empty());
    EXPECT_EQ(recorder.nbFramesMade, 0);
    expectNothingIsLeft();
  }

  // The text with which a run is refused before it begins.
  std::string explainRefusal(ShapeWay const& way) {
    auto const algorithm = makeAlgorithm(way, input.get(), output.get());
    recorder.reset();
    try {
      algorithm->execute();
      ADD_FAILURE() << way << " isn't refused";
    } catch (pxl::InvalidCall const& refusal) {
      expectNoViewWasMade();
      return refusal.what();
    }
    return {};
  }

  // The image after some stages of a fast shape.
  oracle::Image<short> applyStages(ShapeWay const& way, unsigned long nbStages) const {
    long const radius = way.size;
    if (way.shape == Shape::cDisk2d)
      return nbStages == 0 ? *image
                           : oracle::applyTimes(*image, way.operation, 1, static_cast<unsigned int>(radius / 2));
    auto result = *image;
    for (unsigned long i = 0; i < nbStages; ++i)
      result = oracle::applyVolumeTimes(result, way.operation, static_cast<int>(i),
                                        static_cast<unsigned int>(oracle::countBallSteps(radius)[i]));
    return result;
  }
};

TEST_F(ShapesFailure, ByACancelBetweenTwoStagesKeepsWhatIsFinished) {
  makeImages({11, 6, 5, 1, 1});
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d})
    for (unsigned long cancelled : {1UL, 2UL, 3UL}) {
      if (shape == Shape::cDisk2d && cancelled == 3) continue;
      ShapeWay const way{shape, Operation::cDilation, 7, cFast};
      auto const before = oracle::Image<short>(image->sizes);
      output = oracle::toHost(before);
      auto const algorithm = makeAlgorithm(way, input.get(), output.get());
      recorder.reset();
      recorder.onStage = [&](unsigned long stage) {
        if (stage == cancelled) algorithm->cancelExecution();
      };
      EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation) << way;
      recorder.onStage = nullptr;
      EXPECT_EQ(recorder.count("runChildAlgo"), cancelled) << "no later stage begins";
      EXPECT_TRUE(areEqual(getOutput(), cancelled == 1 ? before : applyStages(way, cancelled - 1))) << way;
      expectNothingIsLeft();
    }
}

TEST_F(ShapesFailure, ByACancelWithinAStageBeginsNoOther) {
  makeImages({11, 6, 5, 1, 1});
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d})
    for (bool isInPlace : {false, true})
      for (unsigned long cancelled : {1UL, 2UL}) {
        ShapeWay way{shape, Operation::cErosion, 7, cFast};
        input = oracle::toHost(*image);
        auto const algorithm = makeAlgorithm(way, input.get(), isInPlace ? input.get() : output.get());
        recorder.reset();
        recorder.onRead = [&](auto const&) {
          if (recorder.count("runChildAlgo") == cancelled) algorithm->cancelExecution();
        };
        EXPECT_THROW(withThreads(1, [&] { algorithm->execute(); }), pxl::ExceptionCancelation) << way;
        recorder.onRead = nullptr;
        EXPECT_EQ(recorder.count("runChildAlgo"), cancelled) << way;
        expectNothingIsLeft();
      }
  input = oracle::toHost(*image);
  ShapeWay const next{Shape::cBall3d, Operation::cErosion, 7, cFast};
  EXPECT_TRUE(areEqual(run(next, *image), getExpected(next, *image)));
}

TEST_F(ShapesFailure, ByACancelOfAnExactShapeComesThrough) {
  makeImages({11, 6, 5, 1, 1});
  for (Operation operation : cOperations)
    for (Shape shape : cShapes) {
      auto const algorithm = makeAlgorithm(ShapeWay{shape, operation, 2}, input.get(), output.get());
      recorder.onRead = [&](auto const&) { algorithm->cancelExecution(); };
      EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation);
      recorder.onRead = nullptr;
      expectNothingIsLeft();
    }
}

TEST_F(ShapesFailure, OfAWriteInALaterStageIsAnError) {
  makeImages({11, 6, 5, 1, 1});
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d}) {
    ShapeWay const way{shape, Operation::cDilation, 4, cFast};
    auto const algorithm = makeAlgorithm(way, input.get(), output.get());
    recorder.reset();
    recorder.onWrite = [&](auto const&) { return recorder.count("runChildAlgo") < 2; };
    EXPECT_THROW(algorithm->execute(), pxl::UnexpectedError);
    recorder.onWrite = nullptr;
    EXPECT_EQ(recorder.count("runChildAlgo"), 2u);
    expectNothingIsLeft();
  }
}

TEST_F(ShapesFailure, ARunnerLeavesAnElementTooLargeBeforeAnyView) {
  makeImages({11, 6, 5, 1, 1});
  for (Operation operation : cOperations)
    for (Shape shape : cShapes) {
      ShapeWay const way{shape, operation, cTooLarge, cExact, 12, 34};
      auto const algorithm = makeAlgorithm(way, input.get(), output.get());
      auto const* const runner = algorithm->getAlgoInfo()->getRunners().at(0);
      recorder.reset();
      EXPECT_THROW(runner->run(algorithm.get()), pxl::InvalidCall) << way;
      expectNoViewWasMade();
    }
}

TEST_F(ShapesFailure, ElementsTooLargeAreRefused) {
  makeImages({11, 6, 5, 1, 1});
  for (Operation operation : cOperations)
    for (Shape shape : cShapes)
      for (unsigned int size : {1000001U, cTooLarge})
        EXPECT_NE(explainRefusal({shape, operation, size}).find("at most 1000000 voxels, this one would need "),
                  std::string::npos);
  EXPECT_NE(explainRefusal({Shape::cBall3d, Operation::cDilation, 63}).find("would need 1"), std::string::npos);
}

TEST_F(ShapesFailure, AFastRadiusHasALimit) {
  makeImages({11, 6, 5, 1, 1});
  for (Operation operation : cOperations)
    for (Shape shape : {Shape::cDisk2d, Shape::cBall3d})
      for (unsigned int radius : {2147483648U, cTooLarge}) {
        ShapeWay const way{shape, operation, radius, cFast};
        EXPECT_EQ(explainRefusal(way), getName(way) + ": a radius is at most 2147483647");
      }
}

TEST_F(ShapesFailure, AnglesThatAreNotFiniteAreRefused) {
  makeImages({11, 6, 5, 1, 1});
  using Limits = std::numeric_limits<double>;
  for (double angle : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()})
    for (Operation operation : cOperations)
      for (unsigned int size : {1U, cTooLarge}) {
        EXPECT_EQ(explainRefusal({Shape::cLine2d, operation, size, cExact, angle}),
                  getName({Shape::cLine2d, operation}) + ": lineAngle isn't finite");
        for (Shape shape : {Shape::cLine3d, Shape::cDisk3d}) {
          EXPECT_EQ(explainRefusal({shape, operation, size, cExact, angle, 0}),
                    getName({shape, operation}) + ": firstAngle isn't finite");
          EXPECT_EQ(explainRefusal({shape, operation, size, cExact, 0, angle}),
                    getName({shape, operation}) + ": secondAngle isn't finite");
        }
      }
}

TEST_F(ShapesFailure, OnlyAFastRadiusOfZeroLeavesTheOutputAsItIs) {
  makeImages({11, 6, 5, 1, 1});
  auto const before = *image;
  input = oracle::toHost(oracle::Image<short>(image->sizes));
  for (Operation operation : cOperations)
    for (Shape shape : cShapes)
      for (int mode : {cFast, cExact}) {
        output = oracle::toHost(before);
        ShapeWay const way{shape, operation, 0, mode};
        bool const isLeft = isRound(shape) && mode == cFast;
        auto const algorithm = makeAlgorithm(way, input.get(), output.get());
        EXPECT_EQ(std::string(algorithm->getWarning().c_str()),
                  isLeft ? "the fast shape with radius 0 leaves the output image unchanged" : "");
        runAndTrace(way);
        EXPECT_TRUE(areEqual(getOutput(), isLeft ? before : oracle::Image<short>(image->sizes))) << way;
        setProperty(*algorithm, isLine(shape) ? "lineSize" : "radius", 1U);
        EXPECT_TRUE(algorithm->getWarning().empty());
      }
}

// As the filter has it: from zero to the sizes of the region.
TEST_F(ShapesFailure, ARegionIsAllThatAnExactShapeWrites) {
  makeImages({11, 6, 5, 1, 1});
  auto const before = getOutput();
  for (Shape shape : cShapes) {
    output = oracle::toHost(before);
    ShapeWay const way{shape, Operation::cDilation, 2, cExact, 20, 30};
    auto const algorithm = makeAlgorithm(way, input.get(), output.get());
    algorithm->setProcessingRegion(pxl::access::Region(0, 4, 0, 7, 0, 3, 0, 1, 0, 1));
    algorithm->execute();
    auto const expected = getExpected(way, *image);
    auto const result = getOutput();
    oracle::forEachPosition(image->sizes, [&](Five const& p) {
      bool const isDone = p[0] < 7 && p[1] < 4 && p[2] < 3;
      ASSERT_EQ(result.at(p), (isDone ? expected : before).at(p)) << way;
    });
  }
}

// Which is why execute() refuses it.
TEST_F(ShapesFailure, ARegionDoesNotReachTheStagesOfAFastShape) {
  makeImages({11, 6, 5, 1, 1});
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d}) {
    ShapeWay const way{shape, Operation::cDilation, 3, cFast};
    auto const algorithm = makeAlgorithm(way, input.get(), output.get());
    algorithm->setProcessingRegion(pxl::access::Region(0, 4, 0, 7, 0, 3, 0, 1, 0, 1));
    algorithm->getAlgoInfo()->getRunners().front()->run(algorithm.get());
    EXPECT_TRUE(areEqual(getOutput(), getExpected(way, *image))) << way;
  }
}

}  // namespace
}  // namespace morphology_test
