#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace pxl::algorithms {

class AbstractPrivateImplementation;

/** What the host knows of the present run of an algorithm. Guarded by getFrameLock(). */
struct ExecutionState {
  std::vector<AbstractPrivateImplementation*>
      frames;  ///< living frames of the algorithm, in the order of their making
  bool isExecuting = false;
  /** Of the present run; made anew for each, as views may outlive their run. Read without the lock. */
  std::shared_ptr<std::atomic<bool>> isCancelRequested = std::make_shared<std::atomic<bool>>(false);
  double progress = 0;
  bool isInBackground = false;   ///< a RunInBackground goes on, though the algorithm may not be executing yet
  bool isEachCancelled = false;  ///< it was cancelled, and so is each execution until its end
};

/**
 * The one lock under which frames are made, registered, cancelled, polled and destroyed. Recursive, because a cancel
 * goes down from frame to child by a virtual operation that is also called from outside.
 */
std::recursive_mutex& getFrameLock();

}  // namespace pxl::algorithms
