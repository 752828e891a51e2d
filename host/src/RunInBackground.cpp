#include "pxl/RunInBackground.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <system_error>
#include <utility>

#include "ExecutionState.h"
#include "Raise.h"
#include "pxl/BaseAlgorithm.h"

namespace pxl {

using FrameLock = std::lock_guard<std::recursive_mutex>;
using Lock = std::unique_lock<std::mutex>;

RunInBackground::RunInBackground(BaseAlgorithm& algorithm) : m_algorithm(algorithm) {}

RunInBackground::~RunInBackground() {
  cancel();
  if (m_thread.joinable()) m_thread.join();
}

void RunInBackground::start() {
  start([this] { m_algorithm.execute(); });
}

void RunInBackground::start(std::function<void()> work) {
  Lock const lock(m_mutex);
  if (m_isStarted) PXL_RAISE(InvalidCall, "a run in the background can be started only once");
  begin();
  try {
    m_thread = std::thread(&RunInBackground::run, this, std::move(work));
  } catch (std::system_error const& error) {
    end();
    PXL_RAISE(RuntimeError, std::string("no thread can be created for a run in the background: ") + error.what());
  } catch (...) {
    end();
    throw;
  }
  m_isStarted = true;
}

// From here on a cancel also cancels executions that haven't begun.
void RunInBackground::begin() {
  FrameLock const lock(algorithms::getFrameLock());
  algorithms::ExecutionState& state = *m_algorithm.m_execution;
  if (state.isExecuting || state.isInBackground) PXL_RAISE(InvalidCall, "the algorithm is already running");
  state.isInBackground = true;
  state.isEachCancelled = m_isCancelled;
  state.progress = 0;
  m_isGoingOn = true;
}

void RunInBackground::end() {
  FrameLock const lock(algorithms::getFrameLock());
  m_algorithm.m_execution->isInBackground = false;
  m_algorithm.m_execution->isEachCancelled = false;
  m_isGoingOn = false;
}

void RunInBackground::run(std::function<void()> work) noexcept {
  std::exception_ptr failure;
  try {
    bool isCancelled;
    {
      FrameLock const lock(algorithms::getFrameLock());
      isCancelled = m_isCancelled;
    }
    if (isCancelled) throw ExceptionCancelation();
    work();
  } catch (...) {
    failure = std::current_exception();
  }
  work = nullptr;  // A waiting caller may unload the code of the destructor of `work`.
  end();
  Lock const lock(m_mutex);
  m_failure = std::move(failure);
  m_isOver = true;
  m_overSignal.notify_all();
}

bool RunInBackground::waitFor(unsigned long milliseconds) const {
  // Longer times would overflow the clock, and this one is longer than any process runs.
  constexpr unsigned long cMaxMilliseconds = 1UL << 40;
  Lock lock(m_mutex);
  return m_overSignal.wait_for(lock, std::chrono::milliseconds(std::min(milliseconds, cMaxMilliseconds)),
                               [this] { return m_isOver; });
}

void RunInBackground::cancel() {
  FrameLock const lock(algorithms::getFrameLock());
  m_isCancelled = true;
  if (!m_isGoingOn) return;
  m_algorithm.m_execution->isEachCancelled = true;
  m_algorithm.cancelExecution();
}

double RunInBackground::getProgress() const {
  {
    Lock const lock(m_mutex);
    if (!m_isStarted) return 0;
  }
  return m_algorithm.getProgress();
}

void RunInBackground::get() {
  Lock lock(m_mutex);
  if (!m_isStarted) PXL_RAISE(InvalidCall, "the run in the background wasn't started");
  m_overSignal.wait(lock, [this] { return m_isOver; });
  if (m_failure) std::rethrow_exception(m_failure);
}

}  // namespace pxl
