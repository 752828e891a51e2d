// The bodies of the reduction: who owns which functor, what a cancel and an exception do.
#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

#include "analysis/IntensityExtremaSIMDGeneric.h"
#include "analysis/support/Extrema.h"
#include "analysis/support/RecordingFilter.h"
#include "oracle/VoxelTypeTests.h"
#include "pxl/Exception.h"

namespace analysis_test {
namespace {

using pxl::access::Block3d;
using pxl::access::Region;
using Body = pxl::TbbBody3DManyToManyImageFilterWithReduction<RecordingFunctor, RecordingFilter>;

static_assert(sizeof(Body) == 24);
static_assert(!std::is_copy_constructible_v<Body>);

class FilterReduction : public testing::Test {
 protected:
  FilterReduction() {
    probe.grains = {1, 1, 1};
    probe.isTracing = false;
    filter.setProcessingRegion(Region(0, 40, 0, 50, 0, 6, 0, 1, 0, 1));
  }
  static void pause() { std::this_thread::sleep_for(std::chrono::microseconds(20)); }

  pxl::instrument::Recorder probe;
  FunctorLog log;
  RecordingFunctor functor;
  RecordingFilter filter{nullptr, &functor};
  Block3d const block{0, 2, 1, 0, 3, 1, 0, 4, 1, 0, 0};
};

TEST_F(FilterReduction, SplitBodiesOwnAFreshFunctor) {
  functor.nbVoxels = 1000;
  {
    Body original(&functor, &filter);
    EXPECT_EQ(log.nbLiving, 1);
    {
      Body split(original, tbb::split());
      EXPECT_EQ(log.nbLiving, 2);
      split(block);
      EXPECT_EQ(functor.nbVoxels, 1000);
      {
        Body ofSplit(split, tbb::split());
        ofSplit(block);
        EXPECT_EQ(log.nbLiving, 3);
        split.join(ofSplit);
      }
      EXPECT_EQ(log.nbLiving, 2);
      original.join(split);
    }
    EXPECT_EQ(log.nbLiving, 1);
  }
  EXPECT_EQ(log.nbLiving, 1);
  EXPECT_EQ(functor.nbVoxels, 1000 + 2 * 24);
  EXPECT_EQ(filter.m_progress, 48U);
}

TEST_F(FilterReduction, MakesAFunctorForASplitNotForABlock) {
  log.onRun = [](Block3d const&, pxl::BaseTbbAlgorithm&) { pause(); };
  for (int nbThreads : {2, 16}) {
    log.nbMade = log.nbMerges = log.nbRuns = 0;
    functor.nbVoxels = 0;
    withThreads(nbThreads, [this] { filter.run(); });
    EXPECT_EQ(functor.nbVoxels, 40 * 50 * 6);
    EXPECT_LT(log.nbMade, log.nbRuns);
    EXPECT_EQ(log.nbMerges, log.nbMade);
    EXPECT_EQ(log.nbLiving, 1);
  }
}

TEST_F(FilterReduction, SplitsWhenThereAreWorkers) {
  // Bodies wait for a second thread, so that the work isn't done before one wakes up.
  std::mutex mutex;
  std::set<std::thread::id> threads;
  auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  log.onRun = [&](Block3d const&, pxl::BaseTbbAlgorithm&) {
    for (bool isAlone = true; isAlone && std::chrono::steady_clock::now() < deadline;) {
      {
        std::lock_guard<std::mutex> const lock(mutex);
        threads.insert(std::this_thread::get_id());
        isAlone = threads.size() < 2;
      }
      if (isAlone) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  };
  withThreads(2, [this] { filter.run(); });
  EXPECT_GE(threads.size(), 2U);
  EXPECT_GT(log.nbMade, 1);
  EXPECT_EQ(functor.nbVoxels, 40 * 50 * 6);
}

TEST_F(FilterReduction, TestsTheFlagAfterTheWorkAndBeforeTheCount) {
  Body body(&functor, &filter);
  body(block);
  EXPECT_EQ(filter.m_progress, 24U);
  log.onRun = [this](Block3d const&, pxl::BaseTbbAlgorithm& running) {
    EXPECT_EQ(filter.m_progress, 24U);
    running.m_cancelled = true;
  };
  EXPECT_THROW(body(block), pxl::ExceptionCancelation);
  EXPECT_EQ(functor.nbVoxels, 48);  // the block was finished
  EXPECT_EQ(filter.m_progress, 24U);
}

// Only the flag, which a cancel from another thread sets first: the body's exception ends the loop.
TEST_F(FilterReduction, StopsAtTheFlag) {
  for (int nbThreads : {1, 2, 16}) {
    log.nbRuns = 0;
    RecordingFilter once(nullptr, &functor);
    once.setProcessingRegion(filter.m_processingRegion);
    log.onRun = [this](Block3d const&, pxl::BaseTbbAlgorithm& running) {
      if (log.nbRuns >= 10) running.m_cancelled = true;
    };
    EXPECT_THROW(withThreads(nbThreads, [&once] { once.run(); }), pxl::ExceptionCancelation);
    EXPECT_GE(log.nbRuns, 10);
    EXPECT_LT(once.m_progress, 40U * 50 * 6);
    EXPECT_EQ(log.nbLiving, 1);
  }
}

// A cancelled group ends its loop without an exception; only the flag causes one.
TEST_F(FilterReduction, RunsInItsOwnTaskGroup) {
  log.onRun = [](Block3d const&, pxl::BaseTbbAlgorithm& running) {
    running.m_taskGroupContext.cancel_group_execution();
  };
  EXPECT_NO_THROW(withThreads(1, [this] { filter.run(); }));
  EXPECT_LT(functor.nbVoxels, 40 * 50 * 6);
  EXPECT_EQ(log.nbLiving, 1);
}

// A cancel before the run: the group is stopped, no body runs that could throw, and the loop notices the flag.
TEST_F(FilterReduction, FailsWhenItWasCancelledBefore) {
  for (int nbThreads : {1, 2, 16}) {
    RecordingFilter once(nullptr, &functor);
    once.setProcessingRegion(filter.m_processingRegion);
    once.cancelExecution();
    log.nbRuns = 0;
    EXPECT_THROW(withThreads(nbThreads, [&once] { once.run(); }), pxl::ExceptionCancelation);
    EXPECT_EQ(log.nbRuns, 0);
    EXPECT_EQ(once.m_progress, 0U);
  }
}

TEST_F(FilterReduction, PassesExceptionsOfFunctorsOnAndFreesEverything) {
  for (int nbThreads : {1, 2, 16})
    for (int i = 0; i < 20; ++i) {
      RecordingFilter once(nullptr, &functor);
      once.setProcessingRegion(filter.m_processingRegion);
      std::atomic<long> nbBefore{0};
      log.onRun = [&nbBefore, i](Block3d const&, pxl::BaseTbbAlgorithm&) {
        pause();
        if (nbBefore++ == i) throw std::out_of_range("block " + std::to_string(i));
      };
      try {
        withThreads(nbThreads, [&once] { once.run(); });
        ADD_FAILURE() << "nothing was thrown";
      } catch (std::out_of_range const& error) {
        EXPECT_EQ(error.what(), "block " + std::to_string(i));
      }
      EXPECT_EQ(log.nbLiving, 1);
      EXPECT_LT(once.m_progress, 40U * 50 * 6);
    }
}

template <class T>
class ExtremaJoinOf : public testing::Test {};
TEST_TYPES(ExtremaJoinOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

template <class T>
using Extrema = pxl::analysis::IntensityExtremaSIMDGeneric<T>;

TEST_OF_TYPES(ExtremaJoinOf, TakesTheSmallerMinimumAndTheLargerMaximum) {
  TypeParam const values[] = {TypeParam(1), TypeParam(2), TypeParam(3), TypeParam(4)};
  for (TypeParam low : values)
    for (TypeParam high : values)
      for (TypeParam otherLow : values)
        for (TypeParam otherHigh : values) {
          Extrema<TypeParam> left, right;
          left.minimum = low;
          left.maximum = high;
          right.minimum = otherLow;
          right.maximum = otherHigh;
          left.merge(right);
          EXPECT_EQ(left.minimum, otherLow < low ? otherLow : low);
          EXPECT_EQ(left.maximum, otherHigh > high ? otherHigh : high);
          EXPECT_EQ(right.minimum, otherLow);
          EXPECT_EQ(left.lowest, std::numeric_limits<TypeParam>::lowest());
          EXPECT_EQ(left.highest, std::numeric_limits<TypeParam>::max());
        }
}

TEST(ExtremaJoin, ReplacesOnlyByAStrictComparison) {
  Extrema<float> left, right;
  left.minimum = left.maximum = 0.0F;
  right.minimum = right.maximum = -0.0F;
  left.merge(right);
  EXPECT_FALSE(std::signbit(left.minimum));
  EXPECT_FALSE(std::signbit(left.maximum));
}

TEST(ExtremaJoin, LetsNoNaNPass) {
  Extrema<double> left, right;
  left.minimum = -1;
  left.maximum = 1;
  right.minimum = right.maximum = std::numeric_limits<double>::quiet_NaN();
  left.merge(right);
  EXPECT_EQ(left.minimum, -1);
  EXPECT_EQ(left.maximum, 1);
}

}  // namespace
}  // namespace analysis_test
