#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"

namespace pxl {

class BaseAlgorithm;

/**
 * One run of an algorithm on a thread of its own. The algorithm must outlive this object, and its properties and
 * images must stay as they are until the run is over. All operations but start() may be called from any thread.
 */
class PXL_API RunInBackground : private Noncopyable {
 public:
  explicit RunInBackground(BaseAlgorithm& algorithm);
  /** Cancels a run that isn't over, waits for its end, and drops what it threw. */
  ~RunInBackground();

  /**
   * Starts BaseAlgorithm::execute() and returns. To be called once.
   * @throws InvalidCall it was called before, or the algorithm is running
   * @throws RuntimeError the system has no thread for it; start() may be called again
   */
  void start();
  /** The same with other work, which is to execute the algorithm, once or several times. */
  void start(std::function<void()> work);

  /** Waits until the run is over, `milliseconds` at most. @return whether it is over; false before start() */
  bool waitFor(unsigned long milliseconds) const;

  /**
   * Asks the run to end as soon as it can, and doesn't wait. It counts for good: a run that hasn't begun yet, or
   * hasn't even been started, ends before it does anything, and so does each further execution of the work.
   */
  void cancel();

  /** What is done, from 0 to 1; 0 before the run begins. */
  double getProgress() const;

  /**
   * Waits for the end of the run. Throws what it threw, ExceptionCancelation for one that was cancelled in time, each
   * time it is called.
   * @throws InvalidCall start() wasn't called
   */
  void get();

 private:
  void run(std::function<void()> work) noexcept;
  void begin();
  void end();

  BaseAlgorithm& m_algorithm;
  std::thread m_thread;
  bool m_isGoingOn = false;  ///< from start() to the end of the run; this and the next are guarded as frames are
  bool m_isCancelled = false;
  mutable std::mutex m_mutex;  ///< of what follows
  mutable std::condition_variable m_overSignal;
  bool m_isStarted = false;
  bool m_isOver = false;
  std::exception_ptr m_failure;
};

}  // namespace pxl
