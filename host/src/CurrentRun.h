#pragma once

#include <atomic>
#include <exception>
#include <memory>

#include "pxl/Noncopyable.h"

namespace pxl {

class BaseAlgorithm;

/** The run that the calling thread is in, as long as this object lives. Runs within runs hide each other. */
class CurrentRun : private Noncopyable {
 public:
  /** `isCancelled` is set when the run is to stop. */
  CurrentRun(BaseAlgorithm const& algorithm, std::shared_ptr<std::atomic<bool> const> isCancelled);
  ~CurrentRun();

  /** Null outside a run, and on threads that only work for one. */
  static CurrentRun* get();

  /** The bytes that the run of the calling thread may take beyond its images; outside a run those of the settings. */
  static unsigned long getExtraMemory();

  /** The cancel flag of the run that the calling thread is in, or one that is never set. */
  static std::shared_ptr<std::atomic<bool> const> getCancelFlag();

  /** Keeps the first failure that its place could not raise. */
  void noteFailure(std::exception_ptr failure) noexcept;
  /** Throws what was kept. */
  void raiseFailure() const;

 private:
  BaseAlgorithm const& m_algorithm;
  std::shared_ptr<std::atomic<bool> const> m_isCancelled;
  CurrentRun* m_outer;
  std::exception_ptr m_failure;
};

}  // namespace pxl
