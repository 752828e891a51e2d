#include <future>
#include <stdexcept>

#include "pxl/RunInBackground.h"
#include "support/Filters.h"
#include "support/Raised.h"
#include "support/Running.h"

namespace {

using namespace host_test;
using pxl::BaseAlgorithm;
using pxl::RunInBackground;

class InBackground : public RunningTest {
 protected:
  /** The runner's work waits for this. */
  std::promise<void> gate;
  std::shared_future<void> opened{gate.get_future()};
};

TEST_F(InBackground, RunsOnAnotherThread) {
  std::thread::id worker;
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm* a) {
    EXPECT_EQ(a, &algorithm);
    worker = std::this_thread::get_id();
    opened.wait();
  });
  RunInBackground run(algorithm);
  EXPECT_FALSE(run.waitFor(0)) << "not started";
  EXPECT_EQ(runner.nbRuns, 0);
  run.start();
  EXPECT_FALSE(run.waitFor(0));
  EXPECT_FALSE(run.waitFor(20));
  gate.set_value();
  run.get();
  EXPECT_TRUE(run.waitFor(0));
  EXPECT_EQ(runner.nbRuns, 1);
  EXPECT_NE(worker, std::this_thread::get_id());
  EXPECT_EQ(run.getProgress(), 1);
  EXPECT_NO_THROW(run.get()) << "as often as it is asked";
}

TEST_F(InBackground, WaitsNoLongerThanItIsTold) {
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm*) { opened.wait(); });
  RunInBackground run(algorithm);
  run.start();
  auto const start = std::chrono::steady_clock::now();
  EXPECT_FALSE(run.waitFor(30));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
  std::thread opener([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    gate.set_value();
  });
  // As long as the number allows, and over with the run.
  EXPECT_TRUE(run.waitFor(~0UL));
  opener.join();
}

TEST_F(InBackground, ACancelBeforeTheStartSticks) {
  FakeRunner const runner(algorithm.getAlgoInfo());
  {
    RunInBackground run(algorithm);
    run.cancel();
    run.start();
    EXPECT_THROW(run.get(), pxl::ExceptionCancelation);
    EXPECT_THROW(run.get(), pxl::ExceptionCancelation) << "each time";
    EXPECT_TRUE(run.waitFor(0));
  }
  EXPECT_EQ(runner.nbRuns, 0);
  algorithm.execute();
  EXPECT_EQ(runner.nbRuns, 1) << "other runs of the algorithm aren't cancelled";
}

TEST_F(InBackground, ACancelBetweenTheStartAndTheExecutionSticks) {
  FakeRunner const runner(algorithm.getAlgoInfo());
  RunInBackground run(algorithm);
  run.start([&] {
    opened.wait();
    algorithm.execute();
  });
  run.cancel();
  gate.set_value();
  EXPECT_THROW(run.get(), pxl::ExceptionCancelation);
  EXPECT_EQ(runner.nbRuns, 0);
  algorithm.execute();
  EXPECT_EQ(runner.nbRuns, 1);
}

TEST_F(InBackground, ACancelEndsEveryFurtherExecution) {
  std::promise<void> atWork;
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm*) {
    atWork.set_value();
    opened.wait();  // without testing the flag
  });
  RunInBackground run(algorithm);
  run.start([&] {
    algorithm.execute();
    algorithm.execute();
  });
  atWork.get_future().wait();
  run.cancel();
  gate.set_value();
  EXPECT_THROW(run.get(), pxl::ExceptionCancelation);
  EXPECT_EQ(runner.nbRuns, 1);
}

TEST_F(InBackground, ACancelReachesTheRun) {
  std::promise<void> atWork;
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm* a) {
    CountingFilter filter(a, 10);
    atWork.set_value();
    opened.wait();
    filter.run();
  });
  RunInBackground run(algorithm);
  run.start();
  atWork.get_future().wait();
  run.cancel();
  gate.set_value();
  EXPECT_THROW(run.get(), pxl::ExceptionCancelation);
}

