#pragma once

#include <atomic>
#include <exception>
#include <memory>

#include "pxl/Noncopyable.h"

namespace pxl {

class BaseAlgorithm;

/** The run of the calling thread, as long as this object exists. A nested run hides the outer one. */
class CurrentRun : private Noncopyable {
 public:
  /** `isCancelled` is set when the run is to stop. */
  CurrentRun(BaseAlgorithm const& algorithm, std::shared_ptr<std::atomic<bool> const> isCancelled);
  ~CurrentRun();

  /** Null outside a run, and on threads that only work for one. */
  static CurrentRun* get();

  /** The extra memory of the calling thread's run, in bytes; outside a run that of the settings. */
  static unsigned long getExtraMemory();

  /** The cancel flag of the calling thread's run, or one that is never set. */
  static std::shared_ptr<std::atomic<bool> const> getCancelFlag();

  /** Keeps the first failure that could not be thrown where it happened. */
  void noteFailure(std::exception_ptr failure) noexcept;
  /** Throws the failure that was kept, if any. */
  void raiseFailure() const;

 private:
  BaseAlgorithm const& m_algorithm;
  std::shared_ptr<std::atomic<bool> const> m_isCancelled;
  CurrentRun* m_outer;
  std::exception_ptr m_failure;
};

}  // namespace pxl
