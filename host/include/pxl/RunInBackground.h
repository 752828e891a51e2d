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
 * One run of an algorithm on a thread of its own. The algorithm must outlive this object. Its properties and images
 * must not be changed until the run is over. All operations but start() may be called from any thread.
 */
class PXL_API RunInBackground : private Noncopyable {
 public:
  explicit RunInBackground(BaseAlgorithm& algorithm);
  /** Cancels a run that isn't over, waits for its end, and discards its exception. */
  ~RunInBackground();

  /**
   * Starts BaseAlgorithm::execute() and returns. To be called once.
   * @throws InvalidCall it was called before, or the algorithm is running
   * @throws RuntimeError the system can't create a thread; start() may be called again
   */
  void start();
  /** The same with `work`, which executes the algorithm once or several times. */
  void start(std::function<void()> work);

  /**
   * Waits at most `milliseconds` for the end of the run.
   * @return whether it is over; false before start()
   */
  bool waitFor(unsigned long milliseconds) const;

  /**
   * Asks the run to end as soon as it can; doesn't wait. This can't be undone: a run that hasn't begun or hasn't been
   * started ends before it does anything, and so does each further execution of the work.
   */
  void cancel();

  /** The finished fraction, from 0 to 1; 0 before the run begins. */
  double getProgress() const;

  /**
   * Waits for the end of the run and rethrows its exception, each time it is called.
   * @throws ExceptionCancelation the run was cancelled before it was over
   * @throws InvalidCall          start() wasn't called
   */
  void get();

 private:
  void run(std::function<void()> work) noexcept;
  void begin();
  void end();

  BaseAlgorithm& m_algorithm;
  std::thread m_thread;
  bool m_isGoingOn = false;  ///< from start() to the end of the run; with m_isCancelled guarded by the frame lock
  bool m_isCancelled = false;
  mutable std::mutex m_mutex;  ///< guards what follows
  mutable std::condition_variable m_overSignal;
  bool m_isStarted = false;
  bool m_isOver = false;
  std::exception_ptr m_failure;
};

}  // namespace pxl
