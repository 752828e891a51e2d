#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace pxl::algorithms {

class AbstractPrivateImplementation;

/** The state of the present run of an algorithm. Guarded by getFrameLock(). */
struct ExecutionState {
  std::vector<AbstractPrivateImplementation*> frames;  ///< existing frames of the algorithm, oldest first
  bool isExecuting = false;
  /** Of the present run; a new one for each run, as views may outlive their run. Read without the lock. */
  std::shared_ptr<std::atomic<bool>> isCancelRequested = std::make_shared<std::atomic<bool>>(false);
  double progress = 0;
  bool isInBackground = false;   ///< a RunInBackground is in progress; the algorithm may not be executing yet
  bool isEachCancelled = false;  ///< it was cancelled, which cancels each execution until its end
};

/**
 * The lock for making, registering, cancelling, polling and destroying frames. Recursive, because a cancel is passed
 * from a frame to its child through a virtual function that is also called from outside.
 */
std::recursive_mutex& getFrameLock();

}  // namespace pxl::algorithms
