// Cancelling, failing, progress, and concurrent runs.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <thread>

#include "analysis/support/Canceller.h"
#include "analysis/support/Extrema.h"
#include "instrument/Sanitized.h"
#include "pxl/Exception.h"

namespace analysis_test {
namespace {

using pxl::instrument::Event;

int const cNbRandomCancels = host_test::isSanitized() ? 1000 : 10000;

class ExtremaCancel : public ExtremaTest {
 protected:
  ExtremaCancel() { probe.grains = {1000, 1, 1}; }
  void execute(int nbThreads) {
    withThreads(nbThreads, [this] { algorithm.execute(); });
  }
  bool isReached(unsigned long plan) const {
    return !std::isnan(measure.minimum.getValue(plan, 0, 0)) && !std::isnan(measure.maximum.getValue(plan, 0, 0));
  }

  oracle::Random random{1501};
  oracle::Image<unsigned short> expected = makeImage<unsigned short>(random, {64, 16, 5, 1, 1});
  std::shared_ptr<pxl::Image> image = oracle::toHost(expected);
};

TEST_F(ExtremaCancel, FromAnotherThreadStopsARunningFilter) {
  probe.isTracing = true;
  for (int nbThreads : {1, 2, 16}) {
    probe.clear();
    std::atomic<bool> isInside{false}, isReleased{false};
    probe.onRead = [&](Event const&) {
      isInside = true;
      while (!isReleased) std::this_thread::yield();
    };
    algorithm.inputImage = image.get();
    std::thread canceller([&] {
      while (!isInside) std::this_thread::yield();
      algorithm.cancelExecution();
      isReleased = true;
    });
    EXPECT_THROW(execute(nbThreads), pxl::ExceptionCancelation);
    canceller.join();
    // Only blocks that had begun were read to their end: each makes a cache of its own.
    EXPECT_LE(probe.count("createRowCacheRead"), static_cast<unsigned long>(nbThreads));
    expectNothingAlive();
    // The next run of the same object isn't cancelled.
    probe.onRead = nullptr;
    EXPECT_NO_THROW(execute(nbThreads));
    expectMeasured(oracle::measureExtrema(expected, 0));
  }
}

TEST_F(ExtremaCancel, AtAnyMomentLeavesRightCellsInTheirOrder) {
  auto const tall = makeImage<unsigned short>(random, {64, 64, 5, 1, 1});
  auto const host = oracle::toHost(tall);
  algorithm.inputImage = host.get();
  algorithm.analysisDimensions = 1;
  auto const results = oracle::measureExtrema(tall, 1);
  double lengthOfRun = 100000;  // in nanoseconds, a moving mean
  int nbWrong = 0;
  Canceller canceller(algorithm);
  probe.onRead = [&canceller](Event const&) { canceller.onRead(); };
  withThreads(2, [&] {
    for (int i = 1; i <= cNbRandomCancels; ++i) {
      canceller.beginRound(i, random, lengthOfRun);
      auto const start = std::chrono::steady_clock::now();
      bool isCancelled = false;
      try {
        algorithm.execute();
      } catch (pxl::ExceptionCancelation const&) {
        isCancelled = true;
      }
      double const length =
          std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
      canceller.endRound();
      if (!isCancelled) lengthOfRun += (std::min(length, 4 * lengthOfRun) - lengthOfRun) / 16;
      if (Canceller::isAtRead(i) && !isCancelled) ++nbWrong;
      if (Canceller::isTooLate(i) && isCancelled) ++nbWrong;
      std::size_t nbReached = 0;
      for (std::size_t cell = 0; cell < 5 && measure.minimum.values; ++cell) {
        if (std::isnan(measure.minimum.values[cell]) && std::isnan(measure.maximum.values[cell])) continue;
        if (nbReached++ != cell || measure.minimum.values[cell] != results.minimum[cell] ||
            measure.maximum.values[cell] != results.maximum[cell])
          ++nbWrong;
      }
      if (!isCancelled && nbReached != 5) ++nbWrong;
    }
  });
  EXPECT_EQ(nbWrong, 0);
  expectNothingAlive();
}

TEST_F(ExtremaCancel, KeepsTheCellsThatWereDone) {
  for (int nbThreads : {1, 2, 16}) {
    std::atomic<int> nbReads{0};
    probe.onRead = [&](Event const&) {
      if (++nbReads == 2 * 16 + 5) algorithm.cancelExecution();
    };
    EXPECT_THROW(measureImage(*image, 1, nbThreads), pxl::ExceptionCancelation);
    auto const results = oracle::measureExtrema(expected, 1);
    for (long p = 0; p < 5; ++p) {
      EXPECT_EQ(isReached(static_cast<unsigned long>(p)), p < 2) << p;
      if (p < 2) expectCell(results, p, 0, 0);
    }
  }
}

// Before the first loop: while the properties are read, and in front of a child.
TEST_F(ExtremaCancel, ReachesWhatRunsNext) {
  probe.onProperty = [this](pxl::PropertyBase const& property) {
    if (std::string(property.getName()) == "analysisDimensions") algorithm.cancelExecution();
  };
  std::atomic<int> nbReads{0};
  probe.onRead = [&nbReads](Event const&) { ++nbReads; };
  EXPECT_THROW(measureImage(*image, 1), pxl::ExceptionCancelation);
  EXPECT_EQ(nbReads, 0);
  EXPECT_FALSE(isReached(0));

  probe.onProperty = nullptr;
  struct ChildProbe : pxl::instrument::Recorder {
    void onRunChild(void const*, void const*) override {
      if (++nbChildren == 3) cancelled->cancelExecution();
    }
    int nbChildren = 0;
    pxl::BaseAlgorithm* cancelled = nullptr;
  } childProbe;
  childProbe.cancelled = &algorithm;
  EXPECT_THROW(measureImage(*image, 1), pxl::ExceptionCancelation);
  pxl::instrument::setProbe(&probe);
  EXPECT_EQ(childProbe.nbChildren, 3);
  for (unsigned long p = 0; p < 5; ++p) EXPECT_EQ(isReached(p), p < 2) << p;
}

TEST_F(ExtremaCancel, AfterTheLastReadIsStillACancel) {
  std::atomic<int> nbReads{0};
  probe.onRead = [&](Event const&) {
    if (++nbReads == 16 * 5) algorithm.cancelExecution();
  };
  EXPECT_THROW(measureImage(*image, 1), pxl::ExceptionCancelation);
  EXPECT_TRUE(isReached(3));
  EXPECT_FALSE(isReached(4));
}

// Thrown where a worker reads, caught where the run was started.
TEST_F(ExtremaCancel, ExceptionsOfWorkersKeepTypeAndText) {
  auto const caller = std::this_thread::get_id();
  for (int nbThreads : {2, 16}) {
    std::atomic<bool> isThrown{false};
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    probe.onRead = [&](Event const&) {
      if (std::this_thread::get_id() != caller) {
        isThrown = true;
        pxl::Exception::ExceptionInfo info;
        info.message = "the worker can't read";
        info.file = "somewhere";
        info.line = 12345678901L;
        throw pxl::RuleException(info);
      }
      // Leaves the work to the others, unless there are none.
      while (!isThrown && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    algorithm.inputImage = image.get();
    try {
      // On the arena of this very thread, so that it is the caller.
      withThreads(nbThreads, [this] { algorithm.execute(); });
      ADD_FAILURE() << "nothing was thrown";
    } catch (pxl::RuleException const& error) {
      EXPECT_STREQ(error.what(), "the worker can't read");
      EXPECT_EQ(error.getExceptionInfo().file.str(), "somewhere");
      EXPECT_EQ(error.getExceptionInfo().line, 12345678901L);
    }
    EXPECT_TRUE(isThrown);
    expectNothingAlive();
  }
}

TEST_F(ExtremaCancel, ProgressGoesFromNothingToAllAndNeverBack) {
  auto const large = oracle::toHost(makeImage<unsigned short>(random, {64, 256, 12, 2, 1}));
  std::atomic<bool> isOver{false};
  std::atomic<int> nbBack{0}, nbOutside{0}, nbBetween{0};
  probe.onRead = [&](Event const&) {
    // Long enough for the poller to see something of every run.
    if (nbBetween < 50) std::this_thread::sleep_for(std::chrono::microseconds(50));
  };
  std::thread poller([&] {
    double last = 0;
    while (!isOver) {
      double const progress = algorithm.getProgress();
      if (progress < last) ++nbBack;
      if (!(progress >= 0 && progress <= 1)) ++nbOutside;
      if (progress > 0 && progress < 1 && progress != last) ++nbBetween;
      last = progress;
      // The host's lock isn't fair.
      std::this_thread::sleep_for(std::chrono::microseconds(10));
    }
  });
  measureImage(*large, 5);
  isOver = true;
  poller.join();
  EXPECT_EQ(nbBack, 0);
  EXPECT_EQ(nbOutside, 0);
  EXPECT_GT(nbBetween, 10);
  EXPECT_EQ(algorithm.getProgress(), 1);
}

TEST_F(ExtremaCancel, RunsFromTwoThreadsDontDisturbEachOther) {
  auto const floats = makeImage<float>(random, {50, 20, 6, 1, 1});
  auto const bytes = makeImage<signed char>(random, {77, 20, 3, 2, 1});
  std::atomic<int> nbWrong{0};
  // One of them is cancelled repeatedly; the other is not affected.
  auto const measureAgain = [&nbWrong](auto const& source, int mask, bool isCancelling) {
    auto const host = oracle::toHost(source);
    auto const results = oracle::measureExtrema(source, mask);
    pxl::analysis::IntensityExtrema own;
    pxl::analysis::IntensityExtremaMsr ownMeasure;
    own.inputImage = host.get();
    own.analysisDimensions = mask;
    own.outputMeasure = &ownMeasure;
    for (int i = 0; i < 200; ++i) {
      std::thread canceller;
      if (isCancelling && i % 4 == 0) canceller = std::thread([&own] { own.cancelExecution(); });
      try {
        own.execute();
        for (std::size_t cell = 0; cell < results.minimum.size(); ++cell)
          if (ownMeasure.minimum.values[cell] != results.minimum[cell] ||
              ownMeasure.maximum.values[cell] != results.maximum[cell])
            ++nbWrong;
      } catch (pxl::ExceptionCancelation const&) {
        if (!isCancelling) ++nbWrong;
      }
      if (canceller.joinable()) canceller.join();
    }
  };
  std::thread first([&] { measureAgain(floats, 1, false); });
  std::thread second([&] { measureAgain(bytes, 4, true); });
  first.join();
  second.join();
  EXPECT_EQ(nbWrong, 0);
  expectNothingAlive();
}

}  // namespace
}  // namespace analysis_test
