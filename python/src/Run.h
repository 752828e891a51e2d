#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <string>

#include "pxl/BaseAlgorithm.h"

namespace qorn::python {

/** Cancels the calls that it was given to, for good. From any thread. */
class CancelToken {
 public:
  void cancel() { m_isCancelled.store(true, std::memory_order_relaxed); }
  bool isCancelled() const { return m_isCancelled.load(std::memory_order_relaxed); }

 private:
  std::atomic<bool> m_isCancelled{false};
};

/** How a call is done. */
struct RunOptions {
  int nbThreads = 1;
  pybind11::object progress;  ///< called with what is done, from 0 to 1, or None
  CancelToken const* cancel = nullptr;
};

/**
 * Executes an algorithm on images of `nbVoxels` voxels. A short run is done on this thread; a longer one on another,
 * while this one looks after signals, the token and the progress. Other Python threads run meanwhile.
 * @throws Cancelled by the token; what a signal's handler or `progress` raises; SystemFailure; all that execute()
 * does
 */
void execute(pxl::BaseAlgorithm& algorithm, double nbVoxels, RunOptions const& options);

}  // namespace qorn::python
