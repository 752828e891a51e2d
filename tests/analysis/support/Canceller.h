#pragma once

#include <atomic>
#include <chrono>
#include <thread>

#include "oracle/Oracle.h"
#include "pxl/BaseAlgorithm.h"

namespace analysis_test {

/** Cancels each of many runs once from a thread of its own: at a random time, at a random read, or too late. */
class Canceller {
 public:
  explicit Canceller(pxl::BaseAlgorithm& algorithm) : m_algorithm(algorithm), m_thread([this] { cancelAll(); }) {}
  ~Canceller() {
    m_round = cEnd;
    m_thread.join();
  }
  Canceller(Canceller const&) = delete;
  Canceller& operator=(Canceller const&) = delete;

  void beginRound(int round, oracle::Random& random, double lengthOfRun) {
    m_delay = random.number(0, static_cast<long>(1.6 * lengthOfRun));
    m_awaitedRead = random.number(1, 300);
    m_nbReads = 0;
    m_isOver = false;
    m_round = round;
  }
  // Other programs may keep the two threads from ever running side by side, so some rounds wait for each other.
  void onRead() {
    if (++m_nbReads != m_awaitedRead) return;
    m_isAtRead = m_round.load();
    if (isAtRead(m_round))
      while (m_nbDone < m_round) std::this_thread::yield();
  }
  void endRound() {
    m_isOver = true;
    while (m_nbDone < m_round) std::this_thread::yield();
  }
  static bool isAtRead(int round) { return round % 10 == 3; }
  static bool isTooLate(int round) { return round % 10 == 7; }

 private:
  static constexpr int cEnd = 1 << 30;

  void cancelAll() {
    for (int i = 1;; ++i) {
      while (m_round < i) std::this_thread::yield();
      if (m_round == cEnd) return;
      auto const until = std::chrono::steady_clock::now() + std::chrono::nanoseconds(m_delay.load());
      if (isAtRead(i))
        while (m_isAtRead < i) std::this_thread::yield();
      else if (isTooLate(i))
        while (!m_isOver) std::this_thread::yield();
      else
        while (std::chrono::steady_clock::now() < until && !m_isOver) std::this_thread::yield();
      m_algorithm.cancelExecution();
      m_nbDone = i;
    }
  }

  pxl::BaseAlgorithm& m_algorithm;
  std::atomic<int> m_round{0}, m_nbDone{0}, m_isAtRead{0};
  std::atomic<long> m_delay{0}, m_nbReads{0}, m_awaitedRead{0};
  std::atomic<bool> m_isOver{false};
  std::thread m_thread;
};

}  // namespace analysis_test
