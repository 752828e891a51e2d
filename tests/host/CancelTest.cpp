#include <gtest/gtest.h>
#include <tbb/task_group.h>

#include <thread>

#include "support/Filters.h"
#include "support/Folder.h"
#include "support/Images.h"
#include "support/Running.h"

namespace {

using namespace host_test;
using pxl::BaseAlgorithm;

class Cancel : public RunningTest {};

TEST_F(Cancel, WithoutARunDoesNothing) {
  algorithm.cancelExecution();
  EXPECT_FALSE(Stage(&algorithm).m_cancelled);
  CountingFilter* seen = nullptr;
  EXPECT_NO_THROW(execute([&](BaseAlgorithm* a) {
    CountingFilter filter(a, 10);
    seen = &filter;
    filter.run();
    EXPECT_EQ(filter.nbBodies, 10);
  }));
  EXPECT_NE(seen, nullptr);
}

TEST_F(Cancel, OfOneRunDoesNotReachTheNext) {
  auto const work = [](BaseAlgorithm* a) { CountingFilter(a, 10).run(); };
  EXPECT_THROW(execute([&](BaseAlgorithm* a) {
                 a->cancelExecution();
                 work(a);
               }),
               pxl::ExceptionCancelation);
  EXPECT_NO_THROW(execute(work));
  // Also one that nobody noticed.
  EXPECT_NO_THROW(execute([](BaseAlgorithm* a) { a->cancelExecution(); }));
  EXPECT_NO_THROW(execute(work));
}

TEST_F(Cancel, BeforeTheFirstLoopReachesTheFramesMadeLater) {
  EXPECT_THROW(execute([](BaseAlgorithm* a) {
                 a->cancelExecution();
                 Stage const stage(a);
                 EXPECT_TRUE(stage.m_cancelled);
                 CountingFilter filter(a, 1000);
                 EXPECT_TRUE(filter.m_taskGroupContext.is_group_execution_cancelled());
                 try {
                   filter.run();
                 } catch (...) {
                   EXPECT_EQ(filter.nbBodies, 0);
                   throw;
                 }
               }),
               pxl::ExceptionCancelation);
}

TEST_F(Cancel, WhileThePropertiesAreCheckedIsNotLost) {
  // The runner is asked before any frame exists.
  struct Curious : pxl::Runnable {
    void run(BaseAlgorithm* a) const override { CountingFilter(a, 10).run(); }
    bool isRunnable(BaseAlgorithm* a) const override {
      a->cancelExecution();
      return true;
    }
    int getOptimType() const override { return 1; }
  } runner;
  algorithm.getAlgoInfo()->addRunner(&runner);
  EXPECT_THROW(algorithm.execute(), pxl::ExceptionCancelation);
  algorithm.getAlgoInfo()->removeRunner(&runner);
}

TEST_F(Cancel, BetweenTwoStagesReachesTheNextChild) {
  EXPECT_THROW(execute([](BaseAlgorithm* a) {
                 Stage parent(a);
                 CountingFilter first(nullptr, 10), second(nullptr, 10);
                 parent.runChildAlgo(&first);
                 EXPECT_EQ(first.nbBodies, 10);
                 a->cancelExecution();
                 EXPECT_FALSE(second.m_cancelled);
                 try {
                   parent.runChildAlgo(&second);
                 } catch (...) {
                   EXPECT_EQ(second.nbBodies, 0);
                   EXPECT_EQ(parent.m_currentStep, 2u);
                   throw;
                 }
               }),
               pxl::ExceptionCancelation);
}

TEST_F(Cancel, DuringAChildReachesItAndItsChild) {
  for (int depth = 1; depth <= 3; ++depth) {
    std::atomic<bool> isInside{false};
    std::thread canceller;
    EXPECT_THROW(execute([&](BaseAlgorithm* a) {
                   CountingFilter filter(nullptr, 1L << 40, [&](long) { isInside = true; });
                   Stage inner(nullptr, [&](Stage& self) { self.runChildAlgo(&filter); });
                   Stage outer(nullptr, [&](Stage& self) { self.runChildAlgo(&inner); });
                   Stage parent(a);
                   canceller = std::thread([&] {
                     while (!isInside) std::this_thread::yield();
                     algorithm.cancelExecution();
                   });
                   if (depth == 1) parent.runChildAlgo(&filter);
                   if (depth == 2) parent.runChildAlgo(&inner);
                   if (depth == 3) parent.runChildAlgo(&outer);
                 }),
                 pxl::ExceptionCancelation);
    canceller.join();
  }
}

TEST_F(Cancel, OfAParentCallsTheOverrideOfItsChild) {
  struct Child : Stage {
    using Stage::Stage;
    void cancelExecution() override {
      ++nbCalls;
      Stage::cancelExecution();
    }
    int nbCalls = 0;
  };
  execute([](BaseAlgorithm* a) {
    Stage parent(a);
    Child child(nullptr, [a](Stage& self) {
      EXPECT_FALSE(self.m_cancelled);
      a->cancelExecution();
      EXPECT_TRUE(self.m_cancelled);
    });
    parent.runChildAlgo(&child);
    EXPECT_EQ(child.nbCalls, 1);
    // It is no longer a child.
    a->cancelExecution();
    EXPECT_EQ(child.nbCalls, 1);
  });
}

TEST_F(Cancel, ForgetsAChildThatThrew) {
  execute([](BaseAlgorithm* a) {
    Stage parent(a);
    {
      auto child = std::make_unique<Stage>(nullptr, [](Stage&) { throw 1; });
      EXPECT_THROW(parent.runChildAlgo(child.get()), int);
    }
    // Would access the destroyed child.
    a->cancelExecution();
    a->getProgress();
  });
}

// Within an outer loop that is cancelled: this run isn't cancelled.
TEST_F(Cancel, OfAnOuterGroupDoesNotStopTheInnerLoop) {
  for (int round = 0; round < 20; ++round) {
    tbb::task_group_context outer;
    std::atomic<int> nbComplete{0};
    tbb::parallel_for(
        0, 1,
        [&](int) {
          CountingFilter filter(nullptr, 500, [&](long i) {
            if (i == 3) outer.cancel_group_execution();
          });
          EXPECT_NO_THROW(filter.run());
          if (filter.nbBodies == 500 && filter.m_progress == 500) ++nbComplete;
        },
        outer);
    EXPECT_TRUE(outer.is_group_execution_cancelled());
    EXPECT_EQ(nbComplete, 1);
  }
}

TEST_F(Cancel, OfAnInnerLoopDoesNotStopTheOuterGroup) {
  std::atomic<int> nbOuter{0};
  tbb::task_group_context outer;
  tbb::parallel_for(
      0, 50,
      [&](int) {
        CountingFilter filter(nullptr, 10);
        filter.cancelExecution();
        EXPECT_THROW(filter.run(), pxl::ExceptionCancelation);
        EXPECT_EQ(filter.nbBodies, 0);
        ++nbOuter;
      },
      outer);
  EXPECT_FALSE(outer.is_group_execution_cancelled());
  EXPECT_EQ(nbOuter, 50);
}

// Kernels test the cancel flag between blocks, and a block can take long. They fetch rows in between.
TEST_F(Cancel, StopsTheReadsOfABlock) {
  Folder const folder;
  auto const disk = pxl::Image::OnDisk(folder / "image", pxl::FileModes::cCreate, pxl::cFloat, {64, 64, 1, 1, 1});
  auto const outside = makeConstView<float>(disk.get());
  long nbReads = 0;
  std::shared_ptr<pxl::access::View<float> const> view;
  EXPECT_THROW(execute([&](BaseAlgorithm* a) {
                 view = makeConstView<float>(disk.get());
                 CountingFilter filter(a, 1, [&](long) {
                   for (; nbReads < 1000; ++nbReads) {
                     if (nbReads == 10) a->cancelExecution();
                     // No view of the run, no cancel.
                     outside->getBorderCondition();
                     view->getBorderCondition();
                     readVoxel(*view, {0, nbReads % 64, 0, 0, 0});
                   }
                 });
                 filter.run();
               }),
               pxl::ExceptionCancelation);
  EXPECT_EQ(nbReads, 10);
  // The view outlives its run and its cancel. The cancel of another run doesn't affect it.
  EXPECT_NO_THROW(view->getBorderCondition());
  execute([&](BaseAlgorithm* a) {
    a->cancelExecution();
    EXPECT_NO_THROW(view->getBorderCondition());
  });
}

}  // namespace
