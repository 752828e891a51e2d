#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <cstdio>
#include <thread>
#include <vector>

#include "support/Filters.h"
#include "support/Random.h"
#include "support/Running.h"

namespace {

using namespace host_test;
using pxl::BaseAlgorithm;

void spin(int rounds) {
  for (int i = 0; i < rounds; ++i) std::atomic_signal_fence(std::memory_order_seq_cst);
}

class CancelStress : public RunningTest {};

// A second thread that cancels each run soon after its signal.
class Canceller {
 public:
  explicit Canceller(BaseAlgorithm& algorithm) : m_algorithm(algorithm), m_thread([this] { work(); }) {}
  ~Canceller() {
    m_round = -1;
    m_thread.join();
  }
  // Returns when the other thread is awake and about to cancel.
  void start(long round, int delay) {
    m_delay = delay;
    m_round = round;
    while (m_seen != round) std::this_thread::yield();
  }
  void await(long round) const {
    while (!isDone(round)) std::this_thread::yield();
  }
  // Whether the cancel of this round has returned.
  bool isDone(long round) const { return m_done == round; }

 private:
  void work() {
    while (true) {
      long const round = m_round;
      if (round < 0) return;
      if (round == m_seen) {
        std::this_thread::yield();
        continue;
      }
      m_seen = round;
      spin(m_delay);
      m_algorithm.cancelExecution();
      m_done = round;
    }
  }

  BaseAlgorithm& m_algorithm;
  std::atomic<long> m_round{0}, m_seen{0}, m_done{0};
  std::atomic<int> m_delay{0};
  std::thread m_thread;
};

// A parent that runs a loop of its own and then two children. Whatever the moment: what begins after the cancel does
// nothing, and a run that isn't cancelled is complete.
TEST_F(CancelStress, AtAnyTimeEndsTheRunOrComesTooLate) {
  Random random;
  tbb::global_control const threads(tbb::global_control::max_allowed_parallelism, 4);
  tbb::task_arena arena(4);
  Canceller canceller(algorithm);
  constexpr long cNbBodies = 60;
  long nbCancelled = 0, nbFinished = 0, nbBefore = 0, nbBetween = 0;
  for (long round = 1; round <= 10000; ++round) {
    // The body in which the cancel is started; the last few stand for the very end of the run.
    long const target = random.between(-10L, 3 * cNbBodies + 10);
    int const delay = random.between(0, 3000);
    bool const isAwaited = round % 10 == 0;
    std::atomic<long> nbBegun{0};
    auto const begin = [&] {
      canceller.start(round, delay);
      if (isAwaited) canceller.await(round);
    };
    auto const body = [&](long) {
      if (nbBegun++ == target) begin();
      spin(50);
    };
    FakeRunner const runner(algorithm.getAlgoInfo(), [&](BaseAlgorithm* a) {
      if (target < 0) begin();
      bool const isBefore = canceller.isDone(round);
      bool isBetween = false;
      CountingFilter parent(a, cNbBodies, body), first(nullptr, cNbBodies, body), second(nullptr, cNbBodies, body);
      try {
        arena.execute([&] {
          parent.run();
          parent.setNumberOfSteps(2);
          parent.runChildAlgo(&first);
          isBetween = canceller.isDone(round);
          parent.runChildAlgo(&second);
        });
      } catch (pxl::ExceptionCancelation const&) {
        EXPECT_TRUE(!isBefore || parent.nbBodies == 0);
        EXPECT_TRUE(!isBetween || second.nbBodies == 0);
        nbBefore += isBefore;
        nbBetween += isBetween;
        throw;
      }
      EXPECT_FALSE(isBefore || isBetween);
      EXPECT_EQ(parent.nbBodies + first.nbBodies + second.nbBodies, 3 * cNbBodies);
      if (target >= 3 * cNbBodies) begin();
    });
    try {
      algorithm.execute();
      ++nbFinished;
    } catch (pxl::ExceptionCancelation const&) {
      ++nbCancelled;
    }
    canceller.await(round);
    ASSERT_FALSE(HasFailure());
  }
  std::printf("cancelled %ld (%ld before the first loop, %ld between children), finished %ld\n", nbCancelled,
              nbBefore, nbBetween, nbFinished);
  // Both happened, in every part of the run.
  EXPECT_GT(nbBefore, 10);
  EXPECT_GT(nbCancelled, 1000);
  EXPECT_GT(nbFinished, 10);
}

// A frame that is called while its derived part doesn't exist shows it. It takes its time for both, as one whose
// members are made and destroyed.
class Fragile : public pxl::BaseTbbAlgorithm {
 public:
  Fragile(BaseAlgorithm* algorithm, std::atomic<int>& nbErrors) : BaseTbbAlgorithm(algorithm), m_nbErrors(nbErrors) {
    spin(2000);
    m_alive = cAlive;
  }
  ~Fragile() override {
    m_alive = 0;
    spin(2000);
  }
  void cancelExecution() override {
    if (m_alive != cAlive) ++m_nbErrors;
    BaseTbbAlgorithm::cancelExecution();
  }

 private:
  static constexpr int cAlive = 0x11FE;
  std::atomic<int>& m_nbErrors;
  std::atomic<int> m_alive{0};
};

TEST_F(CancelStress, MeetsFramesThatAreJustMadeOrDestroyed) {
  std::atomic<bool> isEnd{false};
  std::atomic<int> nbErrors{0};
  std::vector<std::thread> others;
  for (int t = 0; t < 3; ++t)
    others.emplace_back([&] {
      while (!isEnd) {
        algorithm.cancelExecution();
        double const progress = algorithm.getProgress();
        if (!(progress >= 0 && progress <= 1)) ++nbErrors;
      }
    });
  execute([&](BaseAlgorithm* a) {
    for (int round = 0; round < 3000; ++round) {
      Fragile parent(a, nbErrors);
      for (int i = 0; i < 2; ++i) {
        Fragile child(i ? a : nullptr, nbErrors);
        parent.runChildAlgo(&child);
      }
      std::vector<std::unique_ptr<Fragile>> more;
      for (int i = 0; i < 3; ++i) more.push_back(std::make_unique<Fragile>(a, nbErrors));
      more.erase(more.begin());
    }
  });
  isEnd = true;
  for (std::thread& thread : others) thread.join();
  EXPECT_EQ(nbErrors, 0);
}

}  // namespace
