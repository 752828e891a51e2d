#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "support/Algorithms.h"
#include "support/Filters.h"
#include "support/Raised.h"
#include "support/Running.h"

namespace {

using namespace host_test;

/** A forked process, and how it ended. */
class Fork : public RunningTest {
 protected:
  // The exit code of a child that does this, or -1 if a signal ended it, as after ten seconds without an end.
  template <class Action>
  static int inChild(Action action) {
    pid_t const child = ::fork();
    if (child == 0) {
      ::alarm(10);
      ::_exit(action());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // 0 when execute() refuses to run, as it should here.
  static int expectRefusal(pxl::BaseAlgorithm& algorithm) {
    try {
      algorithm.execute();
    } catch (pxl::RuntimeError const& error) {
      return contains(error.what(), "start workers with spawn or forkserver") ? 0 : 1;
    } catch (...) {
      return 2;
    }
    return 3;
  }

  void countInParallel(pxl::BaseAlgorithm* with) {
    CountingFilter filter(with, 1000);
    filter.run();
    nbCounted = filter.nbBodies;
  }

  long nbCounted = 0;
};

TEST_F(Fork, AfterARunIsToldByAnError) {
  execute([this](pxl::BaseAlgorithm* with) { countInParallel(with); });
  FakeRunner const runner(algorithm.getAlgoInfo(), [this](pxl::BaseAlgorithm* with) { countInParallel(with); });
  EXPECT_EQ(inChild([this] { return expectRefusal(algorithm); }), 0);
  // The same for the child of a child.
  EXPECT_EQ(inChild([this] { return inChild([this] { return expectRefusal(algorithm); }); }), 0);
  algorithm.execute();
  EXPECT_EQ(nbCounted, 1000);
}

// A run that is refused before it starts has used nothing but the lock, which another thread may hold.
TEST_F(Fork, DuringARunIsToldByAnError) {
  int result = -2;
  execute([&](pxl::BaseAlgorithm*) { result = inChild([this] { return expectRefusal(algorithm); }); });
  EXPECT_EQ(result, 0);
}

// A stage that is cancelled keeps the lock of all runs until it has answered.
TEST_F(Fork, IsToldBeforeAnyLockIsTaken) {
  class Slow : public Stage {
   public:
    using Stage::Stage;
    void cancelExecution() override {
      isAsked = true;
      while (!isAnswered) std::this_thread::yield();
      AbstractPrivateImplementation::cancelExecution();
    }
    std::atomic<bool> isAsked{false}, isAnswered{false};
  };
  VolumeOperator other;
  other.inputImage = image.get();
  other.outputImage = image.get();
  int result = -2;
  execute([&](pxl::BaseAlgorithm* with) {
    std::thread canceller;
    Slow slow(nullptr, [&](Stage&) {
      canceller = std::thread([&] { algorithm.cancelExecution(); });
      while (!slow.isAsked) std::this_thread::yield();
      result = inChild([&] { return expectRefusal(other); });
      slow.isAnswered = true;
    });
    Stage parent(with);
    parent.runChildAlgo(&slow);
    canceller.join();
  });
  EXPECT_EQ(result, 0);
}

// In a process of its own, which has not run anything yet.
TEST_F(Fork, BeforeTheFirstRunChangesNothing) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto const runBoth = [this] {
    FakeRunner const runner(algorithm.getAlgoInfo(), [this](pxl::BaseAlgorithm* with) { countInParallel(with); });
    auto const run = [this] {
      algorithm.execute();
      return nbCounted == 1000 ? 0 : 1;
    };
    int const ofChild = inChild(run);
    ::_exit(ofChild != 0 ? 10 + ofChild : run());
  };
  EXPECT_EXIT(runBoth(), testing::ExitedWithCode(0), "");
}

}  // namespace
