#include <atomic>
#include <thread>

#include "pxl/AlgoInfo.h"
#include "pxl/Exception.h"
#include "pxl/Runnable.h"
#include "support/FailureTest.h"
#include "support/Kernels3d.h"

namespace morphology_test {
namespace {

using pxl::instrument::Event;

class Morphology3dFailure : public FailureTest {
 protected:
  Morphology3dFailure() { recorder.grains = {100, 100, 100}; }

  static Way makeWay(int neighborhood, bool isInPlace = false, unsigned int nbIterations = 1) {
    return {Operation::cDilation, neighborhood, nbIterations, isInPlace, 0, 3};
  }

  // How many rows of each plan a run of one block writes that is cancelled by `shouldCancel(event)`.
  template <class Filter>
  std::vector<long> countRowsUntilCancel(Way const& way, bool isInRead, Filter&& shouldCancel) {
    auto const target = way.isInPlace ? oracle::toHost(*image) : output;
    auto const source = way.isInPlace ? target : input;
    auto const algorithm = makeAlgorithm(way, source.get(), target.get());
    std::vector<long> counts(static_cast<unsigned long>(image->sizes[2]));
    auto const cancelIf = [&](bool shouldNow) {
      if (shouldNow) algorithm->cancelExecution();
    };
    recorder.onRead = [&](Event const& event) { cancelIf(isInRead && shouldCancel(event)); };
    recorder.onWrite = [&](Event const& event) {
      ++counts[static_cast<unsigned long>(event.values[3])];
      cancelIf(!isInRead && shouldCancel(event));
      return true;
    };
    // By the runner alone: within execute() a cancel ends the block at the next row.
    auto const runner = algorithm->getAlgoInfo()->getRunners().front();
    withThreads(1, [&] { EXPECT_THROW(runner->run(algorithm.get()), pxl::ExceptionCancelation); });
    recorder.onRead = nullptr;
    recorder.onWrite = nullptr;
    expectNothingIsLeft();
    return counts;
  }
};

TEST_F(Morphology3dFailure, ByACancelWithinACubeLeavesItsPlanUnwritten) {
  makeImages({9, 4, 6, 1, 1});
  for (bool isInPlace : {false, true})
    for (long cancelPlan = -1; cancelPlan <= 6; ++cancelPlan)
      for (long cancelRow : {-1L, 2L, 4L}) {
        auto const counts = countRowsUntilCancel(makeWay(2, isInPlace), true, [&](Event const& event) {
          return event.values[3] == cancelPlan && event.values[2] == cancelRow;
        });
        // The plan that is read is the one after the plan that is worked on.
        for (long plan = 0; plan < 6; ++plan)
          EXPECT_EQ(counts[static_cast<unsigned long>(plan)], plan < cancelPlan - 1 ? 4 : 0)
              << "plan " << plan << ", cancelled at " << cancelPlan;
      }
  expectNextRunIsRight(makeWay(2));
}

TEST_F(Morphology3dFailure, ByACancelWhileAPlanIsWrittenComesAfterIt) {
  makeImages({9, 4, 6, 1, 1});
  for (bool isInPlace : {false, true})
    for (long cancelPlan = 0; cancelPlan < 6; ++cancelPlan) {
      auto const counts = countRowsUntilCancel(makeWay(2, isInPlace), false, [&](Event const& event) {
        return event.values[3] == cancelPlan && event.values[2] == 1;
      });
      for (long plan = 0; plan < 6; ++plan)
        EXPECT_EQ(counts[static_cast<unsigned long>(plan)], plan <= cancelPlan ? 4 : 0)
            << "plan " << plan << ", cancelled at " << cancelPlan;
    }
}

TEST_F(Morphology3dFailure, ByACancelOfFacesOrEdgesComesAfterTheBlock) {
  makeImages({9, 4, 6, 1, 1});
  for (int neighborhood : {0, 1}) {
    auto const counts = countRowsUntilCancel(makeWay(neighborhood, false, 2), true, [](Event const& event) {
      return event.values[3] == 3 && event.values[2] == 2;
    });
    EXPECT_EQ(counts, std::vector<long>(6, 4)) << "the block is finished, the second pass isn't begun";
    expectNextRunIsRight(makeWay(neighborhood));
  }
}

TEST_F(Morphology3dFailure, ByACancelWithinAPassEndsTheRun) {
  makeImages({20, 12, 6, 1, 1});
  recorder.grains = {20, 4, 2};
  for (int neighborhood : {0, 1, 2})
    for (bool isInPlace : {false, true})
      for (int cancelAt : {1, 30, 100, 200}) {
        auto const target = isInPlace ? oracle::toHost(*image) : output;
        auto const source = isInPlace ? target : input;
        auto const algorithm = makeAlgorithm(makeWay(neighborhood, isInPlace, 3), source.get(), target.get());
        std::atomic<int> nbReads{0};
        recorder.onRead = [&](Event const&) {
          if (++nbReads == cancelAt) algorithm->cancelExecution();
        };
        EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation) << cancelAt;
        expectNothingIsLeft();
      }
}

TEST_F(Morphology3dFailure, ByACancelInPlaceLeavesTheDeferredRowsUnwritten) {
  makeImages({16, 16, 4, 1, 1});
  recorder.isTracing = true;
  recorder.grains = {8, 8, 2};
  for (int neighborhood : {0, 1, 2}) {
    auto const algorithm = makeAlgorithm(makeWay(neighborhood, true), input.get(), input.get());
    recorder.clear();
    std::atomic<int> nbWrites{0};
    recorder.onWrite = [&](Event const&) {
      if (++nbWrites == 1) algorithm->cancelExecution();
      return true;
    };
    EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation);
    EXPECT_GT(recorder.count("temporizeRowWriting"), 0u);
    EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 0u);
  }
}