TEST_F(InBackground, ACancelAfterTheEndReachesNoLaterRun) {
  FakeRunner const runner(algorithm.getAlgoInfo(), [](BaseAlgorithm* a) { CountingFilter(a, 10).run(); });
  RunInBackground run(algorithm);
  run.start();
  run.get();
  run.cancel();
  EXPECT_NO_THROW(algorithm.execute());
  RunInBackground next(algorithm);
  next.start();
  run.cancel();
  EXPECT_NO_THROW(next.get());
}

TEST_F(InBackground, ThrowsWhatTheRunThrew) {
  FakeRunner const runner(algorithm.getAlgoInfo(), [](BaseAlgorithm*) { throw std::range_error("too far"); });
  RunInBackground run(algorithm);
  run.start();
  EXPECT_EQ(raisedBy<std::range_error>([&] { run.get(); }), "too far");
  EXPECT_EQ(raisedBy<std::range_error>([&] { run.get(); }), "too far");
}

TEST_F(InBackground, RefusalsComeWithTheEndOfTheRun) {
  RunInBackground run(algorithm);
  run.start();
  EXPECT_NE(raisedBy<pxl::RuntimeError>([&] { run.get(); }).find("TestOperator"), std::string::npos);
}

TEST_F(InBackground, WhatIsDroppedIsCancelledAndWaitedFor) {
  std::promise<void> atWork;
  std::atomic<bool> isOver{false};
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm* a) {
    Stage const stage(a);
    atWork.set_value();
    while (!stage.m_cancelled) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    isOver = true;
    throw pxl::ExceptionCancelation();
  });
  {
    RunInBackground run(algorithm);
    run.start();
    atWork.get_future().wait();
  }
  EXPECT_TRUE(isOver);
  { RunInBackground const never(algorithm); }
}

TEST_F(InBackground, ProgressIsThatOfThisRun) {
  FakeRunner const quick(algorithm.getAlgoInfo());
  algorithm.execute();
  EXPECT_EQ(algorithm.getProgress(), 1);
  RunInBackground run(algorithm);
  EXPECT_EQ(run.getProgress(), 0);
  std::promise<void> half, seen;
  run.start([&] {
    opened.wait();
    FakeRunner const runner(
        algorithm.getAlgoInfo(),
        [&](BaseAlgorithm* a) {
          Stage stage(a);
          stage.setMaxProgress(10);
          stage.m_progress = 5;
          half.set_value();
          seen.get_future().wait();
        },
        2);
    algorithm.execute();
  });
  EXPECT_EQ(run.getProgress(), 0) << "not that of the run before";
  gate.set_value();
  half.get_future().wait();
  EXPECT_EQ(run.getProgress(), 0.5);
  seen.set_value();
  run.get();
  EXPECT_EQ(run.getProgress(), 1);
}

TEST_F(InBackground, WrongCallsAreRefused) {
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm*) { opened.wait(); });
  RunInBackground run(algorithm), other(algorithm);
  EXPECT_NE(refusalOf([&] { run.get(); }), "");
  run.start();
  EXPECT_NE(refusalOf([&] { run.start(); }).find("only once"), std::string::npos);
  EXPECT_NE(refusalOf([&] { other.start(); }).find("already running"), std::string::npos);
  gate.set_value();
  run.get();
  EXPECT_NE(refusalOf([&] { run.start(); }).find("only once"), std::string::npos);
  other.start();
  other.get();
  EXPECT_EQ(runner.nbRuns, 2);
}

/** Cancels come at any moment: each run ends, and none that comes after is cancelled. */
TEST_F(InBackground, CancelsAtAnyMoment) {
  FakeRunner const runner(algorithm.getAlgoInfo(), [](BaseAlgorithm* a) { CountingFilter(a, 100).run(); });
  int nbCancelled = 0;
  for (int i = 0; i < 500; ++i) {
    RunInBackground run(algorithm);
    std::thread canceller([&run, i] {
      for (int spin = 0; spin < 40 * i; ++spin) std::atomic_signal_fence(std::memory_order_seq_cst);
      run.cancel();
    });
    run.start();
    try {
      run.get();
    } catch (pxl::ExceptionCancelation const&) {
      ++nbCancelled;
    }
    canceller.join();
    EXPECT_NO_THROW(algorithm.execute());
  }
  EXPECT_GT(nbCancelled, 0);
}

}  // namespace
