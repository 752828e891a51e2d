#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <thread>

#include "support/Filters.h"
#include "support/Running.h"

namespace {

using namespace host_test;
using pxl::BaseAlgorithm;

class Progress : public RunningTest {
 protected:
  void expectProgress(double expected) const { EXPECT_DOUBLE_EQ(algorithm.getProgress(), expected); }
};

TEST_F(Progress, IsZeroBeforeAndOneAfterARun) {
  expectProgress(0);
  execute([&](BaseAlgorithm* a) {
    expectProgress(0);
    Stage const stage(a);
    expectProgress(0);
  });
  expectProgress(1);
  // The next run begins at 0.
  execute([&](BaseAlgorithm*) { expectProgress(0); });
  expectProgress(1);
}

TEST_F(Progress, IsDoneByTotalOfTheCurrentStep) {
  execute([&](BaseAlgorithm* a) {
    Stage stage(a);
    stage.setMaxProgress(8);
    expectProgress(0);
    stage.m_progress += 2;
    expectProgress(0.25);
    stage.m_progress += 6;
    expectProgress(1);
  });
}

TEST_F(Progress, CountsTheStepsOfChildren) {
  execute([&](BaseAlgorithm* a) {
    Stage parent(a);
    parent.setNumberOfSteps(4);
    for (int step = 0; step < 4; ++step) {
      Stage child(nullptr, [&](Stage& self) {
        expectProgress(step / 4.0);
        self.setMaxProgress(100);
        self.m_progress += 50;
        expectProgress((step + 0.5) / 4);
        self.m_progress += 50;
        expectProgress((step + 1) / 4.0);
      });
      parent.runChildAlgo(&child);
      expectProgress((step + 1) / 4.0);
    }
  });
}

TEST_F(Progress, CountsTheStepsOfGrandchildren) {
  execute([&](BaseAlgorithm* a) {
    Stage parent(a);
    parent.setNumberOfSteps(2);
    for (int step = 0; step < 2; ++step) {
      Stage middle(nullptr, [&](Stage& self) {
        self.setNumberOfSteps(5);
        for (int part = 0; part < 5; ++part) {
          Stage child(nullptr, [&](Stage& leaf) {
            leaf.setMaxProgress(2);
            ++leaf.m_progress;
            expectProgress((step + (part + 0.5) / 5) / 2);
          });
          self.runChildAlgo(&child);
        }
      });
      parent.runChildAlgo(&middle);
    }
  });
}

TEST_F(Progress, NeverGoesBackWhenAStepFailsOrRestarts) {
  execute([&](BaseAlgorithm* a) {
    Stage stage(a);
    stage.setMaxProgress(4);
    stage.m_progress += 3;
    expectProgress(0.75);
    stage.setMaxProgress(4);
    expectProgress(0.75);
    // Filters one after the other, each for the whole.
    Stage second(a);
    second.setMaxProgress(4);
    expectProgress(0.75);
  });
  expectProgress(1);
  EXPECT_THROW(execute([&](BaseAlgorithm* a) {
                 Stage stage(a);
                 stage.setMaxProgress(4);
                 stage.m_progress += 1;
                 expectProgress(0.25);
                 throw 1;
               }),
               int);
  expectProgress(0.25);
}

TEST_F(Progress, OfNothingToDoIsDone) {
  execute([&](BaseAlgorithm* a) {
    Stage stage(a);
    stage.setMaxProgress(0);
    expectProgress(1);
  });
  execute([&](BaseAlgorithm* a) {
    Stage stage(a);
    stage.setNumberOfSteps(0);
    expectProgress(1);
  });
}

TEST_F(Progress, OfOneStepStaysWithinTheStep) {
  execute([&](BaseAlgorithm* a) {
    Stage stage(a);
    stage.setNumberOfSteps(4);
    stage.setMaxProgress(10);
    // More than was declared, as between the two stores that begin a smaller step.
    stage.m_progress = 1000;
    EXPECT_LE(algorithm.getProgress(), 0.25);
  });
}

TEST_F(Progress, CountsBeyond32Bits) {
  execute([&](BaseAlgorithm* a) {
    Stage stage(a);
    stage.setMaxProgress(1UL << 40);
    stage.m_progress = 1UL << 38;
    expectProgress(0.25);
  });
}

TEST_F(Progress, IsMonotoneUnderPollingOverManyStages) {
  tbb::global_control const threads(tbb::global_control::max_allowed_parallelism, 16);
  tbb::task_arena arena(16);
  std::atomic<bool> isRunning{true};
  std::atomic<long> nbPolls{0};
  std::vector<double> polled;
  std::thread poller([&] {
    double last = 0;
    while (isRunning) {
      double const progress = algorithm.getProgress();
      ++nbPolls;
      if (progress < last || progress > 1) ADD_FAILURE() << progress << " after " << last;
      if (progress > last) polled.push_back(progress);
      last = progress;
    }
  });
  constexpr int cNbSteps = 20;
  execute([&](BaseAlgorithm* a) {
    Stage parent(a);
    parent.setNumberOfSteps(cNbSteps);
    // The poller runs in and after every stage, also on a busy machine.
    auto const awaitPoll = [&] {
      long const before = nbPolls;
      while (nbPolls < before + 2) std::this_thread::yield();
    };
    for (int step = 0; step < cNbSteps; ++step) {
      CountingFilter filter(nullptr, 2000, [&](long i) {
        if (i % 500 == 499) awaitPoll();
      });
      arena.execute([&] { parent.runChildAlgo(&filter); });
      EXPECT_EQ(filter.m_progress, 2000u);
      awaitPoll();
    }
  });
  isRunning = false;
  poller.join();
  int nbInside = 0;
  for (int step = 0; step < cNbSteps; ++step) {
    double const begin = step / double(cNbSteps), end = (step + 1) / double(cNbSteps);
    bool isEndSeen = false;
    for (double const progress : polled) {
      isEndSeen = isEndSeen || progress == end;
      nbInside += progress > begin && progress < end;
    }
    EXPECT_TRUE(isEndSeen) << step;
  }
  EXPECT_GT(nbInside, 0);
}

}  // namespace