// There is no task group to ask, neither in a thread of the test's own nor in its main one.
TEST_F(Morphology3dFailure, DoesNotComeFromACubeOutsideAnyTask) {
  Five const sizes{9, 4, 5, 1, 1};
  makeImages(sizes);
  for (bool isInThread : {false, true}) {
    HandRun<short> pass(*image, false, DilationFunctor::cNeutral<short>);
    Cube<DilationFunctor, short> const kernel;
    auto const work = [&] { kernel.run(Block3d(0, 5, 1, 0, 4, 1, 0, 9, 1, 0, 0), pass.context); };
    if (isInThread)
      std::thread(work).join();
    else
      work();
    EXPECT_TRUE(areEqual(pass.getOutput(), oracle::applyCube(*image, Operation::cDilation)));
  }
}

TEST_F(Morphology3dFailure, OfAnyWriteIsAnErrorAndLeavesNothingBehind) {
  makeImages({12, 6, 4, 1, 1});
  recorder.grains = {6, 3, 2};
  for (int neighborhood : {0, 1, 2}) {
    Way const way = makeWay(neighborhood, false, 2);
    std::atomic<int> nbWrites{0};
    recorder.onWrite = [&](Event const&) { return ++nbWrites, true; };
    makeAlgorithm(way, input.get(), output.get())->execute();
    int const nbAll = nbWrites;
    ASSERT_GT(nbAll, 50);
    for (int failing = 1; failing <= nbAll; failing += failing < 10 ? 1 : 7) {
      nbWrites = 0;
      recorder.onWrite = [&](Event const&) { return ++nbWrites != failing; };
      auto const algorithm = makeAlgorithm(way, input.get(), output.get());
      EXPECT_THROW(algorithm->execute(), pxl::UnexpectedError) << failing;
      expectNothingIsLeft();
    }
    recorder.onWrite = nullptr;
    expectNextRunIsRight(way);
  }
}

TEST_F(Morphology3dFailure, OfAReadComesThroughUnchanged) {
  makeImages({20, 9, 5, 1, 1});
  for (int neighborhood : {0, 1, 2}) {
    recorder.onRead = [](Event const& event) {
      if (event.values[3] == 3) throw std::range_error("plan 3");
    };
    auto const algorithm = makeAlgorithm(makeWay(neighborhood), input.get(), output.get());
    EXPECT_STREQ(catchFrom<std::range_error>(*algorithm).what(), "plan 3");
    expectNothingIsLeft();
    recorder.onRead = nullptr;
    expectNextRunIsRight(makeWay(neighborhood));
  }
}

}  // namespace
}  // namespace morphology_test
