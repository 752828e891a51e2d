// An operator as a step of another operator's run.
#include <gtest/gtest.h>

#include <thread>

#include "support/Filters.h"
#include "support/Images.h"
#include "support/Raised.h"
#include "support/Running.h"

namespace {

using namespace host_test;
using pxl::BaseAlgorithm;

class ChildOperator : public RunningTest {
 protected:
  ChildOperator() {
    child.inputImage = image.get();
    child.outputImage = image.get();
  }
  /** Runs the parent, whose runner calls runChild(frame). */
  template <class Work>
  void executeParent(Work const& work) {
    execute([&work](BaseAlgorithm* a) {
      Stage parent(a);
      work(parent);
    });
  }

  PlanOperator child;
};

TEST_F(ChildOperator, IsAStepOfTheProgress) {
  FakeRunner const runner(child.getAlgoInfo(), [&](BaseAlgorithm* a) {
    EXPECT_EQ(a, &child);
    Stage stage(a);
    EXPECT_DOUBLE_EQ(algorithm.getProgress(), 0.25);
    stage.setMaxProgress(8);
    stage.m_progress += 2;
    EXPECT_DOUBLE_EQ(algorithm.getProgress(), 0.25 + 0.25 / 4);
    EXPECT_DOUBLE_EQ(child.getProgress(), 0.25);
  });
  executeParent([&](Stage& parent) {
    parent.setNumberOfSteps(4);
    Stage first(nullptr);
    parent.runChildAlgo(&first);
    parent.runChildAlgo(child);
    EXPECT_EQ(parent.m_currentStep, 3u);
    EXPECT_DOUBLE_EQ(algorithm.getProgress(), 0.5);
  });
  EXPECT_EQ(runner.nbRuns, 1);
  EXPECT_DOUBLE_EQ(child.getProgress(), 1);
}

TEST_F(ChildOperator, IsCancelledWithItsParent) {
  std::atomic<bool> isInside{false};
  FakeRunner const runner(child.getAlgoInfo(), [&](BaseAlgorithm* a) {
    CountingFilter filter(nullptr, 1L << 40, [&](long) { isInside = true; });
    Stage(a).runChildAlgo(&filter);
  });
  std::thread canceller([&] {
    while (!isInside) std::this_thread::yield();
    algorithm.cancelExecution();
  });
  EXPECT_THROW(executeParent([&](Stage& parent) { parent.runChildAlgo(child); }), pxl::ExceptionCancelation);
  canceller.join();
  // Neither keeps it.
  EXPECT_NO_THROW(executeParent([](Stage& parent) { EXPECT_FALSE(parent.m_cancelled); }));
  FakeRunner const second(
      child.getAlgoInfo(), [](BaseAlgorithm* a) { EXPECT_FALSE(Stage(a).m_cancelled); }, 2);
  EXPECT_NO_THROW(child.execute());
}

TEST_F(ChildOperator, DoesNotBeginAfterACancel) {
  FakeRunner const runner(child.getAlgoInfo());
  EXPECT_THROW(executeParent([&](Stage& parent) {
                 algorithm.cancelExecution();
                 parent.runChildAlgo(child);
               }),
               pxl::ExceptionCancelation);
  EXPECT_EQ(runner.nbRuns, 0);
}

TEST_F(ChildOperator, IsReachedByACancelBeforeItsFirstFrame) {
  FakeRunner const runner(child.getAlgoInfo(), [&](BaseAlgorithm* a) {
    auto const view = makeConstView<unsigned char>(image.get());
    algorithm.cancelExecution();
    EXPECT_THROW(view->getInterface(), pxl::ExceptionCancelation);
    CountingFilter(a, 10).run();
  });
  EXPECT_THROW(executeParent([&](Stage& parent) { parent.runChildAlgo(child); }), pxl::ExceptionCancelation);
}

TEST_F(ChildOperator, LeavesTheCancelOfItsParentAlone) {
  FakeRunner const runner(child.getAlgoInfo(), [&](BaseAlgorithm*) { algorithm.cancelExecution(); });
  executeParent([&](Stage& parent) {
    parent.runChildAlgo(child);
    EXPECT_TRUE(parent.m_cancelled);
    child.cancelExecution();
    EXPECT_TRUE(Stage(parent.getPublicInterface()).m_cancelled);
  });
}

TEST_F(ChildOperator, RefusesAndFailsAsByItself) {
  executeParent([&](Stage& parent) {
    PlanOperator incomplete;
    EXPECT_EQ(refusalOf([&] { parent.runChildAlgo(incomplete); }), "TestOperator: inputImage isn't set");
    EXPECT_TRUE(contains(raisedBy<pxl::RuntimeError>([&] { parent.runChildAlgo(child); }), "no plug-in provides it"));
    FakeRunner const runner(child.getAlgoInfo(), [](BaseAlgorithm*) { throw 7; });
    EXPECT_THROW(parent.runChildAlgo(child), int);
    EXPECT_EQ(parent.m_currentStep, 1u);
    // It is no longer running.
    FakeRunner const second(child.getAlgoInfo(), {}, 2);
    EXPECT_NO_THROW(child.execute());
  });
}

TEST_F(ChildOperator, TakesOverTheLimitOnExtraMemory) {
  FakeRunner const runner(child.getAlgoInfo());
  algorithm.setMaximumExtraMemoryUsageInBytes(12345);
  PlanOperator own;
  own.inputImage = image.get();
  own.outputImage = image.get();
  own.setMaximumExtraMemoryUsageInBytes(99);
  executeParent([&](Stage& parent) {
    parent.runChildAlgo(child);
    parent.runChildAlgo(own);
  });
  EXPECT_EQ(child.getMaximumExtraMemoryUsageInBytes(), 12345u);
  EXPECT_EQ(own.getMaximumExtraMemoryUsageInBytes(), 99u);
}

}  // namespace
